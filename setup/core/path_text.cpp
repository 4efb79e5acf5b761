#include "setup/core/path_text.h"

#include <algorithm>
#include <cstring>

namespace imx {

bool copyPath(PathText& to, std::string_view text) {
  return joinPath(to, {text});
}

bool joinPath(PathText& to, std::initializer_list<std::string_view> parts) {
  PathText joined = {};
  std::size_t used = 0;
  bool fits = true;
  for (const std::string_view part : parts) {
    fits = fits && part.size() < kPathSize - used;
    if (!fits) break;
    std::copy(part.begin(), part.end(), joined + used);
    used += part.size();
  }
  if (!fits) joined[0] = '\0';
  std::memcpy(to, joined, sizeof joined);
  return fits;
}

}  // namespace imx
