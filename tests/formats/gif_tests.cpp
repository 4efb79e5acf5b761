#include <map>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "formats/gif.h"
#include "imagelib/core/byte_order.h"
#include "tests/formats/common_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

// LZW by the book: strings in a map, codes as they come.

struct Decoded {
  int codeSize = 0;
  Bytes indices;
  std::vector<std::size_t> blocks;        // sizes of the sub-blocks
  std::vector<std::size_t> codesToClear;  // codes between one clear code and the next or the end
  bool ended = false;                     // the end code was the last
};

/// `at` is where the code size byte stands; moves behind the terminator.
Decoded DecodePlainly(const Bytes& file, std::size_t* at) {
  Decoded result;
  result.codeSize = file.at((*at)++);
  Bytes data;
  while (const std::size_t count = file.at((*at)++)) {
    result.blocks.push_back(count);
    for (std::size_t i = 0; i < count; ++i) data.push_back(file.at((*at)++));
  }
  const int clear = 1 << result.codeSize;
  std::map<int, Bytes> strings;
  Bytes previous;
  int width = result.codeSize + 1, next = 0;
  std::size_t bit = 0, codes = 0;
  while (bit + static_cast<std::size_t>(width) <= 8 * data.size()) {
    int code = 0;
    for (int i = 0; i < width; ++i, ++bit) code |= (data[bit / 8] >> bit % 8 & 1) << i;
    if (code == clear) {
      if (codes > 0) result.codesToClear.push_back(codes);
      codes = 0;
      strings.clear();
      for (int i = 0; i < clear; ++i) strings[i] = {static_cast<std::uint8_t>(i)};
      next = clear + 2;
      width = result.codeSize + 1;
      previous.clear();
      continue;
    }
    if (code == clear + 1) {
      result.ended = true;
      break;
    }
    ++codes;
    Bytes added = previous;
    if (!previous.empty()) {
      added.push_back(strings.count(code) ? strings[code][0] : previous[0]);
      if (next < 4096) strings[next++] = added;
      if (next == 1 << width && width < 12) ++width;
    }
    previous = strings.at(code);
    result.indices.insert(result.indices.end(), previous.begin(), previous.end());
  }
  result.codesToClear.push_back(codes);
  return result;
}

/// Pixels to encode and the bytes that come out.
struct Coding {
  Bytes pixels;
  std::size_t at = 0;
  int lastPixel = -1;  // what stands behind the pixels
  Bytes out = {};
  std::size_t room = SIZE_MAX;

  std::int32_t Run(int codeSize) {
    return LzwEncode(
        codeSize,
        [](void* c) -> std::int32_t {
          auto* self = static_cast<Coding*>(c);
          return self->at < self->pixels.size() ? self->pixels[self->at++] : self->lastPixel;
        },
        [](void* c, std::uint8_t byte) -> std::int32_t {
          auto* self = static_cast<Coding*>(c);
          if (self->out.size() == self->room) return 7;
          self->out.push_back(byte);
          return 0;
        },
        this);
  }
};

class LzwTest : public LibraryTest {};

TEST_F(LzwTest, EveryCodeSizeDecodesToWhatWentIn) {
  std::mt19937 random(1);
  for (int codeSize = 1; codeSize <= 8; ++codeSize) {
    for (const std::size_t length : {0u, 1u, 2u, 3u, 500u, 70000u}) {
      for (const bool runs : {false, true}) {
        SCOPED_TRACE(testing::Message() << codeSize << " bits, " << length << " pixels, " << runs);
        Coding coding;
        for (std::size_t i = 0; i < length; ++i) {
          const auto value = static_cast<std::uint8_t>(random() % (1u << codeSize));
          coding.pixels.push_back(runs && i > 0 && value > 0 ? coding.pixels[i - 1] : value);
        }
        ASSERT_EQ(coding.Run(codeSize), 0);
        std::size_t at = 0;
        const Decoded decoded = DecodePlainly(coding.out, &at);
        EXPECT_EQ(at, coding.out.size());
        EXPECT_EQ(decoded.codeSize, std::max(codeSize, 2));
        EXPECT_TRUE(decoded.ended);
        ASSERT_TRUE(decoded.indices == coding.pixels);
        for (std::size_t i = 0; i + 1 < decoded.blocks.size(); ++i) {
          ASSERT_EQ(decoded.blocks[i], 254u) << "block " << i;
        }
        EXPECT_LE(decoded.blocks.back(), 254u);
      }
    }
  }
}

TEST_F(LzwTest, AFullTableIsCleared) {
  Coding coding;
  std::mt19937 random(2);
  for (int i = 0; i < 20000; ++i) coding.pixels.push_back(static_cast<std::uint8_t>(random()));
  ASSERT_EQ(coding.Run(8), 0);
  std::size_t at = 0;
  const Decoded decoded = DecodePlainly(coding.out, &at);
  ASSERT_GT(decoded.codesToClear.size(), 2u);
  // Codes 258 to 4095 are given out with as many codes; one more finds the table full.
  for (std::size_t i = 0; i + 1 < decoded.codesToClear.size(); ++i) {
    EXPECT_EQ(decoded.codesToClear[i], 4096u - 258 + 1);
  }
}

TEST_F(LzwTest, ErrorsComeBackAndNothingLeaks) {
  Coding coding{.pixels = Bytes(1000, 3)};
  EXPECT_EQ(coding.Run(0), -3);
  EXPECT_EQ(coding.Run(10), -3);
  coding.lastPixel = -9;
  EXPECT_EQ(coding.Run(8), -9);
  Coding empty;
  empty.lastPixel = -9;
  EXPECT_EQ(empty.Run(8), -9);
  Coding whole{.pixels = Bytes(1000, 3)};
  ASSERT_EQ(whole.Run(8), 0);
  for (std::size_t room = 0; room < whole.out.size(); ++room) {
    Coding full{.pixels = Bytes(1000, 3)};
    full.room = room;
    EXPECT_EQ(full.Run(8), 7) << room;
  }
}

class GifTest : public LibraryTest {
 protected:
  ImageGuard Load(const Bytes& file) {
    return ImageGuard(LoadGif(std::fopen(temp.Write("in.gif", file).c_str(), "rb")));
  }

  /// Red bytes of the pixels, which tell the entries of SomeColours apart: entry = (red - 5) / 10.
  std::vector<int> Entries(const Bytes& file) {
    const ImageGuard image = Load(file);
    std::vector<int> entries;
    if (!image) return entries;
    for (std::uint32_t i = 0; i < image->pixelCount; ++i) {
      const int red = image->pixels[4 * i];
      entries.push_back(red == 0 ? -1 : (red - 5) / 10);
      EXPECT_EQ(image->pixels[4 * i + 3], 0);
    }
    return entries;
  }

  Bytes Save(const ImageRecord& image, int interlace) {
    const std::string path = temp.file("out.gif");
    EXPECT_EQ(SaveGif(&image, path.c_str(), interlace), 0);
    return ReadFile(path);
  }
};

const Bytes kEnd = {0x3B};

TEST_F(GifTest, BothVersionsAndExtensionsReadTheSame) {
  const Bytes pixels = {0, 1, 2, 3, 3, 2};
  const Bytes image = Joined({GifFrame(0, 0, 3, 2), GifPixels(2, pixels), kEnd});
  const std::vector<int> wanted = {0, 1, 2, 3, 3, 2};
  EXPECT_EQ(Entries(Joined({GifScreen(3, 2, 2, 0, "GIF87a"), image})), wanted);
  EXPECT_EQ(Entries(Joined({GifScreen(3, 2, 2), GifExtension(0xF9, {1, 2, 3, 4}),
                            GifExtension(0xFE, Bytes(600, 'x')), image})),
            wanted);
  EXPECT_EQ(Entries(Joined({GifScreen(3, 2, 2, 0, "G....."), image})), wanted)
      << "only the first letter counts";
  EXPECT_FALSE(Load(Joined({GifScreen(3, 2, 2, 0, "gIF89a"), image})));
  EXPECT_FALSE(Load(Joined({GifScreen(0, 2, 2), image})));
  const ImageGuard record = Load(Joined({GifScreen(3, 2, 5), image}));
  EXPECT_EQ(record->depth, 5u);
  EXPECT_STREQ(record->formatLabel, "GIF");
}

TEST_F(GifTest, AnAspectByteGivesABlankImage) {
  const Bytes file =
      Joined({GifScreen(2, 1, 2, 49), GifFrame(0, 0, 2, 1), GifPixels(2, {1, 2}), kEnd});
  EXPECT_EQ(Entries(file), (std::vector<int>{-1, -1}));
  EXPECT_STREQ(Load(file)->formatLabel, "");
}

TEST_F(GifTest, FramesAreLaidFromTheFirstPixelWithTheirOwnWidth) {
  // Left and top count for nothing; a narrow frame's rows follow each other.
  EXPECT_EQ(
      Entries(Joined({GifScreen(3, 2, 2), GifFrame(1, 1, 2, 2), GifPixels(2, {0, 1, 2, 3}), kEnd})),
      (std::vector<int>{0, 1, 2, 3, -1, -1}));
  // What is beyond the screen's pixels is dropped.
  EXPECT_EQ(
      Entries(Joined({GifScreen(2, 1, 2), GifFrame(0, 0, 3, 3), GifPixels(2, Bytes(9, 3)), kEnd})),
      (std::vector<int>{3, 3}));
  // More pixels than the frame has start over at its first row.
  EXPECT_EQ(Entries(Joined({GifScreen(2, 2, 2), GifFrame(0, 0, 2, 2),
                            GifPixels(2, {0, 0, 1, 1, 2, 3}), kEnd})),
            (std::vector<int>{2, 3, 1, 1}));
}

TEST_F(GifTest, LaterImagesOverwriteAndTheirTablesStay) {
  ByteBuilder grey = LittleEndian();
  for (int i = 0; i < 4; ++i) grey.Repeat(static_cast<std::uint32_t>(105 + 10 * i), 3);
  const Bytes first = Joined({GifFrame(0, 0, 3, 1), GifPixels(2, {1, 1, 1})});
  const Bytes second = Joined({GifFrame(0, 0, 2, 1, 0x81), grey.bytes(), GifPixels(2, {0, 1})});
  EXPECT_EQ(Entries(Joined({GifScreen(3, 1, 2), first, second, kEnd})),
            (std::vector<int>{10, 11, 1}));
  EXPECT_EQ(Entries(Joined({GifScreen(3, 1, 2), second, first, kEnd})),
            (std::vector<int>{11, 11, 11}));
  EXPECT_EQ(Entries(Joined({GifScreen(3, 1, 2), first, {0x77}, second})),
            (std::vector<int>{1, 1, 1}))
      << "anything unknown ends the file";
}

/// Rows of a frame in the order in which an interlaced file has them.
std::vector<int> InterlacedOrder(int height) {
  std::vector<int> order;
  for (const auto& [start, step] : {std::pair{0, 8}, {4, 8}, {2, 4}, {1, 2}}) {
    for (int row = start; row < height; row += step) order.push_back(row);
  }
  return order;
}

TEST_F(GifTest, InterlacedRowsOfEveryHeight) {
  for (int height = 1; height <= 20; ++height) {
    SCOPED_TRACE(height);
    Bytes stored;
    for (const int row : InterlacedOrder(height)) stored.push_back(static_cast<std::uint8_t>(row));
    std::vector<int> wanted(static_cast<std::size_t>(height));
    std::iota(wanted.begin(), wanted.end(), 0);
    EXPECT_EQ(Entries(Joined({GifScreen(1, height, 5), GifFrame(0, 0, 1, height, kGifInterlaced),
                              GifPixels(5, stored), kEnd})),
              wanted);

    const ImageGuard image = PhotoLike(5, height);
    const Bytes plain = Save(*image, 0), interlaced = Save(*image, 1);
    std::size_t at = 13 + 768 + 10, other = at;
    const Bytes rows = DecodePlainly(plain, &at).indices;
    Bytes reordered;
    for (const int row : InterlacedOrder(height)) {
      reordered.insert(reordered.end(), rows.begin() + 5 * row, rows.begin() + 5 * row + 5);
    }
    EXPECT_EQ(DecodePlainly(interlaced, &other).indices, reordered);
    EXPECT_EQ(interlaced[13 + 768 + 9], kGifInterlaced);
    EXPECT_EQ(Difference(*Load(plain), *Load(interlaced)), "");
  }
}

TEST_F(GifTest, StreamAsWritten) {
  const Bytes file = Save(*Drawing(300, 7), 0);
  const Bytes screen = LittleEndian().Text("GIF87a").U16(300).U16(7).List({0xF7, 0, 0}).bytes();
  EXPECT_EQ(Bytes(file.begin(), file.begin() + 13), screen);
  EXPECT_EQ(Bytes(file.begin() + 781, file.begin() + 791), GifFrame(0, 0, 300, 7));
  std::size_t at = 791;
  const Decoded decoded = DecodePlainly(file, &at);
  EXPECT_EQ(decoded.codeSize, 8);
  EXPECT_EQ(decoded.indices.size(), 2100u);
  ASSERT_EQ(at + 1, file.size());
  EXPECT_EQ(file.back(), 0x3B);
}

TEST_F(GifTest, DamagedCodesEndTheImage) {
  // Code 7 stands before any string that it could grow from.
  EXPECT_EQ(
      Entries(Joined({GifScreen(2, 1, 2), GifFrame(0, 0, 2, 1), {2}, GifBlocks({0x3C, 0}), kEnd})),
      (std::vector<int>{-1, -1}));
  for (const int codeSize : {0, 12, 255}) {
    const Bytes file = Joined({GifScreen(2, 1, 2),
                               GifFrame(0, 0, 2, 1),
                               {static_cast<std::uint8_t>(codeSize)},
                               GifBlocks({0x44, 0x01}),
                               kEnd});
    EXPECT_EQ(Entries(file), (std::vector<int>{-1, -1})) << codeSize;
  }
  // One block of a single byte each.
  const Bytes pixels = GifPixels(2, {1, 2, 3, 0});
  const Bytes data(pixels.begin() + 2, pixels.end() - 1);
  EXPECT_EQ(
      Entries(Joined({GifScreen(4, 1, 2), GifFrame(0, 0, 4, 1), {2}, GifBlocks(data, 1), kEnd})),
      (std::vector<int>{1, 2, 3, 0}));
}

}  // namespace
}  // namespace imx::test
