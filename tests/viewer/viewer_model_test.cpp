#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "dispatch/load.h"
#include "imagelib/copy_image.h"
#include "imagelib/registry.h"
#include "tests/support/bytes.h"
#include "tests/support/files.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"
#include "viewer/model/clipboard_bitmap.h"
#include "viewer/model/folder.h"
#include "viewer/model/history.h"
#include "viewer/model/recent.h"
#include "viewer/model/save_as.h"
#include "viewer/model/sequence_speed.h"
#include "viewer/model/thumbnails.h"

namespace imx::test {
namespace {

using Names = std::vector<std::string>;

TEST(FolderTest, OrdersAsPeopleDo) {
  const Names wanted = {"2.png",  "02b.png", "10.png", "A.png", "a.png", "a1.png",      "a02.png",
                        "a2.png", "a11.png", "B.gif",  "b.gif", "c",     "\xC3\xA9.png"};
  Names shuffled = wanted;
  std::shuffle(shuffled.begin(), shuffled.end(), std::mt19937(7));
  EXPECT_EQ(StepCandidates(shuffled, "", FolderStep::next), wanted);
  for (const FolderStep step : {FolderStep::next, FolderStep::last}) {
    EXPECT_EQ(StepCandidates(shuffled, "B.gif", step), step == FolderStep::next
                                                           ? (Names{"b.gif", "c", "\xC3\xA9.png"})
                                                           : (Names{"\xC3\xA9.png", "c", "b.gif"}));
  }
  EXPECT_EQ(StepCandidates(shuffled, "10.png", FolderStep::previous), (Names{"02b.png", "2.png"}));
  EXPECT_EQ(StepCandidates(shuffled, "9 gone.png", FolderStep::first), (Names{"2.png", "02b.png"}));
  EXPECT_TRUE(StepCandidates(shuffled, "2.png", FolderStep::previous).empty());
}

class HistoryTest : public LibraryTest {
 protected:
  /// A change that leaves an image of this shade.
  void Change(History& history, std::uint8_t shade, bool edited = true) {
    Remember(history, std::move(present), edited);
    present = Solid(8, 4, {shade, 0, 0, 255});
  }
  bool Go(History& history, HistoryWay way, HistoryWay back) {
    std::optional<HistoryStep> step = TakeStep(history, way);
    if (!step) return false;
    KeepStep(history, back, std::move(present), true);
    present = std::move(step->image);
    return true;
  }
  int Shade() const { return PixelAt(*present, 0, 0).r; }

  ImageGuard present = Solid(8, 4, {0, 0, 0, 255});
};

TEST_F(HistoryTest, GoesBackAndOn) {
  History history;
  for (std::uint8_t shade = 1; shade <= 3; ++shade) Change(history, shade);
  EXPECT_TRUE(Go(history, HistoryWay::undo, HistoryWay::redo));
  EXPECT_TRUE(Go(history, HistoryWay::undo, HistoryWay::redo));
  EXPECT_EQ(Shade(), 1);
  EXPECT_TRUE(Go(history, HistoryWay::redo, HistoryWay::undo));
  EXPECT_EQ(Shade(), 2);
  Change(history, 9);
  EXPECT_FALSE(Go(history, HistoryWay::redo, HistoryWay::undo));
  EXPECT_TRUE(Go(history, HistoryWay::undo, HistoryWay::redo));
  EXPECT_EQ(Shade(), 2);
  MarkAllEdited(history);
  EXPECT_TRUE(history.undo[0].edited && history.redo[0].edited);
  present.reset();
}

TEST_F(HistoryTest, DropsTheOldestOfAllWindows) {
  const std::uint64_t one = BytesOf(*present);
  History first, second;
  for (int i = 0; i < 3; ++i) {
    Change(first, 1);
    Change(second, 2);
  }
  Go(first, HistoryWay::undo, HistoryWay::redo);  // the step for doing it again is the newest
  History* const both[] = {&first, &second};
  Trim(both, 3 * one + 1);
  EXPECT_EQ(first.undo.size() + 10 * first.redo.size() + 100 * second.undo.size(), 0 + 10 + 200u);
  Trim(both, one - 1);
  EXPECT_TRUE(first.redo.empty() && second.undo.empty());
  present.reset();
}

TEST_F(HistoryTest, CopiesAreWhole) {
  CopyText(present->comment, "kept");
  present->flags = kFlagAlpha | kFlagChanged;
  const ImageGuard copy = CopyImage(*present);
  EXPECT_EQ(Difference(*present, *copy), "");
  EXPECT_STREQ(copy->comment, "kept");
  EXPECT_EQ(copy->flags, present->flags);
  present.reset();
}

using ClipboardBitmapTest = LibraryTest;

TEST_F(ClipboardBitmapTest, ComesBackThroughTheLoader) {
  const ImageGuard image = AlphaGradient(13, 5);
  const ClipRegion region = {2, 1, 10, 3};
  LoadChoices choices;
  choices.way = ReadingWay::interop;
  const auto loaded = [&](const std::vector<std::uint8_t>& packed) {
    const std::string path = temp.Write("packed.bmp", FileOfPackedBitmap(packed));
    return Load(path.c_str(), choices).image;
  };
  for (const bool v5 : {true, false}) {
    const ImageGuard back =
        loaded(v5 ? PackedBitmapV5(*image, region) : PackedBitmap24(*image, region));
    ASSERT_TRUE(back);
    EXPECT_EQ((back->flags & kFlagAlpha) != 0, v5);
    for (std::int32_t y = 0; y < region.Height(); ++y) {
      for (std::int32_t x = 0; x < region.Width(); ++x) {
        Rgba wanted = PixelAt(*image, x + 2, y + 1);
        if (!v5) wanted.a = PixelAt(*back, x, y).a;  // without meaning
        ASSERT_EQ(PixelAt(*back, x, y), wanted) << x << ", " << y;
      }
    }
  }
  // Headers that lie.
  std::vector<std::uint8_t> packed = PackedBitmap24(*image, region);
  packed[0] = 0xFF;
  packed[3] = 0xFF;
  EXPECT_TRUE(FileOfPackedBitmap(packed).empty());
  EXPECT_TRUE(FileOfPackedBitmap(std::span(packed).first(20)).empty());
}

using SequenceSpeedTest = LibraryTest;

TEST_F(SequenceSpeedTest, IsTheFilesOwn) {
  const auto times = [&](const ByteBuilder& file) {
    return FrameTimes(temp.Write("film", file.bytes()));
  };
  for (const auto& [magic, speed, wanted] :
       {std::tuple{0xAF11u, 7u, 100}, {0xAF12u, 40u, 40}, {0xAF12u, 0u, 100}}) {
    ByteBuilder flic = LittleEndian();
    flic.U32(128).U16(static_cast<std::uint16_t>(magic)).Repeat(0, 10).U32(speed).Repeat(0, 108);
    EXPECT_EQ(times(flic), std::vector{wanted});
  }
  ByteBuilder avi = LittleEndian();
  avi.Text("RIFF")
      .U32(99)
      .Text("AVI LIST")
      .U32(99)
      .Text("hdrlavih")
      .U32(56)
      .U32(66'667)
      .Repeat(0, 52);
  EXPECT_EQ(times(avi), std::vector{67});
  ByteBuilder gif = LittleEndian();
  gif.Text("GIF89a").U16(1).U16(1).List({0, 0, 0});
  for (const int delay : {25, 0, 7}) {
    gif.List({0x21, 0xF9, 4, 0, delay, 0, 0, 0, 0x2C, 0, 0, 0, 0, 1, 0, 1, 0, 0, 2, 1, 0x44, 0});
  }
  gif.List({0x3B});
  const std::vector<std::int32_t> delays = times(gif);
  EXPECT_EQ(delays, (std::vector{250, 100, 70}));
  EXPECT_TRUE(FrameTimes(temp.Write("film", std::string_view("P5 1 1 255 a"))).empty());
  for (const auto& [elapsed, frame] :
       {std::pair{0, 1}, {99, 1}, {100, 2}, {170, 0}, {419, 0}, {420, 1}, {42'000'170, 0}}) {
    EXPECT_EQ(FrameAt(delays, 3, 1, elapsed), frame) << elapsed;
  }
}

TEST(RecentTest, KeepsTheLastOnes) {
  std::vector<std::string> recent;
  for (int i = 0; i < 12; ++i) AddRecent(recent, "C:\\pics\\" + std::to_string(i) + ".png");
  AddRecent(recent, "c:\\PICS\\5.png");
  EXPECT_EQ(recent.size(), kMostRecent);
  EXPECT_EQ(recent.front(), "c:\\PICS\\5.png");
  EXPECT_EQ(recent[1], "C:\\pics\\11.png");
  EXPECT_EQ(std::count(recent.begin(), recent.end(), "C:\\pics\\5.png"), 0);
  EXPECT_EQ(RecentText(2, "C:\\a & b.png"), "&3 C:\\a && b.png");
  EXPECT_EQ(RecentText(0, "C:\\pictures\\" + std::string(90, 'x') + "\\last.png"),
            "&1 C:\\pictures\\..." + std::string(39, 'x') + "\\last.png");
}

using SaveAsTest = LibraryTest;

TEST_F(SaveAsTest, KeepsTheTypeAndTheMostOfTheImage) {
  const ImageGuard image = AlphaGradient(4, 4);
  const struct {
    const char* extension;
    std::uint32_t flags;
    const char *label, *depth;
  } cases[] = {{".tga", 0, "Targa (*.tga)", "24-bit"},
               {".tga", kFlagAlpha, "Targa (*.tga)", "32-bit"},
               {".gif", 0, "GIF (*.gif)", "8-bit"},
               {".fli", 0, "PNG (*.png)", "24-bit"}};
  for (const auto& wanted : cases) {
    CopyText(image->extension, wanted.extension);
    image->flags = wanted.flags;
    image->saveType = image->saveDepth = -1;
    ChooseSaver(*image, OwnSaverPosition(*image));
    EXPECT_STREQ(TypeLabel(image->saveType), wanted.label);
    const std::string depth = DepthSuffixName(image->saveType, image->saveDepth);
    EXPECT_EQ(depth.substr(0, depth.find(' ')), wanted.depth) << wanted.label;
  }
  image->saveDepth = 2;  // as it was chosen
  ChooseSaver(*image, OwnSaverPosition(*image));
  EXPECT_EQ(image->saveDepth, 2);
  EXPECT_EQ(SaverRow(SaverOfName("a.b.GIF", 0)), TypeRowByExtension("gif"));
  EXPECT_EQ(SaverOfName("plain", 3) + SaverOfName("a.fli", 3), 6);
}

using ThumbnailTest = LibraryTest;

TEST_F(ThumbnailTest, AreKeptWithinTheirBound) {
  const ImageGuard photo = PhotoLike(400, 100);
  const Thumbnail small = MakeThumbnail(*photo, {100, 80});
  EXPECT_EQ(small.size, (Extent{100, 25}));
  EXPECT_EQ(small.facts, "400 x 100");
  EXPECT_EQ(MakeThumbnail(*Solid(5, 3, {}), {100, 80}).size, (Extent{5, 3})) << "not enlarged";
  ThumbnailCache cache(4 * 4 * 100 * 25);
  for (int i = 0; i < 50; ++i) {
    cache.Put(std::to_string(i), small);
    EXPECT_TRUE(cache.Find("0")) << "looked at all the time";
    EXPECT_LE(cache.bytes(), 4u * 4 * 100 * 25);
  }
  EXPECT_TRUE(cache.Find("49"));
  EXPECT_FALSE(cache.Find("40"));
  const std::size_t before = cache.bytes();
  cache.Put("0", small);
  EXPECT_EQ(cache.bytes(), before) << "in place of the one before";
}

TEST(FindByStartTest, GoesRound) {
  const Names names = {"alpha", "Beta", "bet", "gamma"};
  for (const auto& [typed, start, found] :
       {std::tuple{"b", 0, 1}, {"B", 2, 2}, {"bet", 3, 1}, {"be", 0, 1}, {"x", 0, -1}}) {
    EXPECT_EQ(FindByStart(names, typed, start), found) << typed;
  }
  EXPECT_EQ(FindByStart({}, "a", 0), -1);
}

}  // namespace
}  // namespace imx::test
