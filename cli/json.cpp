#include "cli/json.h"

namespace imx {

void PrintJsonLine(const nlohmann::ordered_json& value, std::FILE* to) {
  using Json = nlohmann::ordered_json;
  std::fprintf(to, "%s\n", value.dump(-1, ' ', false, Json::error_handler_t::replace).c_str());
}

}  // namespace imx
