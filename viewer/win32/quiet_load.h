/// Loading where no message box may come up: what the library says goes into the result.
#pragma once

#include <string>

#include "dispatch/load.h"
#include "imagelib/host.h"

namespace imx {

/// Loads without message boxes; what was said is the reason where there is no other.
/// `stop` is asked where a load can be stopped; null: there is no progress display at all.
/// With `showProgress` the shell's progress display is there, and `stop` is not asked.
LoadResult LoadQuietly(const std::string& path, const LoadChoices& choices,
                       bool showProgress = false, HostFunction stop = nullptr);

/// While it lives, work on an image of this many bytes shows no progress when it is short enough.
class ShortWork {
 public:
  explicit ShortWork(std::uint64_t bytes);
  ~ShortWork();
  ShortWork(const ShortWork&) = delete;
  ShortWork& operator=(const ShortWork&) = delete;
};

}  // namespace imx
