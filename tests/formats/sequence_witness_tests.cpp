// FLIC and AVI frames as FFmpeg decodes them, elevations as GDAL does.

#include "formats/avi.h"
#include "formats/avi_source.h"
#include "formats/dem.h"
#include "formats/flic.h"
#include "tests/formats/station_builder.h"
#include "tests/formats/witness.h"

namespace imx::test {
namespace {

class SequenceWitnessTest : public WitnessTest {
 protected:
  /// Our frame `index` of the file, and of FFmpeg's frames that one, all bytes masked.
  template <auto load>
  void ExpectFrame(const std::string& path, const std::string& frames, std::size_t index,
                   int mask = 0xFF) {
    SCOPED_TRACE(testing::Message() << "frame " << index);
    Sequence().chosenFrame = static_cast<std::int32_t>(index);
    std::string ours = Ours<load>(path);
    ASSERT_LE((index + 1) * ours.size(), frames.size());
    std::string theirs = frames.substr(index * ours.size(), ours.size());
    for (std::string* bytes : {&ours, &theirs}) {
      for (char& byte : *bytes) byte = static_cast<char>(byte & mask);
    }
    EXPECT_TRUE(ours == theirs);
  }
};

TEST_F(SequenceWitnessTest, FfmpegPlaysFlics) {
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
    EXPECT_GE(frames.size(), film.frames * 768);
    for (std::size_t k = 0; k < film.frames; ++k) {
      ExpectFrame<LoadFlic>(path, frames, k, film.mask);
    }
  }
}

TEST_F(SequenceWitnessTest, FfmpegWritesAvi) {
  if (!AviIsAvailable()) GTEST_SKIP() << "no video decoder here";
  struct Kind {
    const char *codec, *format;
    std::uint32_t depth;
  };
  const std::string path = temp.file("in.avi");
  for (const Kind& kind : {Kind{"rawvideo", "bgr24", 24},
                           {"rawvideo", "rgb555le", 16},
                           {"msvideo1", "rgb555le", 16},
                           {"huffyuv", "rgb24", 24},
                           {"png", "rgb24", 24}}) {
    SCOPED_TRACE(std::string(kind.codec) + " " + kind.format);
    OutputOf({"ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i",
              "testsrc=size=64x48:rate=10:duration=0.8", "-c:v", kind.codec, "-pix_fmt",
              kind.format, path});
    const std::string frames = FfmpegPixels(path);
    for (const std::size_t index : {0u, 5u, 7u}) {
      // Five bits are shifted up, where FFmpeg repeats them below.
      ExpectFrame<LoadAviFrame>(path, frames, index, kind.depth == 16 ? 0xF8 : 0xFF);
      EXPECT_EQ(Sequence().frameCount, 8);
    }
    EXPECT_EQ(ImageGuard(LoadAviFrame(path.c_str()))->depth, kind.depth);
  }
}

TEST_F(SequenceWitnessTest, GdalReadsTheSameElevations) {
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
