#include "setup/core/token_expander.h"

#include <gtest/gtest.h>

namespace imx::test {
namespace {

std::string expand(const TokenTexts& texts, const std::string& source) {
  TokenExpander expander(texts);
  std::string result;
  for (const char c : source) result += expander.take(static_cast<std::uint8_t>(c));
  return result;
}

InstallSettings tokenSettings() {
  InstallSettings settings;
  copyPath(settings.picturesDir, "<PIC>");
  copyPath(settings.dataDir, "<my data dir>");
  copyPath(settings.helpDir, "<HELP>");
  return settings;
}

// The same by searching: from each '%' on, the first code letter and two more bytes.
std::string expandBySearch(const TokenTexts& texts, const std::string& source) {
  std::string result;
  std::size_t at = 0;
  while (at < source.size()) {
    const std::size_t percent = source.find('%', at);
    result += source.substr(at, percent - at);
    if (percent == std::string::npos) break;
    const std::size_t code = source.find_first_of("idhD", percent + 1);
    if (code == std::string::npos || code + 2 >= source.size()) break;
    const char letter = source[code];
    result += letter == 'i'   ? std::string(texts.pictures)
              : letter == 'd' ? std::string(texts.data)
              : letter == 'h' ? std::string(texts.help)
                              : texts.barredData;
    at = code + 3;
  }
  return result;
}

TEST(TokenExpander, ExpandsEachCode) {
  const InstallSettings settings = tokenSettings();
  const TokenTexts texts = makeTokenTexts(settings);
  EXPECT_EQ("x<PIC>yz", expand(texts, "x%iAByz"));
  EXPECT_EQ("<my data dir>", expand(texts, "%d%%"));
  EXPECT_EQ("<my|data|dir>", expand(texts, "%D\r\n"));
  EXPECT_EQ("<HELP>.", expand(texts, "%h12."));
  EXPECT_EQ("<my data dir>", expand(texts, "%qd..")) << "unknown letters are waited through";
  EXPECT_EQ("a", expand(texts, "a%q xyz"));
}

// All texts of up to seven bytes over an alphabet that drives every state, cut tokens included.
TEST(TokenExpander, AgreesWithASearchOnAllShortTexts) {
  const InstallSettings settings = tokenSettings();
  const TokenTexts texts = makeTokenTexts(settings);
  const std::string alphabet = "%iDx";
  for (std::size_t length = 0; length <= 7; ++length) {
    for (std::size_t number = 0; number < (std::size_t{1} << (2 * length)); ++number) {
      std::string source;
      for (std::size_t i = 0; i < length; ++i) source += alphabet[(number >> (2 * i)) & 3];
      ASSERT_EQ(expandBySearch(texts, source), expand(texts, source)) << source;
    }
  }
}

TEST(TokenExpander, CopiesEveryOtherByte) {
  const InstallSettings settings = tokenSettings();
  std::string bytes;
  for (int i = 0; i < 256; ++i) {
    if (i != '%') bytes += static_cast<char>(i);
  }
  EXPECT_EQ(bytes, expand(makeTokenTexts(settings), bytes));
}

}  // namespace
}  // namespace imx::test
