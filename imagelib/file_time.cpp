#include "imagelib/file_time.h"

#include <cstdlib>

namespace imx {

std::tm FileTime() {
  if (const char* epoch = std::getenv("SOURCE_DATE_EPOCH")) {
    char* end = nullptr;
    const long long seconds = std::strtoll(epoch, &end, 10);
    const auto time = static_cast<std::time_t>(seconds);
    if (end != epoch && *end == 0) {
      if (const std::tm* utc = std::gmtime(&time)) return *utc;
    }
  }
  const std::time_t now = std::time(nullptr);
  const std::tm* local = std::localtime(&now);
  return local ? *local : std::tm{};
}

}  // namespace imx
