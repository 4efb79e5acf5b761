// TRIM files: bytes worked out by hand, and saved pictures as the plain codec of trim_reference.h
// decodes them.

#include <cstring>

#include "formats/iff.h"
#include "imagelib/registry.h"
#include "imagelib/save_outcome.h"
#include "imagelib/text.h"
#include "tests/formats/format_test.h"
#include "tests/formats/iff_builder.h"
#include "tests/formats/trim_reference.h"

namespace imx::test {
namespace {

/// The chunk of that id: its data, without the pad byte.
Bytes ChunkData(const Bytes& file, std::string_view id) {
  for (std::size_t at = 12; at + 8 <= file.size();) {
    const std::uint32_t length = LoadU32(&file[at + 4], ByteOrder::big);
    if (std::memcmp(&file[at], id.data(), 4) == 0) return Part(file, at + 8, length);
    at += 8 + length + length % 2;
  }
  return {};
}

class TrimTest : public FormatTest<LoadIff> {
 protected:
  Bytes Save(const ImageRecord& image) {
    BeginSaveOutcome();
    return Saved<SaveIff>(image, 1, 1);
  }

  /// What the reference makes of a saved file.
  ImageGuard Reference(const Bytes& file, const ImageRecord& like) {
    ImageGuard image(AllocImage(like.width, like.height, "reference", nullptr));
    Bytes body;
    std::size_t channels = 0, position = 0;
    for (const auto& [id, count] : {std::pair{"MONO", 1u}, {"RGBT", 3u}, {"RGBA", 4u}}) {
      if (!ChunkData(file, id).empty()) body = ChunkData(file, id), channels = count;
    }
    for (std::size_t c = 0; c < channels; ++c) {
      const Bytes plane = DecodeTrimChannel(body, &position, like.width, like.height);
      for (std::size_t i = 0; i < plane.size(); ++i) {
        image->pixels[4 * i + c] = plane[i];
        if (channels == 1) image->pixels[4 * i + 1] = image->pixels[4 * i + 2] = plane[i];
      }
    }
    EXPECT_EQ(position + position % 2, body.size());
    return image;
  }
};

ImageGuard Noise(std::int32_t width, std::int32_t height) {
  ImageGuard image(AllocImage(width, height, "noise", nullptr));
  const Bytes noise = NoiseBytes(std::size_t{4} * image->pixelCount, 5);
  std::copy(noise.begin(), noise.end(), image->pixels);
  return image;
}

/// A rank table in which every symbol is its own rank: steps of 0, then 255 of 1. As zigzag 0 and
/// 2, each in 2 bits: 00, then 10 255 times.
Bytes PlainRanks() {
  return BigEndian().List({0x28, 0x2A}).Repeat(0xAA, 63).bytes();
}

TEST_F(TrimTest, LoadsByHand) {
  // 3 x 2. Red 10 12 11 / 9 20 20 has the residuals +10 (of nothing), +2 and -1 (of the left one),
  // -1 (of the one above), +8 (of 12 above: left 9 is nearer to 10 above-left) and 0 (of 20 left).
  // As symbols 20 4 1 1 16 0.
  const Bytes red = {0x12, 0x38, 0xFC, 0x27, 0x89, 0x3F, 0x05, 0x00};  // 1, 2, 3 and 8 bits
  const Bytes green = {0xF0, 0x00};                                    // all as predicted: 0
  // -1, +1 and +2 of the left one; 0 of 255 above; 0 of 0 above (left 255 is above-left's equal);
  // +3 of 2 above: 255 0 2 / 255 0 5.
  const Bytes blue = {0x80, 1, 2, 4, 0, 0, 6};
  // Streams of 65 + 8, 65 + 2 and 65 + 7 bytes; behind an odd one a byte of no meaning.
  const Bytes colours =
      PlainRanks() + red + Bytes{0x99} + PlainRanks() + green + Bytes{0x77} + PlainRanks() + blue;
  const Bytes header = IffHeader({.width = 3, .height = 2});
  const std::vector<Rgba> pixels = {{10, 0, 255, 0}, {12, 0, 0, 0}, {11, 0, 2, 0},
                                    {9, 0, 255, 0},  {20, 0, 0, 0}, {20, 0, 5, 0}};
  const ImageGuard rgb = Load(IffForm("TRIM", header, IffChunk("RGBT", colours)));
  EXPECT_EQ(Pixels(rgb), pixels);
  EXPECT_EQ(rgb->fileType, kTypeTrim);
  EXPECT_EQ(rgb->depth, 24u);
  EXPECT_STREQ(rgb->formatLabel, "TRIM");
  EXPECT_EQ(rgb->flags & kFlagAlpha, 0u);

  // A fourth channel: 200 throughout. 200 is -56 and so symbol 111, the only one that is not 0.
  const Bytes alpha = PlainRanks() + Bytes{0x80, 111, 0, 0, 0, 0, 0};
  const ImageGuard rgba = Load(IffForm("TRIM", header, IffChunk("RGBA", colours + alpha)));
  std::vector<Rgba> translucent = pixels, shades = pixels;
  for (Rgba& pixel : translucent) pixel.a = 200;
  EXPECT_EQ(Pixels(rgba), translucent);
  EXPECT_NE(rgba->flags & kFlagAlpha, 0u);
  EXPECT_EQ(host.progress.at(1).total, 4);
  EXPECT_EQ(host.progress.at(1).extra, 4);

  for (Rgba& pixel : shades) pixel = {pixel.r, pixel.r, pixel.r, 0};
  EXPECT_EQ(Pixels(Load(IffForm("TRIM", header, IffChunk("MONO", PlainRanks() + red)))), shades);
}

TEST_F(TrimTest, SavesByHand) {
  // 40 x 1 black: so flat that the thumbnail has no rows. One symbol, 0, is counted; the others
  // follow in order.
  const ImageGuard black = Solid(40, 1, {0, 0, 0, 255});
  CopyTextCut(black->author, "Ann");
  CopyTextCut(black->notice, "1999");
  CopyTextCut(black->comment, "x");
  ByteBuilder file = BigEndian();
  file.Text("FORM").U32(158).Text("TRIM");       // 0: length from byte 8 on
  file.Text("THUM").U32(4).List({36, 0, 3, 0});  // 12
  file.Text("BMHD").U32(20);                     // 24
  file.U16(40).U16(1).U16(0).U16(0);             // 32: size, place
  file.List({24, 0, 1, 0, 0, 0, 0, 0});          // 40: planes, masking, compression ... aspect
  file.U16(40).U16(1);                           // 48: page
  file.Text("MONO").U32(72).Raw(PlainRanks());   // 52
  file.List({0xF0, 0, 0xF0, 0, 0xF0, 0}).U8(0);  // 125: tiles of 16, 16 and 8 pixels, pad
  file.Text("AUTH").U32(4).Text("Ann").U8(0);    // 132: with its terminator
  file.Text("(c) ").U32(4).Text("1999");         // 144: without
  file.Text("ANNO").U32(2).Text("x").U8(0);      // 156
  const Bytes& expected = file.bytes();
  EXPECT_EQ(Save(*black), expected);
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::whole);
  EXPECT_EQ(host.progress.at(0).total, 2);

  const ImageGuard loaded = Load(expected);
  ASSERT_TRUE(loaded);
  EXPECT_STREQ(loaded->author, "Ann");
  EXPECT_STREQ(loaded->notice, "1999");
  EXPECT_STREQ(loaded->comment, "x");
}

TEST_F(TrimTest, ChannelsFollowThePixels) {
  const ImageGuard grey = Solid(20, 20, {9, 9, 9, 255});
  EXPECT_FALSE(ChunkData(Save(*grey), "MONO").empty());
  grey->flags |= kFlagAlpha;
  EXPECT_FALSE(ChunkData(Save(*grey), "RGBA").empty());
  grey->flags = 0;
  SetPixel(*grey, 19, 19, {9, 9, 8, 255});
  EXPECT_FALSE(ChunkData(Save(*grey), "RGBT").empty());
}

TEST_F(TrimTest, ReferenceDecodesWhatIsSaved) {
  const std::pair<int, int> sizes[] = {{1, 1},  {16, 16}, {17, 33}, {15, 16}, {40, 5},
                                       {1, 70}, {70, 1},  {2, 2},   {64, 48}};
  for (const auto& [width, height] : sizes) {
    for (const ImageGuard& picture : {PhotoLike(width, height), Drawing(width, height),
                                      AlphaGradient(width, height), Noise(width, height)}) {
      SCOPED_TRACE(testing::Message() << width << "x" << height);
      const Bytes file = Save(*picture);
      const ImageGuard reference = Reference(file, *picture);
      const bool alpha = (picture->flags & kFlagAlpha) != 0;
      EXPECT_EQ(Difference(*picture, *reference, alpha ? Channels::rgba : Channels::rgb), "");
      const ImageGuard loaded = Load(file);
      ASSERT_TRUE(loaded);
      EXPECT_EQ(Difference(*reference, *loaded), "");
    }
  }
}

// In a narrow picture the block headers outweigh what the stream buffer has for them elsewhere.
// Loading takes no more memory than stated.
TEST_F(TrimTest, NoiseFits) {
  for (const auto& [width, height] : {std::pair{1, 65535}, {65535, 1}, {17, 3000}, {300, 300}}) {
    const ImageGuard picture = Noise(width, height);
    const Bytes file = Save(*picture);
    const std::uint64_t pixels = picture->pixelCount;
    SetMemoryCeiling(GetMemoryCounters().now + 4 * pixels + file.size() + pixels + (1 << 20));
    const ImageGuard loaded = Load(file);
    SetMemoryCeiling(UINT64_MAX);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(Difference(*picture, *loaded, Channels::rgb), "");
  }
}

TEST_F(TrimTest, ThumbnailSamplesThePicture) {
  const ImageGuard picture = AlphaGradient(100, 50);
  const Bytes thumbnail = ChunkData(Save(*picture), "THUM");
  ASSERT_EQ(thumbnail.size(), 4u + 4 * 36 * 18);
  EXPECT_EQ(Part(thumbnail, 0, 4), (Bytes{36, 18, 4, 0}));
  for (std::size_t i = 0; i < 36 * 18; ++i) {
    const auto x = static_cast<std::int32_t>(i % 36), y = static_cast<std::int32_t>(i / 36);
    const Rgba sample = PixelAt(*picture, 99 * x / 35, 49 * y / 17);
    ASSERT_EQ(std::memcmp(&thumbnail[4 + 4 * i], &sample, 4), 0) << x << "," << y;
  }
  const Bytes tall = ChunkData(Save(*Solid(10, 300, {9, 9, 9, 255})), "THUM");
  EXPECT_EQ(tall, (Bytes{1, 32, 3, 0} + Bytes(3 * 32, 9)));
  EXPECT_EQ(ChunkData(Save(*Solid(36, 1, {1, 2, 3, 255})), "THUM").size(), 4u + 3 * 36);
}

TEST_F(TrimTest, ProgressAndStop) {
  const ImageGuard picture = PhotoLike(20, 40);
  // Rows 16 and 33 ask, then each of three tile rows counts; three channels.
  const Bytes whole = Save(*picture), body = ChunkData(whole, "RGBT");
  EXPECT_EQ(host.progress.at(0).total, 18);
  EXPECT_EQ(host.progress[0].positions.size(), 15u);
  EXPECT_EQ(host.abortableCalls, 6);
  std::size_t firstStream = 0;
  DecodeTrimChannel(body, &firstStream, 20, 40);

  // After the first channel the file ends well in itself, but not as the host wants it.
  host.Clear();
  host.stopAt = 2;
  const Bytes stopped = Save(*picture);
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
  EXPECT_EQ(ChunkData(stopped, "RGBT"), Part(body, 0, firstStream + firstStream % 2));
  EXPECT_EQ(LoadU32(&stopped[4], ByteOrder::big), stopped.size() - 8);

  host.Clear();
  host.stopAt = 4;  // in the second channel
  const ImageGuard loaded = Load(whole);
  ASSERT_TRUE(loaded);
  for (std::int32_t i = 0; i < 20 * 40; ++i) {
    const std::int32_t x = i % 20, y = i / 20;
    const Rgba wanted = PixelAt(*picture, x, y);
    const std::uint8_t green = y < 16 ? wanted.g : std::uint8_t{0};
    ASSERT_EQ(PixelAt(*loaded, x, y), (Rgba{wanted.r, green, 0, 0})) << x << " " << y;
  }
}

TEST_F(TrimTest, ATruncatedFileGivesWhatIsThere) {
  const ImageGuard picture = PhotoLike(70, 40);
  const Bytes file = Save(*picture), body = ChunkData(file, "RGBT");
  std::size_t red = 0;
  DecodeTrimChannel(body, &red, 70, 40);
  for (const std::size_t kept : {red / 2, red + 500}) {
    const ImageGuard loaded = Load(Part(file, 0, file.size() - body.size() + kept));
    ASSERT_TRUE(loaded);
    EXPECT_EQ(PixelAt(*loaded, 69, 15).r, PixelAt(*picture, 69, 15).r);
    // Nothing of the red channel shows in the green one.
    EXPECT_EQ(PixelAt(*loaded, 69, 39).g, 0);
    EXPECT_EQ(PixelAt(*loaded, 69, 39).b, 0);
  }
}

}  // namespace
}  // namespace imx::test
