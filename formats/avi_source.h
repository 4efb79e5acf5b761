/// Where AVI frames come from: one implementation for each system, chosen by the build.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "imagelib/text.h"

namespace imx {

struct AviStream;  // the implementation's

struct AviInfo {
  std::int32_t frames = 0;
  TextField name = {};  ///< of the video stream, often empty
};

/// Whether this system can decode AVI files at all.
bool AviIsAvailable();

/// Opens the first video stream of `path`. Null on failure; else to be closed.
AviStream* OpenAviStream(const char* path, AviInfo* info);

/// Frame `index` (0-based) as a packed bitmap that stays valid until the stream is closed; empty
/// when there is no such frame. To be asked for once: another frame needs a stream of its own.
std::span<const std::uint8_t> AviFrame(AviStream* stream, std::int32_t index);

void CloseAviStream(AviStream* stream);

}  // namespace imx
