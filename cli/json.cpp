#include "cli/json.h"

namespace imx {

void PrintJsonLine(const nlohmann::ordered_json& value, std::FILE* to) {
  std::fprintf(to, "%s\n", JsonText(value).c_str());
}

}  // namespace imx
