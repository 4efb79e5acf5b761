#include "shell/model/open_filter.h"

#include <cstdint>

#include "imagelib/registry.h"

namespace imx {
namespace {

void AppendPair(std::string& filter, const std::string& label, const std::string& patterns) {
  filter.append(label).push_back('\0');
  filter.append(patterns).push_back('\0');
}

}  // namespace

std::string BuildOpenFilter() {
  std::string filter;
  std::string allPatterns;
  AppendPair(filter, "All Files (*.*)", "*.*");
  for (std::int32_t row = 0; TypeRowOutOfRange(row) == 0; ++row) {
    if (TypeCanLoad(row) == 0) continue;
    const std::string pattern = std::string("*.") + TypeExtension(row);
    AppendPair(filter, TypeLabel(row), pattern);
    if (!allPatterns.empty()) allPatterns.push_back(';');
    allPatterns += pattern;
  }
  AppendPair(filter, "All Images", allPatterns);
  filter.push_back('\0');
  return filter;
}

}  // namespace imx
