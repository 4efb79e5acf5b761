/// Writing JSON.
#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

namespace imx {

/// The value in one line. Bytes that are not UTF-8 become U+FFFD.
template <typename Json>
std::string JsonText(const Json& value) {
  return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// Prints JsonText and a line end.
void PrintJsonLine(const nlohmann::ordered_json& value, std::FILE* to = stdout);

}  // namespace imx
