/// Small text helpers on fixed buffers and paths.
#pragma once

#include <cstddef>
#include <string_view>

namespace imx {

inline constexpr std::size_t kTextSize = 256;
using TextField = char[kTextSize];

/// Copies `text` whole, terminated, when it has fewer than 255 characters; else false, untouched.
bool CopyText(TextField& to, std::string_view text);

/// Copies at most `most` (up to 255) characters of `text`, up to its first NUL, and terminates.
void CopyTextCut(TextField& to, std::string_view text, std::size_t most = kTextSize - 1);

/// Whether `text` ends in `ending`; ASCII letters compare without regard to case.
bool EndsWithNoCase(std::string_view text, std::string_view ending);

/// Whether both are the same; ASCII letters compare without regard to case.
bool EqualNoCase(std::string_view a, std::string_view b);

/// What separates the parts of Windows paths, on any system.
inline constexpr std::string_view kWindowsPathSeparators = "/\\:";

/// `path` from the last dot of its file name on, dot included; empty when the name has no dot.
std::string_view PathExtension(std::string_view path);

/// The file name at the end of `path`, behind the last of `separators`; by default those of the
/// system.
std::string_view PathFileName(std::string_view path);
std::string_view PathFileName(std::string_view path, std::string_view separators);

}  // namespace imx
