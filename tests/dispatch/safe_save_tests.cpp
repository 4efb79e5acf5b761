#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "formats/codec_state.h"
#include "imagelib/core/guards.h"
#include "imagelib/core/registry.h"
#include "imagelib/dispatch/load.h"
#include "imagelib/dispatch/safe_save.h"
#include "imagelib/dispatch/temporary_file.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SafeSaveTest : public LibraryTest {
 protected:
  void TearDown() override {
    image = ImageGuard();
    Output() = OutputOptions();
    LibraryTest::TearDown();
  }

  void Choose(const char* extension) {
    image->saveType = TypeRowByExtension(extension);
    image->saveDepth = 0;
  }

  ImageGuard image = PhotoLike(64, 48);
};

TEST_F(SafeSaveTest, AWholeFileTakesTheOldOnesPlace) {
  Choose("ppm");
  const std::string path = temp.Write("a.ppm", "the old file");
  const SaveResult result = SaveImageSafely(path, image.get());
  EXPECT_TRUE(result.saved) << result.reason;
  EXPECT_THAT(temp.Names(), ElementsAre("a.ppm"));
  const ImageGuard loaded(LoadImage(path.c_str()));
  ASSERT_TRUE(loaded);
  EXPECT_EQ(Difference(*image, *loaded, Channels::rgb), "");
}

TEST_F(SafeSaveTest, EveryFailingWriteLeavesTheOldFile) {
  for (const char* extension : {"ppm", "trm", "iff", "png"}) {
    Choose(extension);
    const std::string path = temp.Write("kept.bin", "the old file");
    bool saved = false;
    for (int n = 0; !saved && n < 200; ++n) {
      const WriteFailure failure(n, Afterwards::fail);
      const SaveResult result = SaveImageSafely(path, image.get());
      saved = result.saved;
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
  const std::string path = temp.Write("a.ppm", "the old file");
  host.stopAt = 5;
  EXPECT_FALSE(SaveImageSafely(path, image.get()).saved);
  EXPECT_EQ(ReadTextFile(path), "the old file");
  EXPECT_THAT(temp.Names(), ElementsAre("a.ppm"));
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
  ASSERT_TRUE(moved.MoveTo(temp.file("kept")));
  RemoveTemporaryFiles();
  EXPECT_THAT(temp.Names(), ElementsAre("kept"));
}

}  // namespace
}  // namespace imx::test
