/// Texts line by line.
#pragma once

#include <algorithm>
#include <string_view>

namespace imx {

/// Calls visit(line) for each line, without its end, which is of either system.
template <typename Visit>
void forEachLine(std::string_view text, Visit&& visit) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    visit(line);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
}

}  // namespace imx
