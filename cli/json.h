/// Writing JSON.
#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>

namespace imx {

/// Prints the value in one line. Bytes that are not UTF-8 become U+FFFD.
void PrintJsonLine(const nlohmann::ordered_json& value, std::FILE* to = stdout);

}  // namespace imx
