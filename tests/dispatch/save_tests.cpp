#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "formats/codec_state.h"
#include "imagelib/core/guards.h"
#include "imagelib/core/registry.h"
#include "imagelib/dispatch/save.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SaveTest : public LibraryTest {
 protected:
  void TearDown() override {
    image = ImageGuard();
    Output() = OutputOptions();
    LibraryTest::TearDown();
  }

  std::int32_t Save(const char* extension, std::int32_t choice) {
    image->saveType = TypeRowByExtension(extension);
    image->saveDepth = choice;
    path = temp.file(std::string("saved.") + extension);
    return SaveImage(path.c_str(), image.get());
  }

  /// What was saved, as text from `offset` on.
  std::string Saved(std::size_t offset, std::size_t count) {
    const std::string all = ReadTextFile(path);
    return all.size() < offset ? std::string() : all.substr(offset, count);
  }

  ImageGuard image = AlphaGradient(18, 6);
  std::string path;
};

TEST_F(SaveTest, TypesWithoutASaverAreNamedOrNumbered) {
  const struct {
    const char* extension;
    const char* shown;
  } kCases[] = {
      {"flc", "Autodesk FLC"}, {"fli", "Autodesk FLI"}, {"avi", "9"}, {"dem", "21"}, {"psd", "25"}};
  for (const auto& c : kCases) {
    host.errors.clear();
    EXPECT_EQ(Save(c.extension, 0), 1) << c.extension;
    EXPECT_THAT(host.errors, ElementsAre(std::string("This type (") + c.shown +
                                         ") is unavailable as a saver at this time"));
    EXPECT_FALSE(FileExists(path)) << c.extension;
  }
}

TEST_F(SaveTest, AnInvalidChoiceIsRefusedSilently) {
  EXPECT_EQ(Save("png", 3), 1);
  EXPECT_EQ(Save("png", -1), 1);
  EXPECT_EQ(Save("trm", 2), 1);
  EXPECT_EQ(Save("flc", 1), 1) << "before the saver is looked for";
  EXPECT_EQ(Save("no such type", 0), 1);
  EXPECT_THAT(host.errors, IsEmpty());
  EXPECT_FALSE(FileExists(path));
}

TEST_F(SaveTest, EachTypeGetsItsSaverAndItsOptions) {
  Output().compression = 0;
  ASSERT_EQ(Save("iff", 0), 0);
  EXPECT_EQ(Saved(0, 4) + Saved(8, 4), "FORMILBM");
  EXPECT_EQ(Saved(30, 1), std::string(1, '\0')) << "BMHD compression";
  ASSERT_EQ(Save("trm", 0), 0);
  EXPECT_EQ(Saved(0, 4) + Saved(8, 4), "FORMTRIM");
  const std::string trim = ReadTextFile(path);
  const std::size_t header = trim.find("BMHD");
  ASSERT_NE(header, std::string::npos);
  EXPECT_EQ(trim[header + 8 + 10], 1) << "TRIM is always compressed";
  ASSERT_EQ(Save("ppm", 0), 0);
  EXPECT_EQ(Saved(0, 2), "P3");

  Output().compression = 1;
  ASSERT_EQ(Save("iff", 0), 0);
  EXPECT_EQ(Saved(30, 1), "\1");
  ASSERT_EQ(Save("ppm", 0), 0);
  EXPECT_EQ(Saved(0, 2), "P6");
}

TEST_F(SaveTest, TheDepthChoiceBecomesBitsPerPixel) {
  // IHDR: bit depth at 24, colour type at 25, interlace at 28.
  ASSERT_EQ(Save("png", 0), 0);
  EXPECT_EQ(Saved(24, 2), "\x08\x06");
  EXPECT_EQ(Saved(28, 1), std::string(1, '\0'));
  Output().interlace = 1;
  ASSERT_EQ(Save("png", 1), 0);
  EXPECT_EQ(Saved(24, 2), "\x08\x02");
  EXPECT_EQ(Saved(28, 1), "\1");
}

TEST_F(SaveTest, ASaversFailureIsNotPassedOn) {
  image->saveType = TypeRowByExtension("ppm");
  image->saveDepth = 0;
  EXPECT_EQ(SaveImage((temp.path() + "/no folder/a.ppm").c_str(), image.get()), 0);
}

}  // namespace
}  // namespace imx::test
