/// Lists of names of any length: short ones in memory, long ones in a temporary file.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "imagelib/open_file.h"
#include "imagelib/temporary_file.h"

namespace imx {

/// Texts without zero bytes, written one behind the other and then read from the first on, as often
/// as wanted.
class NameSpool {
 public:
  /// Behind the last one. What cannot be kept is told by ok().
  void Add(std::string_view text);

  void Rewind();
  /// The next text. False behind the last one.
  bool Next(std::string* text);

  /// False when the temporary file failed; reason() says why.
  bool ok() const { return reason_.empty(); }
  const std::string& reason() const { return reason_; }

 private:
  bool Spill();
  void Fail();

  std::string text_;  ///< all of it, until there is a file
  std::size_t position_ = 0;
  std::unique_ptr<TemporaryFile> file_;
  OpenFile stream_;  ///< closed before its file goes
  std::string reason_;
};

}  // namespace imx
