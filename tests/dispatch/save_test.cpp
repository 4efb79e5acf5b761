#include "dispatch/save.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "dispatch/load.h"
#include "dispatch/safe_save.h"
#include "formats/codec_state.h"
#include "imagelib/copy_image.h"
#include "imagelib/guards.h"
#include "imagelib/registry.h"
#include "imagelib/temporary_file.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class SaveTest : public LibraryTest {
 protected:
  SaveTest() { Output() = OutputOptions(); }
  void TearDown() override {
    image = ImageGuard();
    LibraryTest::TearDown();
  }

  void Choose(const char* extension, std::int32_t choice = 0) {
    image->saveType = TypeRowByExtension(extension);
    image->saveDepth = choice;
  }

  std::int32_t Save(const char* extension, std::int32_t choice) {
    Choose(extension, choice);
    path = temp.file(std::string("saved.") + extension);
    return SaveImage(path.c_str(), image.get());
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

TEST_F(SaveTest, EachTypeGetsItsSaverItsOptionAndTheChosenDepth) {
  const struct {
    const char* extension;
    std::int32_t choice;
    std::int32_t option;
    std::size_t offset;
    std::string_view bytes;
  } kCases[] = {
      {"ppm", 0, 0, 0, "P3"},
      {"ppm", 0, 1, 0, "P6"},
      {"iff", 0, 0, 8, "ILBM"},
      {"trm", 0, 0, 8, "TRIM"},
      // Compression in the BMHD chunk; TRIM's comes after the thumbnail and is always on.
      {"iff", 0, 0, 30, "\0"sv},
      {"iff", 0, 1, 30, "\1"sv},
      {"trm", 0, 0, 1770, "\1"sv},
      // The IHDR chunk: bits per channel and colour type, then interlace.
      {"png", 0, 0, 24, "\x08\x06"sv},
      {"png", 1, 0, 24, "\x08\x02"sv},
      {"png", 0, 0, 28, "\0"sv},
      {"png", 0, 1, 28, "\1"sv},
  };
  for (const auto& c : kCases) {
    Output().compression = Output().interlace = c.option;
    ASSERT_EQ(Save(c.extension, c.choice), 0);
    const std::string saved = ReadTextFile(path);
    ASSERT_GT(saved.size(), c.offset);
    EXPECT_EQ(saved.substr(c.offset, c.bytes.size()), c.bytes) << c.extension << c.offset;
  }
}

TEST_F(SaveTest, ASaversFailureIsNotPassedOn) {
  Choose("ppm");
  EXPECT_EQ(SaveImage((temp.path() + "/no folder/a.ppm").c_str(), image.get()), 0);
}

using SafeSaveTest = SaveTest;

TEST_F(SafeSaveTest, AWholeFileTakesTheOldOnesPlace) {
  Choose("ppm");
  path = temp.Write("a.ppm", "the old file");
  const SaveResult result = SaveImageSafely(path, image.get());
  EXPECT_TRUE(result.saved) << result.reason;
  EXPECT_THAT(temp.Names(), ElementsAre("a.ppm"));
  const ImageGuard loaded(LoadImage(path.c_str()));
  ASSERT_TRUE(loaded);
  EXPECT_EQ(Difference(*image, *loaded, Channels::rgb), "");
}

TEST_F(SafeSaveTest, EveryFailingWriteLeavesTheOldFile) {
  image = PhotoLike(160, 100);  // several writes
  for (const char* extension : {"ppm", "trm", "iff", "png", "pic"}) {
    Choose(extension);
    path = temp.Write("kept.bin", "the old file");
    bool saved = false;
    for (int n = 0; !saved && n < 200; ++n) {
      const WriteFailure failure(n, n % 2 == 0 ? Afterwards::fail : Afterwards::succeed);
      const SaveResult result = SaveImageSafely(path, image.get());
      saved = !failure.reached();
      EXPECT_EQ(result.saved, saved) << extension << " " << n;
      EXPECT_THAT(temp.Names(), ElementsAre("kept.bin"));
      if (saved) continue;
      EXPECT_EQ(ReadTextFile(path), "the old file") << extension << " " << n;
      EXPECT_EQ(result.reason, "No space left on device") << extension << " " << n;
    }
    EXPECT_TRUE(saved) << extension;
  }
}

TEST_F(SafeSaveTest, AStoppedSaveLeavesTheOldFile) {
  Choose("ppm");
  path = temp.Write("a.ppm", "the old file");
  host.stopAt = 5;
  EXPECT_FALSE(SaveImageSafely(path, image.get()).saved);
  EXPECT_EQ(ReadTextFile(path), "the old file");
  EXPECT_THAT(temp.Names(), ElementsAre("a.ppm"));
}

TEST_F(SafeSaveTest, AlphaIsWhatTheImageAndTheDepthMean) {
  const ImageGuard ramp = AlphaGradient(18, 6);
  const ImageGuard flat = FromPixels(1, 1, std::vector<Rgba>{{1, 2, 3, 0}});
  const struct {
    const char* extension;
    std::int32_t choice;
    const ImageRecord& image;
    bool alphaMeant;
    Rgba wanted;  // at the left
    bool alphaSaved;
  } kCases[] = {{"png", 0, *flat, false, {1, 2, 3, 255}, true},
                {"png", 0, *flat, true, {1, 2, 3, 0}, true},
                {"trm", 0, *ramp, true, PixelAt(*ramp, 0, 0), true},
                {"trm", 1, *ramp, true, PixelAt(*ramp, 0, 0), false},
                {"tga", 1, *ramp, true, PixelAt(*ramp, 0, 0), false},
                {"pic", 0, *ramp, true, PixelAt(*ramp, 0, 0), true}};
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::string(c.extension) + std::to_string(c.choice));
    image = CopyImage(c.image);
    const std::uint32_t flags = c.alphaMeant ? kFlagAlpha : 0u;
    image->flags = flags;
    Choose(c.extension, c.choice);
    path = temp.file(std::string("alpha.") + c.extension);
    EXPECT_TRUE(SaveImageSafely(path, image.get()).saved);
    EXPECT_EQ(Difference(c.image, *image), "") << "the host's own image is as it was";
    EXPECT_EQ(image->flags, flags);
    const ImageGuard loaded(LoadImage(path.c_str()));
    ASSERT_TRUE(loaded);
    EXPECT_EQ((loaded->flags & kFlagAlpha) != 0, c.alphaSaved);
    const Rgba got = PixelAt(*loaded, 0, 0);
    EXPECT_EQ((Rgba{got.r, got.g, got.b, c.alphaSaved ? got.a : c.wanted.a}), c.wanted);
  }
  Choose("trm", 1);
  const AllocationFailure failure(0, Afterwards::succeed);
  EXPECT_EQ(SaveImageSafely(path, image.get()).reason, "out of memory");
}

TEST_F(SafeSaveTest, WhatCannotBeSavedMakesNoFile) {
  Choose("flc");
  EXPECT_FALSE(SaveImageSafely(temp.file("a.flc"), image.get()).saved);
  EXPECT_EQ(host.errors.size(), 1u) << "the library has said why";
  Choose("ppm");
  EXPECT_EQ(SaveImageSafely(temp.path(), image.get()).reason, "is a directory");
  const SaveResult missing = SaveImageSafely(temp.path() + "/none/a.ppm", image.get());
  EXPECT_FALSE(missing.saved);
  EXPECT_NE(missing.reason, "");
  image->saveDepth = 5;
  EXPECT_FALSE(SaveImageSafely(temp.file("a.ppm"), image.get()).saved);
  EXPECT_THAT(temp.Names(), IsEmpty());
}

TEST_F(SafeSaveTest, TemporaryFilesEndWithTheirOwnerOrAtAnInterrupt) {
  {
    const TemporaryFile first(temp.path());
    const TemporaryFile second(temp.path());
    ASSERT_TRUE(first.ok() && second.ok());
    EXPECT_NE(first.path(), second.path());
    EXPECT_EQ(temp.Names().size(), 2u);
  }
  EXPECT_THAT(temp.Names(), IsEmpty());

  const TemporaryFile live(temp.path());
  TemporaryFile moved(temp.path());
  ASSERT_TRUE(moved.MoveTo(temp.file("kept"), true));
  RemoveTemporaryFiles();
  EXPECT_THAT(temp.Names(), ElementsAre("kept"));
}

}  // namespace
}  // namespace imx::test
