#include "setup/core/token_expander.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace imx::test {
namespace {

class Tokens : public testing::Test {
 protected:
  Tokens() {
    copyPath(settings.picturesDir, "<PIC>");
    copyPath(settings.dataDir, "<my data dir>");
    copyPath(settings.helpDir, "<HELP>");
  }

  std::string expand(const std::string& source) const {
    const TokenTexts texts = makeTokenTexts(settings);
    TokenExpander expander(texts);
    std::string result;
    for (const char c : source) result += expander.take(static_cast<std::uint8_t>(c));
    return result;
  }

  InstallSettings settings;
};

TEST_F(Tokens, ExpandsEachCode) {
  EXPECT_EQ("x<PIC>yz", expand("x%iAByz"));
  EXPECT_EQ("<my data dir>", expand("%d%%"));
  EXPECT_EQ("<my|data|dir>", expand("%D\r\n"));
  EXPECT_EQ("<HELP>.", expand("%h12."));
  EXPECT_EQ("<my data dir>", expand("%qd..")) << "unknown letters are waited through";
  EXPECT_EQ("a", expand("a%q xyz"));
}

// From each '%' on, the first code letter and two more bytes.
std::string expandBySearch(const std::string& source) {
  std::string result;
  for (std::size_t at = 0; at < source.size();) {
    const std::size_t percent = std::min(source.find('%', at), source.size());
    result += source.substr(at, percent - at);
    const std::size_t code = source.find_first_of("iD", percent);
    if (code == std::string::npos || code + 2 >= source.size()) break;
    result += source[code] == 'i' ? "<i>" : "<D>";
    at = code + 3;
  }
  return result;
}

// All texts of up to seven bytes over an alphabet that drives every state, cut tokens included.
TEST_F(Tokens, AgreesWithASearchOnAllShortTexts) {
  copyPath(settings.picturesDir, "<i>");
  copyPath(settings.dataDir, "<D>");
  const std::string alphabet = "%iDx";
  for (std::size_t length = 0; length <= 7; ++length) {
    for (std::size_t number = 0; number < (std::size_t{1} << (2 * length)); ++number) {
      std::string source;
      for (std::size_t i = 0; i < length; ++i) source += alphabet[(number >> (2 * i)) & 3];
      ASSERT_EQ(expandBySearch(source), expand(source)) << source;
    }
  }
}

TEST_F(Tokens, CopiesEveryOtherByte) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) {
    if (i != '%') bytes += static_cast<char>(i);
  }
  EXPECT_EQ(bytes, expand(bytes));
}

}  // namespace
}  // namespace imx::test
