/// Files as the commands take them.
#pragma once

#include <cstdint>
#include <string>

#include "cli/options.h"
#include "imagelib/guards.h"

namespace imx {

struct Input {
  ImageGuard image;
  bool whole = false;      ///< or what is missing is allowed to be (--lenient)
  bool alphaTold = true;   ///< false where only the pixels, which were not read, tell it
  std::string fault = {};  ///< what was reported, if anything

  explicit operator bool() const { return static_cast<bool>(image); }
  /// The exit status of what was done with the image.
  int Status() const { return whole ? kDone : kFailed; }
};

/// Loads `name` ("-": standard input; other streams too) as the request asks. What went wrong has
/// been reported on standard error.
Input LoadInput(const std::string& name, const Request& request);

/// Number of frames of the sequence `path`; 0 when it is none, or cannot be read.
std::int32_t CountFrames(const std::string& path, const Request& request);

/// The same with what the file tells in front of its pixels, for an image without them.
Input LoadHeader(const std::string& name, const Request& request);

/// LoadHeader of a file that LoadInput refused; nothing more is reported.
Input PeekHeader(const std::string& name, const Request& request);

}  // namespace imx
