#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <utility>

#include "formats/codec_state.h"
#include "imagelib/core/guards.h"
#include "imagelib/core/save_outcome.h"
#include "imagelib/core/text.h"
#include "imagelib/dispatch/load.h"
#include "imagelib/dispatch/plugins.h"
#include "imagelib/dispatch/save.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* kLibrary = "KZLDJPEG.DLL";
constexpr std::int32_t kJpegRow = 17;
constexpr std::int32_t kTiffRow = 18;

/// The test plug-in is told by a file's name what to do.
class PluginTest : public LibraryTest {
 protected:
  ImageGuard Load(const std::string& how) {
    return ImageGuard(LoadWithPlugin((how + ".x").c_str(), kLibrary));
  }
};

TEST_F(PluginTest, AllThatTheRecordCarriesIsTakenOver) {
  const ImageGuard image = Load("full");
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width, 3);
  EXPECT_EQ(image->height, 2);
  EXPECT_EQ(PixelAt(*image, 2, 1), (Rgba{20, 21, 22, 23}));
  EXPECT_EQ(image->palette.red[7], 70);
  EXPECT_EQ(image->palette.green[7], 71);
  EXPECT_EQ(image->palette.blue[7], 72);
  EXPECT_EQ(image->palette.red[8], 0) << "the default palette is kept where it was not changed";
  EXPECT_EQ(image->palette.blue[255], 255);
  // The fields have no terminator.
  EXPECT_EQ(image->name, std::string(255, 'n'));
  EXPECT_EQ(image->comment, std::string(255, 'c'));
  EXPECT_EQ(image->formatLabel, std::string(12, 'f'));
  EXPECT_EQ(image->author, std::string(100, 'a'));
  EXPECT_EQ(image->notice, std::string(100, 'r'));
  EXPECT_THAT(PluginFailure(), IsEmpty());
}

TEST_F(PluginTest, OfSeveralImagesTheReturnedOneCounts) {
  for (const auto& [how, firstByte] : {std::pair{"first", 0}, {"second", 100}}) {
    const ImageGuard image = Load(how);
    ASSERT_TRUE(image) << how;
    EXPECT_EQ(image->pixels[0], firstByte);
  }
}

TEST_F(PluginTest, PixelsSizeAndRowsMayBeReplaced) {
  for (const char* how : {"larger", "replaced"}) {
    const ImageGuard image = Load(how);
    ASSERT_TRUE(image) << how;
    EXPECT_EQ(image->width, 5);
    EXPECT_EQ(image->height, 4);
    EXPECT_EQ(image->pixelCount, 20u);
    EXPECT_EQ(PixelAt(*image, 4, 3), (Rgba{77, 77, 77, 77}));
  }
  const ImageGuard turned = Load("turned");
  ASSERT_TRUE(turned);
  EXPECT_EQ(PixelAt(*turned, 0, 0), (Rgba{12, 13, 14, 15}));
  EXPECT_EQ(PixelAt(*turned, 0, 1), (Rgba{0, 1, 2, 3}));
}

TEST_F(PluginTest, WhatCannotBeTrustedGivesNoImage) {
  for (const char* how : {"null", "foreign", "toolarge", "wide", "flat", "strayrow", "negativerow",
                          "nopixels", "freed", "mixed", "shared"}) {
    EXPECT_FALSE(Load(how)) << how;
    EXPECT_THAT(PluginFailure(), HasSubstr(kLibrary)) << how;
    EXPECT_EQ(LiveBlockCount(), 0u) << how;
  }
  EXPECT_THAT(host.errors, IsEmpty());
  const ImageGuard ownComment = Load("owncomment");
  ASSERT_TRUE(ownComment);
  EXPECT_STREQ(ownComment->comment, "") << "its size is unknown";
}

TEST_F(PluginTest, ServicesReachTheHost) {
  EXPECT_TRUE(Load("progress"));
  ASSERT_EQ(host.progress.size(), 1u);
  EXPECT_EQ(host.progress[0].title, "a title");
  EXPECT_EQ(host.progress[0].total, 5);
  EXPECT_EQ(host.progress[0].extra, 6);
  EXPECT_THAT(host.progress[0].positions, ElementsAre(3));

  int window = 0, instance = 0;
  Services().mainWindow = &window;
  Services().instance = &instance;
  const ImageGuard image = Load("handles");
  ASSERT_TRUE(image);
  EXPECT_STREQ(image->name, "made by the plug-in");
  char expected[100];
  std::snprintf(expected, sizeof expected, "%p %p", Services().mainWindow, Services().instance);
  EXPECT_STREQ(image->author, expected);
}

TEST_F(PluginTest, WhatThePluginLeavesBehindIsCleanedUpAndWhatIsNotItsOwnIsNotFreed) {
  EXPECT_TRUE(Load("untidy"));
  EXPECT_EQ(host.progressEnds, 1);
  EXPECT_EQ(LiveBlockCount(), 0u);
  EXPECT_TRUE(Load("frees"));
  EXPECT_THAT(host.errors, ElementsAre("attempted free of unknown pointer!"));
  host.errors.clear();
}

TEST_F(PluginTest, FailingAllocationsGiveNoImageAndLeakNothing) {
  for (int n = 0; n < 5; ++n) {  // record, rows, pixels, exchange, its text
    const AllocationFailure failure(n, Afterwards::fail);
    EXPECT_FALSE(Load("full")) << n;
    EXPECT_EQ(LiveBlockCount(), 0u) << n;
  }
  EXPECT_TRUE(Load("full"));
}

TEST_F(PluginTest, AMissingLibraryOrEntryFailsWithoutAMessage) {
  EXPECT_EQ(LoadWithPlugin("full.x", "MISSING.DLL"), nullptr);
  EXPECT_THAT(PluginFailure(), StartsWith("plug-in library MISSING.DLL: "));
  EXPECT_EQ(LoadWithPlugin("full.x", "NOENTRY.DLL"), nullptr);
  EXPECT_THAT(PluginFailure(), HasSubstr("no loader"));

  const ImageGuard image = Solid(2, 2, {1, 2, 3, 255});
  const std::string path = temp.file("saved.x");
  EXPECT_EQ(SaveWithPlugin(image.get(), path.c_str(), "MISSING.DLL", 0), 1);
  EXPECT_EQ(SaveWithPlugin(image.get(), path.c_str(), "NOENTRY.DLL", 0), 1);
  EXPECT_THAT(PluginFailure(), HasSubstr("no saver"));
  EXPECT_FALSE(FileExists(path));
  EXPECT_THAT(host.errors, IsEmpty());
}

TEST_F(PluginTest, SavingHandsTheImageOver) {
  int window = 0;
  Services().mainWindow = &window;
  const ImageGuard image = Solid(4, 2, {9, 8, 7, 255});
  CopyText(image->name, "picture");
  CopyText(image->comment, "words");
  const std::string path = temp.file("saved.x");
  BeginSaveOutcome();
  EXPECT_EQ(SaveWithPlugin(image.get(), path.c_str(), kLibrary, 55), 0);
  EXPECT_EQ(ReadTextFile(path), "4x2 picture [words] depth 24 option 55 red 9 row 4 handles 1");
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::whole);

  BeginSaveOutcome();
  EXPECT_EQ(SaveWithPlugin(image.get(), temp.file("refused.x").c_str(), kLibrary, 0), 7);
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
  EXPECT_THAT(SaveFailureReason(), HasSubstr(kLibrary));
}

TEST_F(PluginTest, ASaverCannotFreeTheImage) {
  const ImageGuard image = Solid(2, 2, {1, 2, 3, 255});
  EXPECT_EQ(SaveWithPlugin(image.get(), temp.file("untidy.x").c_str(), kLibrary, 0), 0);
  EXPECT_EQ(PixelAt(*image, 1, 1), (Rgba{1, 2, 3, 255}));
  EXPECT_EQ(host.progressEnds, 1);
  EXPECT_THAT(host.errors, ElementsAre("attempted free of unknown pointer!"));
  host.errors.clear();
}

TEST_F(PluginTest, TheDispatchLoadsThroughTheLibraries) {
  const Bytes jfif = BigEndian().U32(0xFFD8FFE0).U16(16).Text("JFIF").List({0, 1, 2}).bytes();
  const ImageGuard jpeg(LoadImage(temp.Write("full.jpg", jfif).c_str()));
  ASSERT_TRUE(jpeg);
  EXPECT_STREQ(jpeg->formatLabel, "JPEG");
  EXPECT_EQ(jpeg->fileType, 4);

  // This library's exports are in capitals, and the dispatch gives its images no type.
  const ImageGuard tiff(LoadImage(temp.Write("full.tif", "II*").c_str()));
  ASSERT_TRUE(tiff);
  EXPECT_STREQ(tiff->formatLabel, "TIFF");
  EXPECT_EQ(tiff->fileType, -1);
}

TEST_F(PluginTest, TheDispatchPassesNoSavePluginsResultOn) {
  const ImageGuard image = Solid(2, 2, {1, 2, 3, 255});
  image->saveType = kJpegRow;
  image->saveDepth = 0;
  BeginSaveOutcome();
  EXPECT_EQ(SaveImage(temp.file("a.jpg").c_str(), image.get()), 0);
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
  EXPECT_THAT(SaveFailureReason(), HasSubstr("KZSVJPEG.DLL"));
  EXPECT_THAT(host.errors, IsEmpty());

  // The TIFF saver's library has the loader's name in capitals. Where case does not matter that is
  // the same file.
  image->saveType = kTiffRow;
  Output().compression = 1;
  BeginSaveOutcome();
  const std::string path = temp.file("a.tif");
  EXPECT_EQ(SaveImage(path.c_str(), image.get()), 0);
  if (GetSaveOutcome() == SaveOutcome::whole) {
    EXPECT_THAT(ReadTextFile(path), HasSubstr("option 1"));
  } else {
    EXPECT_THAT(SaveFailureReason(), HasSubstr("KZLDTIFF.DLL"));
  }
}

}  // namespace
}  // namespace imx::test
