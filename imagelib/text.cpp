#include "imagelib/text.h"

#include <algorithm>
#include <cstring>

#include "imagelib/system_files.h"

namespace imx {
namespace {

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

void CopyTerminated(TextField& to, std::string_view text) {
  // memmove: a field may be cut from itself.
  if (!text.empty()) std::memmove(to, text.data(), text.size());
  std::memset(to + text.size(), 0, kTextSize - text.size());
}

}  // namespace

bool CopyText(TextField& to, std::string_view text) {
  if (text.size() >= kTextSize - 1) return false;
  CopyTerminated(to, text);
  return true;
}

void CopyTextCut(TextField& to, std::string_view text, std::size_t most) {
  text = text.substr(0, std::min(text.find('\0'), text.size()));
  CopyTerminated(to, text.substr(0, std::min(most, kTextSize - 1)));
}

bool EqualNoCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return Lower(x) == Lower(y); });
}

bool EndsWithNoCase(std::string_view text, std::string_view ending) {
  return text.size() >= ending.size() &&
         EqualNoCase(text.substr(text.size() - ending.size()), ending);
}

std::string_view PathFileName(std::string_view path) {
  return PathFileName(path, kPathSeparators);
}

std::string_view PathFileName(std::string_view path, std::string_view separators) {
  const std::size_t separator = path.find_last_of(separators);
  return separator == std::string_view::npos ? path : path.substr(separator + 1);
}

std::string_view PathExtension(std::string_view path) {
  const std::string_view name = PathFileName(path);
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos ? std::string_view() : name.substr(dot);
}

}  // namespace imx
