#include "setup/core/paths.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "tests/setup/memory_platform.h"

namespace imx::test {
namespace {

class PathsTest : public testing::Test {
 protected:
  std::int32_t validate(const std::string& path) {
    badChar = '\0';
    return validatePath(computer.platform(), path.c_str(), &badChar);
  }
  std::string root(const std::string& path) {
    PathText text;
    rootOf(computer.platform(), path.c_str(), text);
    return text;
  }

  MemoryPlatform computer;
  char badChar = '\0';
};

TEST_F(PathsTest, ValidatePathTellsTheFirstFault) {
  using List = std::vector<const char*>;
  const std::pair<std::int32_t, List> cases[] = {
      // E:\relative is below a root.
      {kNameValid,
       {"C:\\Program Files (x86)\\Glimrix7", "\\\\server\\share\\x", "C:\\Apps\\", "relative",
        "C:\\\x80\xff\xe9t\xe9"}},
      {kMisplacedColon, {"C:\\a:b*", ":a"}},
      // Beyond ASCII nothing separates separators.
      {kRepeatedSeparator, {"C:\\a\\\\b", "c:\\\\Glimrix7", "\\\\\\x", "C:\\\xe9\\x"}},
      {kIllegalCharacter, {"C:\\my.dir", "C:\\a.b:c\\\\d"}},
      {kPathIsRoot, {"C:\\", "C:", "", "\\\\server\\share\\", "\\\\server\\share"}}};
  for (const auto& [fault, paths] : cases) {
    for (const char* path : paths) {
      EXPECT_EQ(validate(path), fault) << path;
      EXPECT_EQ(badChar, fault == kIllegalCharacter ? '.' : '\0') << path;
    }
  }
  computer.currentDirectory = "\\\\s\\t\\";
  EXPECT_EQ(validate("abc"), kPathIsRoot) << "shorter than the root that it lies below";
}

TEST_F(PathsTest, LengthLimits) {
  const std::string start = "C:\\";
  EXPECT_EQ(validate(start + std::string(256, 'a')), kNameValid);
  EXPECT_EQ(validate(start + std::string(257, 'a')), kNameTooLong);
  EXPECT_EQ(validate(std::string(5000, '*')), kNameTooLong);
  EXPECT_EQ(validateGroupName(std::string(255, 'g').c_str(), &badChar), kNameValid);
  EXPECT_EQ(validateGroupName(std::string(256, 'g').c_str(), &badChar), kNameTooLong);
}

// Every character by itself, against the accepted codes counted out.
TEST_F(PathsTest, AcceptedCharacters) {
  for (int code = 1; code < 256; ++code) {
    const bool letterOrDigit =
        (code >= 48 && code <= 57) || (code >= 65 && code <= 90) || (code >= 97 && code <= 122);
    const bool punctuation = code == 32 || code == 33 || (code >= 35 && code <= 41) ||
                             (code >= 43 && code <= 45) || code == 59 || code == 61 || code == 64 ||
                             code == 91 || (code >= 93 && code <= 96) || code == 123 ||
                             code == 125 || code == 126;
    const bool accepted = letterOrDigit || punctuation || code >= 128;
    const std::string c(1, static_cast<char>(code));
    EXPECT_EQ(validateGroupName(c.c_str(), &badChar), accepted ? kNameValid : kIllegalCharacter)
        << code;
    if (!accepted) {
      EXPECT_EQ(badChar, c[0]);
    }
    if (code == '\\' || code == ':') continue;
    EXPECT_EQ(validate("C:\\a" + c), accepted ? kNameValid : kIllegalCharacter) << code;
  }
  EXPECT_EQ(validateGroupName("", &badChar), kNameValid);
}

TEST_F(PathsTest, Roots) {
  EXPECT_EQ(root("C:\\Apps\\X"), "C:\\");
  EXPECT_EQ(root("C:"), "C:");
  EXPECT_EQ(root("\\\\srv\\share\\dir"), "\\\\srv\\share\\");
  EXPECT_EQ(root("\\\\srv\\share"), "\\\\srv\\share");
  EXPECT_EQ(root("\\\\srv"), "\\\\srv");
  EXPECT_EQ(root("x"), "E:\\");
  computer.currentDirectory = std::string(255, 'x');
  EXPECT_EQ(root("ab\\cdefgh"), "ab\\");  // cannot be made absolute: taken as it stands
  EXPECT_EQ(root("\\a\\cdefgh"), "\\a\\");
}

TEST(FormatThousandsTest, GroupsDigits) {
  for (const auto& [number, text] : {std::pair{0U, "0"},
                                     {999U, "999"},
                                     {1000U, "1,000"},
                                     {123456U, "123,456"},
                                     {4294967295U, "4,294,967,295"}}) {
    EXPECT_EQ(formatThousands(number), text);
  }
}

TEST(JoinPathTest, FillsWholeOrNotAtAll) {
  PathText text = "old";
  EXPECT_TRUE(joinPath(text, {std::string(200, 'a'), std::string(59, 'b')}));
  EXPECT_EQ(text, std::string(200, 'a') + std::string(59, 'b'));
  EXPECT_FALSE(joinPath(text, {std::string(200, 'a'), std::string(60, 'b')}));
  EXPECT_STREQ(text, "");
  copyPath(text, "x");
  EXPECT_TRUE(joinPath(text, {text, "\\", text}));
  EXPECT_STREQ(text, "x\\x");
}

}  // namespace
}  // namespace imx::test
