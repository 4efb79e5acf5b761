/// Types that separate libraries load and save.
#pragma once

#include <cstdint>
#include <string>

namespace imx {

struct ImageRecord;

/// Has the plug-in library `library` load `path`. The image, or null without a message when the
/// library is missing or lacks the entry, the plug-in fails, or what it gives back is unusable.
ImageRecord* LoadWithPlugin(const char* path, const char* library);

/// Has the plug-in library `library` save the image. The plug-in's result (0 on success), or 1
/// when it cannot be called. Either way save_outcome.h is told.
std::int32_t SaveWithPlugin(const ImageRecord* image, const char* path, const char* library,
                            std::int32_t option);

/// Why the last of the two calls above failed, or why the image that it gave is not whole, in words
/// for the user; empty when all went well. An early end of the file is told to load_outcome.h, lack
/// of memory to memory.h as well.
const std::string& PluginFailure();

/// Whether the library of the last call was there and had the entry.
bool PluginWasFound();

}  // namespace imx
