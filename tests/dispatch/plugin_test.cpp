#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <utility>

#include "dispatch/host_alpha.h"
#include "dispatch/load.h"
#include "dispatch/plugins.h"
#include "dispatch/save.h"
#include "imagelib/guards.h"
#include "imagelib/plugin_library.h"
#include "imagelib/save_outcome.h"
#include "imagelib/text.h"
#include "tests/dispatch/test_plugin.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kLibrary = "KZLDJPEG.DLL";
/// Its exports are in capitals.
constexpr const char* kCapitalsLibrary = "KZldTIFF.dll";
constexpr const char* kUnknownPointer = "attempted free of unknown pointer!";

/// The services that the plug-in got for its present call.
PluginServices services;

/// The 3 x 2 pixels hold the bytes `first`, `first` + 1, ...
PluginRecord* MakeCounted(int first) {
  PluginRecord* record = services.makeImage(3, 2, "made by the plug-in");
  for (int i = 0; record && i < 3 * 2 * 4; ++i) {
    record->pixels[i] = static_cast<std::uint8_t>(first + i);
  }
  return record;
}

class PluginTest : public LibraryTest {
 protected:
  PluginTest() {
    Services().mainWindow = &calls;
    loading = nullptr;
  }

  /// Loads what `how` makes of a counted record; it may put another one in its place.
  static ImageGuard Load(const std::function<void(PluginRecord*& record)>& how) {
    loading = how;
    return ImageGuard(LoadWithPlugin("in.x", kLibrary));
  }

  static inline std::function<void(PluginRecord*&)> loading;
  static inline std::function<std::int32_t(PluginRecord&, std::int32_t option)> saving;
  static inline PluginCalls calls = {
      [](const PluginServices& given) {
        services = given;
        PluginRecord* record = MakeCounted(0);
        if (record && loading) loading(record);
        return record;
      },
      [](const PluginServices& given, PluginRecord& record, std::int32_t option) {
        services = given;
        return saving(record, option);
      }};
};

TEST_F(PluginTest, AllThatTheRecordCarriesIsTakenOver) {
  const auto fill = [](PluginRecord* record) {
    record->red[7] = 70;
    record->green[7] = 71;
    record->blue[7] = 72;
    // The fields have no terminator.
    std::memset(record->name, 'n', sizeof record->name);
    std::memset(record->comment, 'c', kPluginTextSize);
    std::memset(record->formatLabel, 'f', sizeof record->formatLabel);
    std::memset(record->author, 'a', sizeof record->author);
    std::memset(record->notice, 'r', sizeof record->notice);
  };
  const ImageGuard image = Load(fill);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->width, 3);
  EXPECT_EQ(image->height, 2);
  EXPECT_EQ(PixelAt(*image, 2, 1), (Rgba{20, 21, 22, 23}));
  EXPECT_EQ(image->palette.red[7], 70);
  EXPECT_EQ(image->palette.green[7], 71);
  EXPECT_EQ(image->palette.blue[7], 72);
  EXPECT_EQ(image->palette.blue[255], 255) << "the default palette where it was not changed";
  EXPECT_EQ(image->name, std::string(255, 'n'));
  EXPECT_EQ(image->comment, std::string(255, 'c'));
  EXPECT_EQ(image->formatLabel, std::string(12, 'f'));
  EXPECT_EQ(image->author, std::string(100, 'a'));
  EXPECT_EQ(image->notice, std::string(100, 'r'));

  const std::size_t blocks = LiveBlockCount();
  for (int n = 0; n < 5; ++n) {  // record, rows, pixels, exchange, its text
    const AllocationFailure failure(n, Afterwards::fail);
    EXPECT_FALSE(Load(fill)) << n;
    EXPECT_EQ(LiveBlockCount(), blocks) << n;
  }
}

TEST_F(PluginTest, OfSeveralImagesTheReturnedOneCounts) {
  for (const bool second : {false, true}) {
    const ImageGuard image = Load([&](PluginRecord*& record) {
      PluginRecord* const other = MakeCounted(100);
      if (second) record = other;
    });
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixels[0], second ? 100 : 0);
  }
}

TEST_F(PluginTest, PixelsSizeAndRowsMayBeReplaced) {
  for (const bool freesOld : {false, true}) {
    const ImageGuard image = Load([&](PluginRecord* record) {
      void* const old[] = {record->pixels, record->rowOffsets};
      record->width = 5;
      record->height = 4;
      record->pixels = static_cast<std::uint8_t*>(services.allocate(5 * 4 * 4, 0));
      record->rowOffsets = static_cast<std::int32_t*>(services.allocate(4 * 4, 0));
      std::memset(record->pixels, 77, 5 * 4 * 4);
      for (int y = 0; y < 4; ++y) record->rowOffsets[y] = y * 5;
      for (void* block : old) freesOld ? services.free(block) : 0;
    });
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixelCount, 20u);
    EXPECT_EQ(PixelAt(*image, 4, 3), (Rgba{77, 77, 77, 77}));
  }
  const ImageGuard turned =
      Load([](PluginRecord* record) { std::swap(record->rowOffsets[0], record->rowOffsets[1]); });
  ASSERT_TRUE(turned);
  EXPECT_EQ(PixelAt(*turned, 0, 0), (Rgba{12, 13, 14, 15}));
}

TEST_F(PluginTest, WhatCannotBeTrustedGivesNoImage) {
  static PluginRecord foreign;
  void (*const kCases[])(PluginRecord*&) = {
      [](PluginRecord*& record) { record = nullptr; },
      [](PluginRecord*& record) { record = &foreign; },
      [](PluginRecord*& record) { record = services.makeImage(0x7FFFFFFF, 0x7FFFFFFF, "x"); },
      [](PluginRecord*& record) { record->width = 1000; },
      [](PluginRecord*& record) { record->height = 0; },
      [](PluginRecord*& record) { record->rowOffsets[1] = 4; },
      [](PluginRecord*& record) { record->rowOffsets[1] = -1; },
      [](PluginRecord*& record) { record->pixels = nullptr; },
      [](PluginRecord*& record) { services.free(record->pixels); },
      [](PluginRecord*& record) { record->pixels = MakeCounted(100)->pixels; },
      [](PluginRecord*& record) {  // more rows than pixels, one over the other
        record->rowOffsets = static_cast<std::int32_t*>(services.allocate(3 * 4, 0));
        record->height = 3;
      },
      [](PluginRecord*& record) {  // one block as pixels and rows
        record->rowOffsets = static_cast<std::int32_t*>(services.allocate(100, 0));
        record->pixels = reinterpret_cast<std::uint8_t*>(record->rowOffsets);
      },
  };
  for (std::size_t i = 0; i < std::size(kCases); ++i) {
    EXPECT_FALSE(Load(kCases[i])) << i;
    EXPECT_THAT(PluginFailure(), HasSubstr(kLibrary)) << i;
    EXPECT_EQ(LiveBlockCount(), 0u) << i;
  }
  EXPECT_THAT(host.errors, IsEmpty());
  const ImageGuard ownComment =
      Load([](PluginRecord* record) { record->comment = std::strcpy(record->author, "words"); });
  ASSERT_TRUE(ownComment);
  EXPECT_STREQ(ownComment->comment, "") << "its size is unknown";
}

TEST_F(PluginTest, ServicesReachTheHostAndWhatIsLeftBehindIsCleanedUp) {
  EXPECT_TRUE(Load([](PluginRecord* record) {
    services.begin("a title", 5, 6);
    services.update(3);
    services.end();
    services.begin("never ended", 5, 6);
    services.allocate(1000, 0);
    services.free(record);
  }));
  EXPECT_EQ(LiveBlockCount(), 0u);
  ASSERT_EQ(host.progress.size(), 2u);
  EXPECT_EQ(host.progress[0].title, "a title");
  EXPECT_EQ(host.progress[0].total, 5);
  EXPECT_EQ(host.progress[0].extra, 6);
  EXPECT_THAT(host.progress[0].positions, ElementsAre(3));
  EXPECT_EQ(host.progressEnds, 2);
  EXPECT_THAT(host.errors, ElementsAre(kUnknownPointer));
}

TEST_F(PluginTest, SavingHandsOverTheImageButDoesNotLetItBeFreed) {
  const ImageGuard image = Solid(4, 2, {9, 8, 7, 255});
  CopyText(image->name, "picture");
  CopyText(image->comment, "words");
  std::int32_t result = 0;
  saving = [&](PluginRecord& record, std::int32_t option) {
    EXPECT_EQ(record.width * 100 + record.height, 402);
    EXPECT_STREQ(record.name, "picture");
    EXPECT_STREQ(record.comment, "words");
    EXPECT_EQ(record.depth, 24);
    EXPECT_EQ(record.pixels[0], 9);
    EXPECT_EQ(record.rowOffsets[1], 4);
    EXPECT_EQ(option, 55);
    services.begin("never ended", 1, 1);
    services.allocate(10, 0);
    services.free(record.pixels);
    return result;
  };
  BeginSaveOutcome();
  EXPECT_EQ(SaveWithPlugin(image.get(), "out.x", kLibrary, 55), 0);
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::whole);
  EXPECT_EQ(PixelAt(*image, 1, 1), (Rgba{9, 8, 7, 255}));
  EXPECT_EQ(host.progressEnds, 1);

  result = 7;
  BeginSaveOutcome();
  EXPECT_EQ(SaveWithPlugin(image.get(), "out.x", kCapitalsLibrary, 55), 7);
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
  EXPECT_THAT(SaveFailureReason(), HasSubstr(kCapitalsLibrary));
  EXPECT_THAT(host.errors, ElementsAre(kUnknownPointer, kUnknownPointer));
}

TEST_F(PluginTest, TheDispatchLoadsAndSavesThroughTheLibraries) {
  const Bytes jfif = BigEndian().U32(0xFFD8FFE0).U16(16).Text("JFIF").List({0, 1, 2}).bytes();
  const ImageGuard jpeg(LoadImage(temp.Write("a.jpg", jfif).c_str()));
  ASSERT_TRUE(jpeg);
  EXPECT_STREQ(jpeg->formatLabel, "JPEG");
  EXPECT_EQ(jpeg->fileType, 4);

  // The dispatch gives these images no type.
  const ImageGuard tiff(LoadImage(temp.Write("a.tif", "II*").c_str()));
  ASSERT_TRUE(tiff);
  EXPECT_STREQ(tiff->formatLabel, "TIFF");
  EXPECT_EQ(tiff->fileType, -1);

  // That there is alpha only the host can tell.
  LoadResult loaded = imx::Load(temp.file("a.tif").c_str(), {});
  ASSERT_TRUE(loaded.image);
  const auto hasAlpha = [&](const char* library, bool oneValue) {
    loaded.kind.library = library;
    loaded.image->flags = 0;
    for (int i = 0; oneValue && i < 6; ++i) loaded.image->pixels[4 * i + 3] = 9;
    NotePluginAlpha(loaded);
    return loaded.image->flags == kFlagAlpha;
  };
  EXPECT_EQ(loaded.image->flags & kFlagAlpha, 0u);
  EXPECT_TRUE(hasAlpha(loaded.kind.library, false));
  EXPECT_FALSE(hasAlpha(nullptr, false)) << "other loaders say it themselves";
  EXPECT_FALSE(hasAlpha(kLibrary, true));

  jpeg->saveType = 17;
  jpeg->saveDepth = 0;
  BeginSaveOutcome();
  EXPECT_EQ(SaveImage(temp.file("b.jpg").c_str(), jpeg.get()), 0) << "not passed on";
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
  EXPECT_THAT(SaveFailureReason(), HasSubstr("plug-in library KZSVJPEG.DLL: "));
  EXPECT_THAT(host.errors, IsEmpty()) << "a missing library is no matter of the host's";
}

TEST_F(PluginTest, WhatLiesInTheCurrentFolderIsNotRun) {
  namespace fs = std::filesystem;
  const fs::path program = testing::internal::GetArgvs()[0];
  for (const fs::path name : {"KZLDJPEG.so", "KZLDJPEG.dll"}) {
    const fs::path library = program.parent_path() / name;
    if (fs::exists(library)) fs::copy(library, "PLANTED" + name.extension().string());
  }
  EXPECT_TRUE(PluginLibrary(kLibrary).ok());
  EXPECT_FALSE(PluginLibrary("PLANTED.DLL").ok());
}

}  // namespace
}  // namespace imx::test
