/// Writing JSON.
#pragma once

#include <nlohmann/json.hpp>

namespace imx {

/// Prints the value in one line. Bytes that are not UTF-8 become U+FFFD.
void PrintJsonLine(const nlohmann::ordered_json& value);

}  // namespace imx
