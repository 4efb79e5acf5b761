#include "setup/core/paths.h"

#include <gtest/gtest.h>

#include "tests/setup/memory_platform.h"

namespace imx::test {
namespace {

class Paths : public testing::Test {
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

TEST_F(Paths, ValidatePathTellsWhatIsWrong) {
  EXPECT_EQ(kNameValid, validate("C:\\Program Files (x86)\\Glimrix7"));
  EXPECT_EQ(kNameValid, validate("\\\\server\\share\\x"));
  EXPECT_EQ(kNameValid, validate("C:\\Apps\\"));
  EXPECT_EQ(kNameValid, validate("relative"));  // E:\relative is below a root
  EXPECT_EQ(kMisplacedColon, validate("C:\\a:b"));
  EXPECT_EQ(kMisplacedColon, validate(":a"));
  EXPECT_EQ(kRepeatedSeparator, validate("C:\\a\\\\b"));
  EXPECT_EQ(kRepeatedSeparator, validate("c:\\\\Glimrix7"));
  EXPECT_EQ(kRepeatedSeparator, validate("\\\\\\x"));
  EXPECT_EQ(kIllegalCharacter, validate("C:\\my.dir"));
  EXPECT_EQ('.', badChar);
  EXPECT_EQ(kPathIsRoot, validate("C:\\"));
  EXPECT_EQ(kPathIsRoot, validate("C:"));
  EXPECT_EQ(kPathIsRoot, validate(""));
  EXPECT_EQ(kPathIsRoot, validate("\\\\server\\share\\"));
  EXPECT_EQ(kPathIsRoot, validate("\\\\server\\share"));
  computer.currentDirectory = "\\\\s\\t\\";
  EXPECT_EQ(kPathIsRoot, validate("abc"));  // shorter than the root that it lies below
}

TEST_F(Paths, TheFirstFaultInTheTextCounts) {
  EXPECT_EQ(kIllegalCharacter, validate("C:\\a*b:c\\\\d"));
  EXPECT_EQ('*', badChar);
  EXPECT_EQ(kMisplacedColon, validate("C:\\a:b*"));
  EXPECT_EQ('\0', badChar);
}

TEST_F(Paths, CharactersBeyondAsciiDoNotSeparateSeparators) {
  EXPECT_EQ(kNameValid, validate("C:\\\x80\xff\xe9t\xe9"));
  EXPECT_EQ(kRepeatedSeparator, validate("C:\\\xe9\\x"));
}

TEST_F(Paths, LengthLimits) {
  const std::string start = "C:\\";
  EXPECT_EQ(kNameValid, validate(start + std::string(256, 'a')));
  EXPECT_EQ(kNameTooLong, validate(start + std::string(257, 'a')));
  EXPECT_EQ(kNameTooLong, validate(std::string(5000, '*')));
  EXPECT_EQ(kNameValid, validateGroupName(std::string(255, 'g').c_str(), &badChar));
  EXPECT_EQ(kNameTooLong, validateGroupName(std::string(256, 'g').c_str(), &badChar));
}

// Every character by itself, against the accepted codes counted out.
TEST_F(Paths, AcceptedCharacters) {
  for (int code = 1; code < 256; ++code) {
    const bool letterOrDigit =
        (code >= 48 && code <= 57) || (code >= 65 && code <= 90) || (code >= 97 && code <= 122);
    const bool punctuation = code == 32 || code == 33 || (code >= 35 && code <= 41) ||
                             (code >= 43 && code <= 45) || code == 59 || code == 61 || code == 64 ||
                             code == 91 || (code >= 93 && code <= 96) || code == 123 ||
                             code == 125 || code == 126;
    const bool accepted = letterOrDigit || punctuation || code >= 128;
    const std::string c(1, static_cast<char>(code));
    EXPECT_EQ(accepted ? kNameValid : kIllegalCharacter, validateGroupName(c.c_str(), &badChar))
        << code;
    if (!accepted) {
      EXPECT_EQ(c[0], badChar);
    }
    if (code == '\\' || code == ':') continue;
    EXPECT_EQ(accepted ? kNameValid : kIllegalCharacter, validate("C:\\a" + c)) << code;
  }
  EXPECT_EQ(kNameValid, validateGroupName("", &badChar));
}

TEST_F(Paths, Roots) {
  EXPECT_EQ("C:\\", root("C:\\Apps\\X"));
  EXPECT_EQ("C:", root("C:"));
  EXPECT_EQ("\\\\srv\\share\\", root("\\\\srv\\share\\dir"));
  EXPECT_EQ("\\\\srv\\share", root("\\\\srv\\share"));
  EXPECT_EQ("\\\\srv", root("\\\\srv"));
  EXPECT_EQ("E:\\", root("x"));
  computer.currentDirectory = std::string(255, 'x');
  EXPECT_EQ("ab\\", root("ab\\cdefgh"));  // cannot be made absolute: taken as it stands
  EXPECT_EQ("\\a\\", root("\\a\\cdefgh"));
}

TEST(FormatThousands, GroupsDigits) {
  EXPECT_EQ("0", formatThousands(0));
  EXPECT_EQ("999", formatThousands(999));
  EXPECT_EQ("1,000", formatThousands(1000));
  EXPECT_EQ("123,456", formatThousands(123456));
  EXPECT_EQ("1,234,567", formatThousands(1234567));
  EXPECT_EQ("4,294,967,295", formatThousands(4294967295U));
}

TEST(JoinPath, FillsWholeOrNotAtAll) {
  PathText text = "old";
  EXPECT_TRUE(joinPath(text, {std::string(200, 'a'), std::string(59, 'b')}));
  EXPECT_EQ(std::string(200, 'a') + std::string(59, 'b'), text);
  EXPECT_FALSE(joinPath(text, {std::string(200, 'a'), std::string(60, 'b')}));
  EXPECT_STREQ("", text);
  copyPath(text, "x");
  EXPECT_TRUE(joinPath(text, {text, "\\", text}));
  EXPECT_STREQ("x\\x", text);
}

}  // namespace
}  // namespace imx::test
