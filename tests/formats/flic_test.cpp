#include "formats/flic.h"

#include "imagelib/quirks.h"
#include "tests/formats/format_test.h"
#include "tests/formats/station_builder.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

/// Colours whose red is the index.
Bytes IndexColours() {
  ByteBuilder data = LittleEndian();
  data.List({1, 0, 0, 0});
  for (int i = 0; i < 256; ++i) data.List({i, 0, 0});
  return FlicChunk(4, data.bytes());
}

class FlicTest : public FormatTest<LoadFlic> {
 protected:
  ImageGuard LoadFrame(const Bytes& bytes, std::int32_t frame) {
    Sequence().chosenFrame = frame;
    return Load(bytes);
  }

  /// Indices of the last of `frames`, whose first starts with colours.
  Bytes Indices(std::uint32_t width, std::uint32_t height, const std::vector<Bytes>& frames) {
    std::vector<Bytes> all = {FlicFrame({IndexColours()})};
    all.insert(all.end(), frames.begin(), frames.end());
    Bytes indices;
    for (const Rgba& p : Pixels(LoadFrame(FlicFile(kFlc, width, height, all), 99))) {
      indices.push_back(p.r);
    }
    return indices;
  }

  /// The same for the digits 0 to 7 and what these chunks make of them.
  Bytes AfterDigits(std::uint32_t width, std::uint32_t height, const std::vector<Bytes>& chunks) {
    const Bytes digits = FlicFrame({FlicChunk(16, {0, 1, 2, 3, 4, 5, 6, 7})});
    return Indices(width, height, {digits, FlicFrame(chunks)});
  }
};

TEST_F(FlicTest, CountsWithoutAChoice) {
  const Bytes file = FlicFile(kFli, 1, 1, {FlicFrame({}), FlicFrame({}), FlicFrame({})});
  EXPECT_FALSE(LoadFrame(file, -1));
  EXPECT_TRUE(Sequence().frameWanted);
  EXPECT_EQ(Sequence().frameCount, 3);
  Sequence().chosenFrame = 0;
  EXPECT_EQ(Refusal(WithByte(file, 4, 0x13)), "");
  EXPECT_EQ(Refusal(Part(file, 0, 127)), "");
}

TEST_F(FlicTest, ColoursOfOtherProgramsCountOnAndBeginBlack) {
  const Bytes packets = FlicChunk(4, {2, 0, 0, 1, 10, 0, 0, 0, 1, 20, 0, 0});
  const Bytes file = FlicFile(kFlc, 3, 1, {FlicFrame({packets, FlicChunk(16, {0, 1, 2})})});
  const auto reds = [&] {
    Bytes all;
    for (const Rgba& p : Pixels(LoadFrame(file, 0))) all.push_back(p.r);
    return all;
  };
  LoadFrame(FlicFile(kFlc, 1, 1, {FlicFrame({IndexColours()})}), 0);
  EXPECT_THAT(reds(), ElementsAre(20, 1, 2));
  const QuirkScope others(AllQuirks());
  EXPECT_THAT(reds(), ElementsAre(10, 20, 0));
  EXPECT_EQ(QuirkNames(others.applied()), "flic-colours");
}

TEST_F(FlicTest, FramePastTheEndIsTheLastUnderItsNumber) {
  const auto frame = [](std::uint8_t i) { return FlicFrame({IndexColours(), FlicChunk(16, {i})}); };
  const ImageGuard image = LoadFrame(FlicFile(kFlc, 1, 1, {frame(5), frame(6), frame(7)}), 5);
  EXPECT_THAT(Pixels(image), ElementsAre(Rgba{7, 0, 0, 0}));
  EXPECT_EQ(image->frame, 6);
  EXPECT_STREQ(image->formatLabel, "FLI/FLC");
  EXPECT_EQ(image->depth, 8u);
  EXPECT_EQ(host.progress.at(0).total, 3);
}

TEST_F(FlicTest, ColoursLastFromOneLoadToTheNext) {
  const Bytes copy = FlicChunk(16, {1}), colour = FlicChunk(11, {1, 0, 1, 1, 63, 62, 1});
  ASSERT_TRUE(LoadFrame(FlicFile(kFli, 1, 1, {FlicFrame({colour, copy})}), 0));
  const auto load = [&] { return LoadFrame(FlicFile(kFli, 1, 1, {FlicFrame({copy})}), 0); };
  EXPECT_THAT(Pixels(load()), ElementsAre(Rgba{252, 248, 4, 0}));
  Output().quality = 3;
  ResetCodecState();
  EXPECT_THAT(Pixels(load()), ElementsAre(Rgba{})) << "as after the process started";
  EXPECT_EQ(Output().quality, 100);
}

// A second packet that skips nothing overwrites the first: the counts do not move the start.
TEST_F(FlicTest, ColourPacketsMoveBySkipsAlone) {
  const Bytes colour = FlicChunk(4, {3, 0, 0, 2, 1, 1, 1, 2, 2, 2, 0, 1, 9, 9, 9, 1, 1, 5, 5, 5});
  const Bytes frame = FlicFrame({IndexColours(), colour, FlicChunk(16, {0, 1})});
  EXPECT_THAT(Pixels(LoadFrame(FlicFile(kFlc, 2, 1, {frame}), 0)),
              ElementsAre(Rgba{9, 9, 9, 0}, Rgba{5, 5, 5, 0}));
}

TEST_F(FlicTest, WholeFrames) {
  EXPECT_THAT(AfterDigits(4, 2, {FlicChunk(15, {9, 0xFE, 1, 2, 0, 77, 2, 3, 1, 4, 8})}),
              ElementsAre(1, 2, 3, 3, 8, 8, 8, 8));
  EXPECT_THAT(AfterDigits(4, 2, {FlicChunk(16, {9, 9})}), ElementsAre(9, 9, 2, 3, 4, 5, 6, 7));
}

TEST_F(FlicTest, ByteDelta) {
  // A packet that runs past the row is cut there, and nothing after it is decoded.
  EXPECT_THAT(
      AfterDigits(4, 2,
                  {FlicChunk(12, {0, 0, 2, 0, 1, 3, 0xFE, 9, 1, 0, 1, 8}), FlicChunk(13, {})}),
      ElementsAre(0, 1, 2, 9, 4, 5, 6, 7));
  EXPECT_THAT(AfterDigits(4, 2, {FlicChunk(12, {1, 0, 2, 0, 1, 0, 1, 9})}),
              ElementsAre(0, 1, 2, 3, 4, 5, 6, 7))
      << "more lines than there are";
}

TEST_F(FlicTest, WordDelta) {
  // Last pixel set by itself, then a literal pair and a repeated one.
  EXPECT_THAT(
      AfterDigits(4, 2, {FlicChunk(7, {1, 0, 99, 0x80, 2, 0, 0, 1, 21, 22, 0, 0xFF, 31, 32})}),
      ElementsAre(21, 22, 31, 32, 4, 5, 6, 7));
  EXPECT_THAT(AfterDigits(4, 2, {FlicChunk(7, {1, 0, 99, 0x80, 0, 0})}),
              ElementsAre(0, 1, 2, 99, 4, 5, 6, 7));
  // A skipped line adds one to the lines still to come.
  EXPECT_THAT(AfterDigits(2, 4, {FlicChunk(7, {1, 0, 0xFF, 0xFF, 1,  0, 0, 1, 21, 22, 1,
                                               0, 0, 1,    31,   32, 1, 0, 0, 1,  41, 42})}),
              ElementsAre(0, 1, 21, 22, 31, 32, 6, 7));
  // The literal pair that has no room is not taken from the data: it is the next packet.
  EXPECT_THAT(AfterDigits(4, 2, {FlicChunk(7, {2, 0, 2, 0, 2, 2, 21, 22, 1, 0, 0, 1, 31, 32})}),
              ElementsAre(0, 1, 21, 22, 31, 32, 6, 7));
  EXPECT_THAT(AfterDigits(4, 2, {FlicChunk(7, {1, 0, 0, 0x40}), FlicChunk(13, {})}),
              ElementsAre(0, 1, 2, 3, 4, 5, 6, 7))
      << "an invalid word ends the frame";
  EXPECT_THAT(
      AfterDigits(
          4, 2, {FlicChunk(7, {2, 0, 1, 0, 0, 2, 21, 22}), FlicChunk(99, {1}), FlicChunk(16, {9})}),
      ElementsAre(9, 22, 2, 3, 4, 5, 6, 7))
      << "data that run out end their chunk alone";
}

TEST_F(FlicTest, BlackClearsWhateverWasWritten) {
  const Bytes black = FlicChunk(13, {});
  for (const Bytes& chunk :
       {FlicChunk(7, {1, 0, 1, 0, 2, 1, 21, 22}), FlicChunk(7, {1, 0, 0xFF, 0xFF, 9, 0x80, 0, 0}),
        FlicChunk(12, {1, 0, 1, 0, 1, 1, 1, 9}), FlicChunk(15, {0, 3, 9}), FlicChunk(16, {9, 9})}) {
    EXPECT_THAT(AfterDigits(3, 2, {black, chunk}), testing::Contains(testing::Ge(9)));
    EXPECT_THAT(AfterDigits(3, 2, {black, chunk, black}), testing::Each(0));
  }
}

TEST_F(FlicTest, PassesOverPrefixChunks) {
  const Bytes prefix = FlicFrame({FlicChunk(1, {1, 2, 3})}, 0xF100);
  const Bytes frame = FlicFrame({FlicChunk(16, {1, 2})});
  EXPECT_THAT(Indices(2, 1, {prefix + frame}), ElementsAre(1, 2));
  EXPECT_THAT(Indices(2, 1, {frame, FlicFrame({}, 0xF100)}), ElementsAre(1, 2))
      << "another kind of chunk without contents is an empty frame";
}

TEST_F(FlicTest, StopWhilePlayingLeavesTheImageBlack) {
  const Bytes frame = FlicFrame({IndexColours(), FlicChunk(16, {9})});
  host.stopAt = 1;
  EXPECT_THAT(Pixels(LoadFrame(FlicFile(kFlc, 1, 1, {frame, frame}), 1)),
              ElementsAre(Rgba{0, 0, 0, 0}));
  // The second question comes within a long frame.
  host.Clear();
  host.stopAt = 1;
  LoadFrame(FlicFile(kFlc, 1, 1, {FlicFrame({FlicChunk(16, Bytes(70000, 9))})}), 0);
  EXPECT_EQ(host.progress.size(), 1u) << "went on to the conversion";
}

}  // namespace
}  // namespace imx::test
