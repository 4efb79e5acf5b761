#include "formats/codec_state.h"
#include "formats/flic.h"
#include "tests/formats/common_builder.h"
#include "tests/formats/station_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::IsEmpty;

/// Colours whose red is the index.
Bytes IndexColours() {
  ByteBuilder data = LittleEndian();
  data.List({1, 0, 0, 0});
  for (int i = 0; i < 256; ++i) data.List({i, 0, 0});
  return FlicChunk(4, data.bytes());
}

class FlicTest : public LibraryTest {
 protected:
  void TearDown() override {
    Sequence() = {};
    LibraryTest::TearDown();
  }

  ImageGuard Load(const Bytes& bytes, std::int32_t frame = 0) {
    Sequence().chosenFrame = frame;
    return ImageGuard(LoadFlic(temp.Write("in.flc", bytes).c_str()));
  }

  /// Indices of the last of `frames`, whose first starts with colours.
  Bytes Indices(std::uint32_t width, std::uint32_t height, const std::vector<Bytes>& frames) {
    std::vector<Bytes> all = {FlicFrame({IndexColours()})};
    all.insert(all.end(), frames.begin(), frames.end());
    const ImageGuard image = Load(FlicFile(kFlc, width, height, all), 99);
    Bytes indices;
    for (std::uint32_t i = 0; image && i < image->pixelCount; ++i) {
      indices.push_back(image->pixels[4 * i]);
    }
    return indices;
  }
};

TEST_F(FlicTest, CountsWithoutAChoice) {
  const Bytes file = FlicFile(kFli, 1, 1, {FlicFrame({}), FlicFrame({}), FlicFrame({})});
  EXPECT_FALSE(Load(file, -1));
  EXPECT_TRUE(Sequence().frameWanted);
  EXPECT_EQ(Sequence().frameCount, 3);
  Bytes other = file;
  other[4] = 0x13;
  EXPECT_FALSE(Load(other));
  EXPECT_FALSE(Load(Bytes(file.begin(), file.begin() + 127)));
  EXPECT_THAT(host.errors, IsEmpty());
}

TEST_F(FlicTest, FramePastTheEndIsTheLastUnderItsNumber) {
  const auto frame = [](int index) {
    return FlicFrame({FlicChunk(15, {1, 1, static_cast<std::uint8_t>(index)})});
  };
  const ImageGuard image =
      Load(FlicFile(kFlc, 1, 1,
                    {FlicFrame({IndexColours(), FlicChunk(15, {1, 1, 5})}), frame(6), frame(7)}),
           5);
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{7, 0, 0, 0}));
  EXPECT_EQ(image->frame, 6);
  EXPECT_STREQ(image->formatLabel, "FLI/FLC");
  EXPECT_EQ(image->depth, 8u);
  ASSERT_EQ(host.progress.size(), 2u);
  EXPECT_EQ(host.progress[0].title, "Loading AutoDesk FLIC");
  EXPECT_EQ(host.progress[0].total, 3);
  EXPECT_EQ(host.progress[1].title, "Converting FLIC");
}

TEST_F(FlicTest, ColoursLastFromOneLoadToTheNext) {
  const Bytes copy = FlicChunk(16, {1});
  const Bytes colour = FlicChunk(11, {1, 0, 1, 1, 63, 62, 1});
  ASSERT_TRUE(Load(FlicFile(kFli, 1, 1, {FlicFrame({colour, copy})})));
  const ImageGuard image = Load(FlicFile(kFli, 1, 1, {FlicFrame({copy})}));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{252, 248, 4, 0}));
}

// A second packet that skips nothing overwrites the first: the counts do not move the start.
TEST_F(FlicTest, ColourPacketsMoveBySkipsAlone) {
  const Bytes colour = FlicChunk(4, {3, 0, 0, 2, 1, 1, 1, 2, 2, 2, 0, 1, 9, 9, 9, 1, 1, 5, 5, 5});
  const ImageGuard image =
      Load(FlicFile(kFlc, 2, 1, {FlicFrame({IndexColours(), colour, FlicChunk(16, {0, 1})})}));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{9, 9, 9, 0}));
  EXPECT_EQ(PixelAt(*image, 1, 0), (Rgba{5, 5, 5, 0}));
}

const Bytes kDigits = FlicChunk(16, {0, 1, 2, 3, 4, 5, 6, 7});

TEST_F(FlicTest, WholeFrames) {
  EXPECT_EQ(Indices(4, 2, {FlicFrame({FlicChunk(15, {9, 0xFE, 1, 2, 0, 77, 2, 3, 1, 4, 8})})}),
            (Bytes{1, 2, 3, 3, 8, 8, 8, 8}));
  EXPECT_EQ(Indices(4, 2, {FlicFrame({kDigits, FlicChunk(13, {})})}), Bytes(8, 0));
  EXPECT_EQ(Indices(4, 2, {FlicFrame({kDigits, FlicChunk(16, {9, 9})})}),
            (Bytes{9, 9, 2, 3, 4, 5, 6, 7}));
}

TEST_F(FlicTest, ByteDelta) {
  // Line 1 alone: one skipped, two literals, then a repeat.
  EXPECT_EQ(
      Indices(4, 2,
              {FlicFrame({kDigits, FlicChunk(12, {1, 0, 1, 0, 2, 1, 2, 21, 22, 0, 0xFF, 23})})}),
      (Bytes{0, 1, 2, 3, 4, 21, 22, 23}));
  // A packet that runs past the row is cut there, and nothing after it is decoded.
  EXPECT_EQ(Indices(4, 2,
                    {FlicFrame({kDigits, FlicChunk(12, {0, 0, 2, 0, 1, 3, 0xFE, 9, 1, 0, 1, 8}),
                                FlicChunk(13, {})}),
                     FlicFrame({FlicChunk(13, {})})}),
            (Bytes{0, 1, 2, 9, 4, 5, 6, 7}));
  EXPECT_EQ(Indices(4, 2, {FlicFrame({kDigits, FlicChunk(12, {1, 0, 2, 0, 1, 0, 1, 9})})}),
            (Bytes{0, 1, 2, 3, 4, 5, 6, 7}))
      << "more lines than there are";
}

TEST_F(FlicTest, WordDelta) {
  // Last pixel set by itself, then a literal pair and a repeated one.
  EXPECT_EQ(Indices(4, 2,
                    {FlicFrame({kDigits, FlicChunk(7, {1, 0, 99, 0x80, 2, 0, 0, 1, 21, 22, 0, 0xFF,
                                                       31, 32})})}),
            (Bytes{21, 22, 31, 32, 4, 5, 6, 7}));
  EXPECT_EQ(Indices(4, 2, {FlicFrame({kDigits, FlicChunk(7, {1, 0, 99, 0x80, 0, 0})})}),
            (Bytes{0, 1, 2, 99, 4, 5, 6, 7}));
  // A skipped line adds one to the lines still to come.
  EXPECT_EQ(
      Indices(2, 4, {FlicFrame({kDigits, FlicChunk(7, {1, 0, 0xFF, 0xFF, 1, 0, 0, 1, 21, 22, 1, 0,
                                                       0, 1, 31,   32,   1, 0, 0, 1, 41, 42})})}),
      (Bytes{0, 1, 21, 22, 31, 32, 6, 7}));
  // The literal pair that has no room is not taken from the data: it is the next packet.
  EXPECT_EQ(
      Indices(4, 2,
              {FlicFrame({kDigits, FlicChunk(7, {2, 0, 2, 0, 2, 2, 21, 22, 1, 0, 0, 1, 31, 32})})}),
      (Bytes{0, 1, 21, 22, 31, 32, 6, 7}));
  EXPECT_EQ(Indices(4, 2, {FlicFrame({kDigits, FlicChunk(7, {1, 0, 0, 0x40}), FlicChunk(13, {})})}),
            (Bytes{0, 1, 2, 3, 4, 5, 6, 7}))
      << "an invalid word ends the frame";
  EXPECT_EQ(Indices(4, 2,
                    {FlicFrame({kDigits, FlicChunk(7, {2, 0, 1, 0, 0, 2, 21, 22}),
                                FlicChunk(99, {1}), FlicChunk(16, {9})})}),
            (Bytes{9, 22, 2, 3, 4, 5, 6, 7}))
      << "data that run out end their chunk alone";
}

TEST_F(FlicTest, PassesOverPrefixChunks) {
  const Bytes prefix = FlicFrame({FlicChunk(1, {1, 2, 3})}, 0xF100);
  EXPECT_EQ(Indices(4, 2, {Joined({prefix, FlicFrame({kDigits})})}),
            (Bytes{0, 1, 2, 3, 4, 5, 6, 7}));
  EXPECT_EQ(Indices(4, 2, {FlicFrame({kDigits}), FlicFrame({}, 0xF100)}),
            (Bytes{0, 1, 2, 3, 4, 5, 6, 7}))
      << "another kind of chunk without contents is an empty frame";
}

TEST_F(FlicTest, StopWhilePlayingLeavesTheImageBlack) {
  const Bytes frame = FlicFrame({IndexColours(), FlicChunk(16, {9})});
  host.stopAt = 1;
  const ImageGuard image = Load(FlicFile(kFlc, 1, 1, {frame, frame}), 1);
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{0, 0, 0, 0}));
}

}  // namespace
}  // namespace imx::test
