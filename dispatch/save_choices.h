/// What hosts choose for a save and tell their users about it.
#pragma once

#include <cstdint>
#include <functional>

#include "imagelib/host.h"

namespace imx {

struct ImageRecord;

inline constexpr std::int32_t kNoDepthChoice = -1;

/// The row's choice (ImageRecord::saveDepth) of `bits` per pixel, or kNoDepthChoice.
std::int32_t DepthChoice(std::int32_t row, std::int32_t bits);

/// The row's choice for an image of which the user said nothing: 32 bits with alpha, else 24, else
/// the first.
std::int32_t DefaultDepthChoice(std::int32_t row, const ImageRecord& image);

/// Bits of the palette of files in that depth, which must not get more colours than they can name.
std::int32_t PaletteBits(std::int32_t row, std::int32_t choice);

/// Tells of each of the image's texts that its saveType cannot keep whole, a line each.
void TellLostTexts(const ImageRecord& image,
                   const std::function<void(const char* line)>& tell = LibMessage);

}  // namespace imx
