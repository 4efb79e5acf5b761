#include "setup/core/token_expander.h"

#include <gtest/gtest.h>

#include "tests/setup/expand_by_search.h"

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
    return expandTokens(makeTokenTexts(settings), source);
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

// All texts of up to seven bytes over an alphabet that drives every state, cut tokens included.
TEST_F(Tokens, AgreesWithASearchOnAllShortTexts) {
  copyPath(settings.picturesDir, "<i>");
  copyPath(settings.dataDir, "<D>");
  const TokenTexts texts = makeTokenTexts(settings);
  const std::string alphabet = "%iDx";
  for (std::size_t length = 0; length <= 7; ++length) {
    for (std::size_t number = 0; number < (std::size_t{1} << (2 * length)); ++number) {
      std::string source;
      for (std::size_t i = 0; i < length; ++i) source += alphabet[(number >> (2 * i)) & 3];
      ASSERT_EQ(expandBySearch(texts, source), expandTokens(texts, source)) << source;
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
