#include "cli/json.h"

#include <cstdint>
#include <cstdio>

namespace imx {
namespace {

/// Length of the well-formed UTF-8 sequence at the start of `text`; 0 when there is none.
std::size_t SequenceLength(std::string_view text) {
  const auto at = [text](std::size_t i) -> std::uint32_t {
    return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
  };
  const std::uint32_t lead = at(0);
  if (lead < 0x80) return 1;
  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
  if (length == 0 || lead > 0xF4) return 0;
  std::uint32_t code = lead & (0x7Fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    if ((at(i) & 0xC0) != 0x80) return 0;
    code = code << 6 | (at(i) & 0x3F);
  }
  const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
  const bool isOverlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
  return isSurrogate || isOverlong || code > 0x10FFFF ? 0 : length;
}

std::string EscapedAscii(char c) {
  switch (c) {
    case '"':
      return "\\\"";
    case '\\':
      return "\\\\";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      break;
  }
  if (static_cast<unsigned char>(c) >= ' ') return std::string(1, c);
  char escape[8];
  std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
  return escape;
}

}  // namespace

std::string JsonString(std::string_view text) {
  std::string json = "\"";
  while (!text.empty()) {
    const std::size_t length = SequenceLength(text);
    if (length == 0) {
      json += "\\ufffd";
    } else if (length == 1) {
      json += EscapedAscii(text.front());
    } else {
      json += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return json + '"';
}

}  // namespace imx
