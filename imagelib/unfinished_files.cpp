#include "imagelib/unfinished_files.h"

#include <charconv>
#include <set>

namespace imx {
namespace {

constexpr std::string_view kStart = "imx-unfinished-";
constexpr std::size_t kUniqueLength = 6;

}  // namespace

std::string UnfinishedStem(unsigned long process, const std::string& host) {
  std::string stem = std::string(kStart) + std::to_string(process) + "@" + host + "-";
  // The file has no extension that could tell its type.
  for (char& c : stem) {
    if (c == '.' || c == '/') c = '_';
  }
  return stem;
}

bool IsUnfinished(std::string_view name) {
  return name.starts_with(kStart);
}

unsigned long MakerOf(std::string_view name, const std::string& host) {
  if (!name.starts_with(kStart)) return 0;
  unsigned long process = 0;
  const char* const digits = name.data() + kStart.size();
  std::from_chars(digits, name.data() + name.size(), process);
  const std::string stem = UnfinishedStem(process, host);
  return name.starts_with(stem) && name.size() == stem.size() + kUniqueLength ? process : 0;
}

void RemoveLeftovers(const std::string& folder) {
  static std::set<std::string> done;
  if (done.insert(folder).second) RemoveLeftoversNow(folder);
}

}  // namespace imx
