#include "setup/core/token_expander.h"

#include <gtest/gtest.h>

#include "tests/setup/expand_by_search.h"
#include "tests/setup/memory_platform.h"

namespace imx::test {
namespace {

class TokenExpanderTest : public testing::Test {
 protected:
  TokenExpanderTest() {
    copyPath(settings.picturesDir, "<PIC>");
    copyPath(settings.dataDir, "<my data dir>");
    copyPath(settings.helpDir, "<HELP>");
  }

  std::string expand(const std::string& source) const {
    return expandTokens(makeTokenTexts(computer.platform(), settings), source);
  }

  MemoryPlatform computer;
  InstallSettings settings;
};

TEST_F(TokenExpanderTest, ExpandsEachCode) {
  EXPECT_EQ(expand("x%iAByz"), "x<PIC>yz");
  EXPECT_EQ(expand("%d%%"), "<my data dir>");
  EXPECT_EQ(expand("%D\r\n"), "<my|data|dir>");
  EXPECT_EQ(expand("%h12."), "<HELP>.");
  EXPECT_EQ(expand("%qd.."), "<my data dir>") << "unknown letters are waited through";
  EXPECT_EQ(expand("a%q xyz"), "a");
}

TEST_F(TokenExpanderTest, DirectoriesAreInTheSystemsCodePageWhereItHasThem) {
  copyPath(settings.picturesDir, "C:\\Fot\xC3\xB3s \xC2\xBF");
  copyPath(settings.dataDir, "C:\\\xC3\xB3 \xE2\x82\xAC");  // with a euro sign
  copyPath(settings.helpDir, "C:\\\xC3\xA9");
  EXPECT_EQ(expand("%i.."), "C:\\Fot\xF3s \xBF");
  EXPECT_EQ(expand("%d.."), "C:\\\xC3\xB3 \xE2\x82\xAC");
  EXPECT_EQ(expand("%D.."), "C:\\\xC3\xB3|\xE2\x82\xAC");
  EXPECT_EQ(expand("%h.."), "C:\\\xE9");
}

// All texts of up to seven bytes over an alphabet that drives every state, cut tokens included.
TEST_F(TokenExpanderTest, AgreesWithASearchOnAllShortTexts) {
  copyPath(settings.picturesDir, "<i>");
  copyPath(settings.dataDir, "<D>");
  const TokenTexts texts = makeTokenTexts(computer.platform(), settings);
  const std::string alphabet = "%iDx";
  for (std::size_t length = 0; length <= 7; ++length) {
    for (std::size_t number = 0; number < (std::size_t{1} << (2 * length)); ++number) {
      std::string source;
      for (std::size_t i = 0; i < length; ++i) source += alphabet[(number >> (2 * i)) & 3];
      ASSERT_EQ(expandTokens(texts, source), expandBySearch(texts, source)) << source;
    }
  }
}

TEST_F(TokenExpanderTest, CopiesEveryOtherByte) {
  std::string bytes;
  for (int i = 0; i < 256; ++i) {
    if (i != '%') bytes += static_cast<char>(i);
  }
  EXPECT_EQ(expand(bytes), bytes);
}

}  // namespace
}  // namespace imx::test
