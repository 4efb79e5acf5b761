#include "cli/json.h"

#include <cstdio>

namespace imx {

void PrintJsonLine(const nlohmann::ordered_json& value) {
  using Json = nlohmann::ordered_json;
  std::printf("%s\n", value.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

}  // namespace imx
