#include "shell/model/number_text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace imx {

std::string FactorText(float factor) {
  char text[64];  // the largest float has 39 digits before the point
  std::snprintf(text, sizeof text, "%f", static_cast<double>(factor));
  return text;
}

void ReadFactor(const std::string& text, float& factor) {
  const std::string seen = text.substr(0, kFactorCharacters);
  char* end = nullptr;
  const float value = std::strtof(seen.c_str(), &end);
  if (end != seen.c_str()) factor = value;
}

void ReadDimension(const std::string& text, std::int32_t& dimension) {
  const std::string seen = text.substr(0, kDimensionCharacters);
  char* end = nullptr;
  const long long value = std::strtoll(seen.c_str(), &end, 10);
  if (end == seen.c_str()) return;
  dimension = static_cast<std::int32_t>(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
}

}  // namespace imx
