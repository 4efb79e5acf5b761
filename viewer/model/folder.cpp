#include "viewer/model/folder.h"

#include <algorithm>
#include <string_view>

namespace imx {
namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The number at the start, without its leading zeros.
std::string_view TakeNumber(std::string_view& text) {
  const auto digits =
      static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsDigit) - text.begin());
  std::string_view number = text.substr(0, digits);
  text.remove_prefix(digits);
  number.remove_prefix(std::min(number.find_first_not_of('0'), number.size()));
  return number;
}

int Compared(std::string_view a, std::string_view b) {
  while (!a.empty() && !b.empty()) {
    if (IsDigit(a[0]) && IsDigit(b[0])) {
      const std::string_view left = TakeNumber(a), right = TakeNumber(b);
      if (left.size() != right.size()) return left.size() < right.size() ? -1 : 1;
      if (const int order = left.compare(right)) return order;
      continue;
    }
    const auto left = static_cast<unsigned char>(Lower(a[0]));
    const auto right = static_cast<unsigned char>(Lower(b[0]));
    if (left != right) return left < right ? -1 : 1;
    a.remove_prefix(1);
    b.remove_prefix(1);
  }
  return static_cast<int>(!a.empty()) - static_cast<int>(!b.empty());
}

}  // namespace

bool ComesBefore(const std::string& a, const std::string& b) {
  const int order = Compared(a, b);
  return order != 0 ? order < 0 : a < b;
}

std::vector<std::string> StepCandidates(std::vector<std::string> names, const std::string& current,
                                        FolderStep step) {
  std::sort(names.begin(), names.end(), ComesBefore);
  const auto before = std::lower_bound(names.begin(), names.end(), current, ComesBefore);
  const auto behind = std::upper_bound(before, names.end(), current, ComesBefore);
  switch (step) {
    case FolderStep::next:
      return {behind, names.end()};
    case FolderStep::previous:
      return {std::make_reverse_iterator(before), names.rend()};
    case FolderStep::first:
      return {names.begin(), before};
    case FolderStep::last:
      return {names.rbegin(), std::make_reverse_iterator(behind)};
  }
  return {};
}

}  // namespace imx
