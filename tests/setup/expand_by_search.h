/// The expansion of tokens, and its truth: the rule as a search in the whole text.
#pragma once

#include <algorithm>
#include <string>

#include "setup/core/token_expander.h"

namespace imx::test {

inline std::string expandTokens(const TokenTexts& texts, const std::string& source) {
  TokenExpander expander(texts);
  std::string result;
  for (const char c : source) result += expander.take(static_cast<std::uint8_t>(c));
  return result;
}

/// From each '%' on, the first code letter and two more bytes.
inline std::string expandBySearch(const TokenTexts& texts, const std::string& source) {
  std::string result;
  for (std::size_t at = 0; at < source.size();) {
    const std::size_t percent = std::min(source.find('%', at), source.size());
    result += source.substr(at, percent - at);
    // The '%' itself is no code letter.
    const std::size_t code = source.find_first_of("idhD", percent);
    if (code == std::string::npos || code + 2 >= source.size()) break;
    const char letter = source[code];
    result += letter == 'i'   ? texts.pictures
              : letter == 'd' ? texts.data
              : letter == 'h' ? texts.help
                              : std::string_view(texts.barredData);
    at = code + 3;
  }
  return result;
}

}  // namespace imx::test
