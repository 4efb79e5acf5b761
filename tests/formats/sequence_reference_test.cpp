// FLIC frames as FFmpeg decodes them, AVI frames as it wrote them, elevations as GDAL does.

#include "formats/avi.h"
#include "formats/dem.h"
#include "formats/flic.h"
#include "tests/formats/reference_decoders.h"
#include "tests/formats/station_builder.h"

namespace imx::test {
namespace {

class SequenceReferenceDecoderTest : public ReferenceDecoderTest {};

TEST_F(SequenceReferenceDecoderTest, FfmpegPlaysFlics) {
  constexpr std::size_t kFrame = 3 * 64 * 4;
  const Bytes colour64 = FlicChunk(11, Bytes{1, 0, 0, 0} + NoiseBytes(768, 1, 64));
  const Bytes colour256 = FlicChunk(4, Bytes{1, 0, 0, 0} + NoiseBytes(768, 2));
  const Bytes someColours = FlicChunk(4, Bytes{1, 0, 20, 3} + NoiseBytes(9, 3));
  // 64 x 4 (FFmpeg takes the last pixel of a line for that of its padding): a repeat and literals
  // in each row.
  Bytes runs;
  for (std::uint8_t y = 0; y < 4; ++y) runs = runs + Bytes{2, 59, y, 0xFB, 1, 2, 20, 21, 22};
  const Bytes byteRun = FlicChunk(15, runs), copy = FlicChunk(16, NoiseBytes(256, 5));
  // From line 1 on: skip 2, literals, a repeat; nothing; a repeat alone.
  const Bytes byteDelta =
      FlicChunk(12, {1, 0, 3, 0, 2, 2, 3, 31, 32, 33, 0, 0xFE, 34, 0, 1, 5, 0xFD, 35});
  // A pair and a repeated pair; a skipped line; the last pixel by itself and a pair.
  const Bytes wordDelta = FlicChunk(
      7, {2, 0, 2, 0, 0, 1, 41, 42, 2, 0xFE, 43, 44, 0xFF, 0xFF, 45, 0x80, 1, 0, 4, 1, 46, 47});
  const Bytes black = FlicChunk(13, {});
  struct Film {
    const char* name;
    Bytes file;
    std::size_t frames;
    int mask;  // six bits are shifted up, where FFmpeg repeats them below
  };
  const Film films[] = {
      {"FLI",
       FlicFile(kFli, 64, 4,
                {FlicFrame({colour64, byteRun}), FlicFrame({byteDelta}), FlicFrame({copy}),
                 FlicFrame({byteDelta}), FlicFrame({black}), FlicFrame({byteDelta})}),
       6, 0xFC},
      {"FLC",
       FlicFile(kFlc, 64, 4,
                {FlicFrame({colour256, byteRun}), FlicFrame({wordDelta}), FlicFrame({}),
                 FlicFrame({someColours, copy}), FlicFrame({wordDelta})}),
       5, 0xFF},
  };
  for (const Film& film : films) {
    SCOPED_TRACE(film.name);
    const std::string path = temp.Write("in.flc", film.file);
    const std::string frames = OutputOf({"ffmpeg", "-v", "error", "-i", path, "-vsync", "0", "-f",
                                         "rawvideo", "-pix_fmt", "rgb24", "-"});
    ASSERT_GE(frames.size(), film.frames * kFrame);
    for (std::size_t k = 0; k < film.frames; ++k) {
      Sequence().chosenFrame = static_cast<std::int32_t>(k);
      const std::string ours = Ours<LoadFlic>(path);
      ASSERT_EQ(ours.size(), kFrame);
      for (std::size_t i = 0; i < kFrame; ++i) {
        ASSERT_EQ(ours[i] & film.mask, frames[k * kFrame + i] & film.mask) << k << " " << i;
      }
    }
  }
}

// Frame n has the brightness 16 + 2 n; frames are coded in another order than they are shown. A
// second, larger stream does not count.
TEST_F(SequenceReferenceDecoderTest, FfmpegReordersAviFrames) {
  constexpr int kFrames = 110;
  for (const std::string codec :
       {"mpeg4 -bf 2 -g 12", "libx264 -preset ultrafast -bf 2 -x264-params open-gop=1:keyint=15"}) {
    SCOPED_TRACE(codec);
    const std::string path = temp.file("in.avi");
    OutputOf(SplitAtSpaces(
        "ffmpeg -v error -y -f lavfi -i color=black:s=32x32,format=yuv420p,geq=lum=16+2*N:cb=128:"
        "cr=128 -f lavfi -i color=red:s=64x64 -map 0 -map 1 -frames:v " +
        std::to_string(kFrames) + " -threads 1 -qmin 1 -qmax 2 -c:v " + codec + " " + path));
    for (const int frame : {0, 1, 2, 98, 99, 107}) {
      Sequence().chosenFrame = frame;
      const ImageGuard image(LoadAviFrame(path.c_str()));
      ASSERT_TRUE(image) << frame;
      EXPECT_EQ(image->width, 32);
      EXPECT_NEAR(PixelAt(*image, 9, 9).g, frame * 2 * 255.0 / 219, 1.2) << frame;
    }
  }
}

TEST_F(SequenceReferenceDecoderTest, GdalReadsTheSameElevations) {
  constexpr std::size_t kSide = 1201, kRecord = 1024, kUsed = 1020;
  const auto elevation = [](std::size_t column, std::size_t row) {
    return 100 + (7 * column + 3 * row + column * row / 50) % 800;
  };
  std::string text =
      DemHeader({.minimum = "0.100000000000000D+03", .maximum = "0.899000000000000D+03"});
  for (std::size_t column = 0; column < kSide; ++column) {
    std::string profile = DemProfile(static_cast<int>(column) + 1);
    for (std::size_t row = 0; row < kSide; ++row) {
      const std::string number = std::to_string(elevation(column, row));
      profile += std::string(6 - number.size(), ' ') + number;
      if (profile.size() % kRecord == kUsed) profile += "    ";
    }
    profile.resize((profile.size() + kRecord - 1) / kRecord * kRecord, ' ');
    text += profile;
  }
  const std::string path = temp.Write("in.dem", text), plain = temp.file("plain");
  OutputOf({"gdal_translate", "-q", "-of", "ENVI", "-ot", "Int16", path, plain});
  const Bytes theirs = ReadFile(plain);
  ASSERT_EQ(theirs.size(), 2 * kSide * kSide);
  const ImageGuard image(LoadDem(path.c_str(), "hills"));
  ASSERT_TRUE(image);
  for (std::size_t i = 0; i < kSide * kSide; ++i) {
    const float above = static_cast<float>(LoadU16(&theirs[2 * i], ByteOrder::little) - 100);
    // The last profile is never read.
    const int wanted = i % kSide == kSide - 1 ? 0 : static_cast<int>(above * (255.0f / 799));
    ASSERT_EQ(image->pixels[4 * i], wanted) << i % kSide << " " << i / kSide;
  }
}

}  // namespace
}  // namespace imx::test
