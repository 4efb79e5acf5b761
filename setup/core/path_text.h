/// Fixed texts of the platform's path length, filled whole or not at all.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <string_view>

namespace imx {

inline constexpr std::size_t kPathSize = 260;
/// A terminated text of at most 259 characters.
using PathText = char[kPathSize];

/// Copies `text`. False, leaving an empty text, when it does not fit.
bool copyPath(PathText& to, std::string_view text);

/// Writes `parts` one after the other; they may lie in `to` itself. False, leaving an empty text,
/// when they do not fit.
bool joinPath(PathText& to, std::initializer_list<std::string_view> parts);

}  // namespace imx
