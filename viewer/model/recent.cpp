#include "viewer/model/recent.h"

#include <algorithm>
#include <utility>

#include "imagelib/text.h"

namespace imx {
namespace {

// A mark of a menu text that is to be shown is written twice.
std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char c : text) escaped.append(c == '&' ? 2 : 1, c);
  return escaped;
}

}  // namespace

void AddRecent(std::vector<std::string>& recent, const std::string& path) {
  std::vector<std::string> others = std::exchange(recent, {});
  recent.push_back(path);
  for (std::string& other : others) {
    if (recent.size() < kMostRecent && !EqualNoCase(other, path))
      recent.push_back(std::move(other));
  }
}

std::string RecentText(std::size_t place, const std::string& path) {
  constexpr std::size_t kLongest = 60, kStart = 12;
  std::string shown = path;
  if (shown.size() > kLongest) {
    const std::size_t rest =
        std::max(kLongest - kStart, PathFileName(path, kWindowsPathSeparators).size() + 1);
    // Not within a character of several bytes.
    std::size_t from = path.size() - std::min(rest, path.size());
    while (from < path.size() && (static_cast<unsigned char>(path[from]) & 0xC0) == 0x80) ++from;
    std::size_t start = kStart;
    while (start > 0 && (static_cast<unsigned char>(path[start]) & 0xC0) == 0x80) --start;
    if (from > start) shown = path.substr(0, start) + "..." + path.substr(from);
  }
  return "&" + std::to_string(place + 1) + " " + Escaped(shown);
}

}  // namespace imx
