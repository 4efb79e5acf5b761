/// Writing JSON.
#pragma once

#include <string>
#include <string_view>

namespace imx {

/// `text` as a JSON string with its quotes. Bytes that are not UTF-8 become U+FFFD.
std::string JsonString(std::string_view text);

}  // namespace imx
