/// Reading a file piece by piece, as it stands or as it is installed.
#pragma once

#include <functional>
#include <string_view>

#include "setup/core/install_settings.h"
#include "setup/core/platform.h"

namespace imx {

/// Takes the next piece; false ends the reading.
using Sink = std::function<bool(std::string_view piece)>;

/// How far streamFile came. After all but `whole`, platform.failureReason tells why, unless the
/// sink ended it.
enum class Streamed { whole, notOpened, broken };

/// Gives the bytes of a file to `sink`; with `expands`, its directory tokens replaced.
Streamed streamFile(const Platform& platform, const InstallSettings& settings, const char* path,
                    bool expands, const Sink& sink);

/// Reads the whole of a small text file. Why that failed, or that there are more than `limit`
/// bytes; empty when all is well.
std::string readText(const Platform& platform, const InstallSettings& settings, const char* path,
                     std::size_t limit, std::string& text);

}  // namespace imx
