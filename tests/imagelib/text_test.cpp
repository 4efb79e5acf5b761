#include "imagelib/text.h"

#include <gtest/gtest.h>

#include <string>

#include "imagelib/system_files.h"

namespace imx::test {
namespace {

TEST(TextTest, CutCopiesAlwaysEnd) {
  TextField field;
  CopyTextCut(field, std::string(1000, 'x'));
  EXPECT_EQ(std::string(field), std::string(255, 'x'));
  CopyTextCut(field, "abcdef", 4);
  EXPECT_STREQ(field, "abcd");
  CopyTextCut(field, std::string_view("ab\0cd", 5));
  EXPECT_EQ(std::string(field, 6), std::string("ab\0\0\0\0", 6)) << "nothing stale behind the end";
  CopyTextCut(field, field, 1);
  EXPECT_STREQ(field, "a");
}

TEST(TextTest, ComparisonIgnoresCaseOfAsciiLettersOnly) {
  EXPECT_TRUE(EqualNoCase("AbZ.09", "aBz.09"));
  EXPECT_FALSE(EqualNoCase("@[", "`{")) << "next to the letters, 32 apart";
  EXPECT_FALSE(EqualNoCase("ab", "abc"));
  EXPECT_TRUE(EndsWithNoCase("photo.TGA", ".tga"));
  EXPECT_FALSE(EndsWithNoCase("ga", ".tga"));
}

TEST(TextTest, PathsOfBothSystems) {
  EXPECT_EQ(PathFileName("a/b\\c.d", kWindowsPathSeparators), "c.d");
  EXPECT_EQ(PathFileName("a\\b\\c.d"), kPathSeparators == "/" ? "a\\b\\c.d" : "c.d");
  EXPECT_EQ(PathExtension("a.b/c.tar.gz"), ".gz");
  EXPECT_EQ(PathExtension("a.b/c"), "");
  EXPECT_EQ(PathExtension("a.b/c."), ".");
}

}  // namespace
}  // namespace imx::test
