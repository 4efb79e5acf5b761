#include "setup/core/paths.h"

#include <string_view>

#include "imagelib/text.h"

namespace imx {
namespace {

constexpr std::size_t kGroupNameLimit = 256;
constexpr std::string_view kPunctuation = " !#$%&'()+,-;=@[]^_`{}~";

bool isNameCharacter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
         kPunctuation.find(c) != std::string_view::npos;
}

// Code page characters; taken as they are.
bool isBeyondAscii(char c) {
  return static_cast<unsigned char>(c) >= 128;
}

std::int32_t judgePathCharacters(std::string_view path, char* badChar) {
  char previous = '\0';  // the last ASCII character; others between do not count
  for (std::size_t i = 0; i < path.size(); ++i) {
    const char c = path[i];
    if (isBeyondAscii(c)) continue;
    if (c == '\\') {
      if (previous == '\\' && i != 1) return kRepeatedSeparator;
    } else if (c == ':') {
      if (i != 1) return kMisplacedColon;
    } else if (!isNameCharacter(c)) {
      *badChar = c;
      return kIllegalCharacter;
    }
    previous = c;
  }
  return kNameValid;
}

std::size_t rootLength(std::string_view path) {
  const bool isUnc = path.substr(0, 2) == "\\\\";
  std::size_t end = path.find('\\', 2);
  if (isUnc && end != std::string_view::npos) end = path.find('\\', end + 1);
  return end == std::string_view::npos ? path.size() : end + 1;
}

}  // namespace

std::int32_t validatePath(const Platform& platform, const char* path, char* badChar) {
  const std::string_view text = path;
  if (text.size() >= kPathSize) return kNameTooLong;
  const std::int32_t code = judgePathCharacters(text, badChar);
  if (code != kNameValid) return code;
  PathText root;
  rootOf(platform, path, root);
  const std::string_view rootText = root;
  return text.size() < rootText.size() || EqualNoCase(text, rootText) ? kPathIsRoot : kNameValid;
}

std::int32_t validateGroupName(const char* name, char* badChar) {
  const std::string_view text = name;
  if (text.size() >= kGroupNameLimit) return kNameTooLong;
  for (const char c : text) {
    if (isBeyondAscii(c) || isNameCharacter(c)) continue;
    *badChar = c;
    return kIllegalCharacter;
  }
  return kNameValid;
}

const char* validationMessage(std::int32_t code) {
  switch (code) {
    case kNameTooLong:
      return "Filename is too long";
    case kMisplacedColon:
      return "Colon in position other than after drive letter";
    case kRepeatedSeparator:
      return "Multiple path separators (\\) not at root position";
    case kIllegalCharacter:
      return "Illegal character in filename";
    case kPathIsRoot:
      return "Path to root unacceptable, (too many files)";
    default:
      return "";
  }
}

void rootOf(const Platform& platform, const char* path, PathText& root) {
  PathText absolute;
  const bool resolved = platform.fullPath(platform.context, path, absolute);
  const std::string_view text = resolved ? absolute : path;
  copyPath(root, text.substr(0, rootLength(text)));
}

std::string formatThousands(std::uint32_t number) {
  std::string text = std::to_string(number);
  for (std::size_t digits = 3; digits < text.size(); digits += 4) {
    text.insert(text.size() - digits, 1, ',');
  }
  return text;
}

}  // namespace imx
