#include <cstdlib>
#include <string>
#include <vector>

#include "formats/targa.h"
#include "imagelib/core/byte_order.h"
#include "tests/formats/common_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

class TargaTest : public LibraryTest {
 protected:
  ImageGuard Load(const Bytes& file) {
    return ImageGuard(LoadTarga(std::fopen(temp.Write("in.tga", file).c_str(), "rb")));
  }

  std::vector<Rgba> Pixels(const TargaFields& fields, const Bytes& rest) {
    const ImageGuard image = Load(TargaFile(fields, rest));
    if (!image) return {};
    std::vector<Rgba> pixels;
    for (std::int32_t y = 0; y < image->height; ++y) {
      for (std::int32_t x = 0; x < image->width; ++x) pixels.push_back(PixelAt(*image, x, y));
    }
    return pixels;
  }

  Bytes Save(const ImageRecord& image, int depth, int compress) {
    const std::string path = temp.file("out.tga");
    EXPECT_EQ(SaveTarga(&image, path.c_str(), depth, compress), 0);
    return ReadFile(path);
  }
};

TEST_F(TargaTest, EveryDepthWidensItsOwnWay) {
  // Blue 1, green 2, red 31, and the top bit, which counts for nothing.
  const Bytes word = {0x41, 0xFC};
  const TargaFields one = {.width = 1};
  TargaFields f = one;
  f.depth = 15;
  EXPECT_THAT(Pixels(f, word), ElementsAre(Rgba{255, 18, 9, 0}));  // c * 8 + c % 8
  f.depth = 16;
  EXPECT_THAT(Pixels(f, word), ElementsAre(Rgba{255, 16, 8, 0}));  // c * 8 + c / 4
  f.depth = 24;
  EXPECT_THAT(Pixels(f, {1, 2, 3}), ElementsAre(Rgba{3, 2, 1, 0}));
  f.depth = 32;
  EXPECT_THAT(Pixels(f, {1, 2, 3, 4}), ElementsAre(Rgba{3, 2, 1, 4}));
  f = {.type = 3, .width = 1, .depth = 8};
  EXPECT_THAT(Pixels(f, {77}), ElementsAre(Rgba{77, 77, 77, 0}));
  f = {.type = 1, .width = 1, .depth = 8, .mapType = 1, .mapLength = 1, .mapBits = 16};
  EXPECT_THAT(Pixels(f, {0x41, 0xFC, 0}), ElementsAre(Rgba{248, 16, 8, 0}));  // c * 8
}

TEST_F(TargaTest, MapsStartAtSlotZeroWhateverTheFileSays) {
  TargaFields f = {.type = 1, .width = 3, .depth = 8, .mapType = 1, .id = "an id"};
  f.mapStart = 5;
  f.mapLength = 2;
  f.mapBits = 32;
  EXPECT_THAT(Pixels(f, {1, 2, 3, 99, 4, 5, 6, 99, 0, 1, 5}),
              ElementsAre(Rgba{3, 2, 1, 0}, Rgba{6, 5, 4, 0}, Rgba{0, 0, 0, 0}));
  // More entries than a byte can name are passed over; so is the map of a file that uses none.
  f.mapLength = 300;
  f.mapBits = 24;
  Bytes rest(900, 7);
  rest.insert(rest.end(), {0, 255, 3});
  EXPECT_EQ(Pixels(f, rest), std::vector<Rgba>(3, Rgba{7, 7, 7, 0}));
  TargaFields plain = {.width = 1, .mapLength = 2, .mapBits = 16};
  EXPECT_THAT(Pixels(plain, {9, 9, 9, 9, 1, 2, 3}), ElementsAre(Rgba{3, 2, 1, 0}));
}

TEST_F(TargaTest, RowOrderIsTheOnlyOrderThatCounts) {
  constexpr int kRightToLeft = 0x10;
  const Bytes rows = {1, 2, 3, 4};
  TargaFields f = {.type = 3, .width = 2, .height = 2, .depth = 8, .descriptor = kRightToLeft};
  const auto grey = [&](const std::vector<Rgba>& pixels) {
    return Bytes{pixels[0].r, pixels[1].r, pixels[2].r, pixels[3].r};
  };
  EXPECT_THAT(grey(Pixels(f, rows)), ElementsAre(3, 4, 1, 2));
  f.descriptor |= kTargaTopDown;
  EXPECT_THAT(grey(Pixels(f, rows)), ElementsAre(1, 2, 3, 4));
}

TEST_F(TargaTest, PacketsGoOnInTheNextRow) {
  const TargaFields f = {.type = 10, .width = 3, .height = 3};
  const Rgba a{3, 2, 1, 0}, b{6, 5, 4, 0}, c{9, 8, 7, 0};
  // A repeat over the first row's end, literals over the second's, a run beyond the last.
  EXPECT_THAT(Pixels(f, {0x83, 1, 2, 3, 0x03, 4, 5, 6, 7, 8, 9, 4, 5, 6, 7, 8, 9, 0xFF, 1, 2, 3}),
              ElementsAre(a, a, a, a, b, c, b, c, a));
  // The next load starts afresh.
  EXPECT_THAT(Pixels(f, {0x88, 4, 5, 6}), ElementsAreArray(std::vector<Rgba>(9, b)));
}

TEST_F(TargaTest, RunLengthGreyIsReadAsRawRows) {
  const TargaFields f = {.type = 11, .width = 2, .depth = 8};
  EXPECT_THAT(Pixels(f, {0x81, 5}), ElementsAre(Rgba{0x81, 0x81, 0x81, 0}, Rgba{5, 5, 5, 0}));
}

TEST_F(TargaTest, TheRecordSaysWhatTheFileWas) {
  const ImageGuard plain = Load(TargaFile({}, {1, 2, 3, 4, 5, 6}));
  EXPECT_STREQ(plain->formatLabel, "TARGA");
  EXPECT_EQ(plain->depth, 24u);
  EXPECT_EQ(plain->flags & kFlagAlpha, 0u);
  const ImageGuard alpha = Load(TargaFile({.depth = 32}, Bytes(8, 1)));
  EXPECT_EQ(alpha->depth, 32u);
  EXPECT_NE(alpha->flags & kFlagAlpha, 0u);
  const ImageGuard texts =
      Load(WithTargaTexts(TargaFile({}, Bytes(6, 1)), "Ann", std::string(300, 'c')));
  EXPECT_STREQ(texts->author, "Ann");
  EXPECT_EQ(texts->comment, std::string(255, 'c'));
  EXPECT_EQ(host.progress.back().title, "Reading TGA");
  EXPECT_EQ(host.progress.back().extra, 5);
}

TEST_F(TargaTest, HeaderAsWritten) {
  const ImageGuard image = AlphaGradient(300, 2);
  const std::uint8_t wanted[18] = {0, 0, 10, 59, 0, 0, 0, 0, 0, 0, 0, 0, 0x2C, 1, 2, 0, 32, 0};
  Bytes file = Save(*image, 32, 1);
  file.resize(18);
  EXPECT_THAT(file, ElementsAreArray(wanted));
  for (const int depth : {24, 8}) {
    const Bytes other = Save(*image, depth, 0);
    EXPECT_EQ(other[2], 2) << "not run-length coded";
    EXPECT_EQ(other[16], 24);
    EXPECT_EQ(other[17], 0);
  }
  image->flags = 0;
  EXPECT_EQ(Save(*image, 32, 0)[16], 24) << "32 bits need the alpha flag";
  EXPECT_EQ(host.progress.back().title, "Saving 24-bit Targa");
}

TEST_F(TargaTest, StampExtensionAndFooterAsWritten) {
  const ImageGuard image = AlphaGradient(72, 16);
  CopyText(image->author, std::string(60, 'a'));
  CopyText(image->comment, "words");
#ifndef _WIN32
  setenv("SOURCE_DATE_EPOCH", "86400", 1);  // 2 January 1970
#endif
  const Bytes file = Save(*image, 24, 0);
  const std::size_t stamp = 18 + 72 * 16 * 3;
  const std::size_t area = stamp + 2 + 36 * 32 * 4;  // the stamp keeps alpha at 24 bits as well
  ASSERT_EQ(file.size(), area + 495 + 26);
  EXPECT_EQ(file[stamp], 36);
  EXPECT_EQ(file[stamp + 1], 32);
  // Sample (35, 3) is column 70 of row 1.
  const Rgba sample = PixelAt(*image, 70, 1);
  const std::uint8_t* at = &file[stamp + 2 + 4 * (3 * 36 + 35)];
  EXPECT_EQ((Rgba{at[2], at[1], at[0], at[3]}), sample);

  const auto word = [&](std::size_t offset) {
    return LoadU16(&file[area + offset], ByteOrder::little);
  };
  const auto text = [&](std::size_t offset, std::size_t size) {
    const std::string whole(file.begin() + static_cast<std::ptrdiff_t>(area + offset),
                            file.begin() + static_cast<std::ptrdiff_t>(area + offset + size));
    return whole;
  };
  EXPECT_EQ(word(0), 2558);
  EXPECT_EQ(text(2, 41), std::string(40, 'a') + '\0');
  EXPECT_EQ(text(43, 324), "words" + std::string(319, '\0'));
#ifndef _WIN32
  unsetenv("SOURCE_DATE_EPOCH");
  EXPECT_EQ(word(367), 1);
  EXPECT_EQ(word(369), 2);
  EXPECT_EQ(word(371), 1970);
  EXPECT_EQ(word(373), 0);
#endif
  EXPECT_EQ(text(379, 41 + 6), std::string(47, '\0'));
  EXPECT_EQ(text(426, 41), "IMX by Quillmark" + std::string(25, '\0'));
  EXPECT_EQ(word(467), 101);
  EXPECT_EQ(text(469, 1), "1");
  EXPECT_EQ(word(474), 72);
  EXPECT_EQ(word(476), 1);
  EXPECT_EQ(word(478), 1);
  EXPECT_EQ(word(480), 1);
  EXPECT_EQ(LoadU32(&file[area + 486], ByteOrder::little), stamp);
  EXPECT_EQ(LoadU32(&file[area + 495], ByteOrder::little), area);
  EXPECT_EQ(text(495 + 8, 18), std::string("TRUEVISION-XFILE.\0", 18));
}

/// Header bytes of the packets in a packed row; the pixels they stand for go to `pixels`.
Bytes PacketsOf(const Bytes& packed, std::size_t bytesPerPixel, Bytes* pixels) {
  Bytes headers;
  for (std::size_t at = 0; at < packed.size();) {
    const std::uint8_t header = packed[at++];
    headers.push_back(header);
    const std::size_t count = (header & 127u) + 1;
    const bool repeat = (header & 128) != 0;
    for (std::size_t i = 0; i < count; ++i) {
      for (std::size_t k = 0; k < bytesPerPixel; ++k) {
        pixels->push_back(packed.at(at + (repeat ? 0 : i * bytesPerPixel) + k));
      }
    }
    at += bytesPerPixel * (repeat ? 1 : count);
  }
  return headers;
}

/// The row of one byte for each pixel, packed; checks that it unpacks to the same.
Bytes Headers(const std::string& row, std::size_t bytesPerPixel) {
  Bytes rgba, wanted;
  for (const char c : row) {
    const auto v = static_cast<std::uint8_t>(c);
    rgba.insert(rgba.end(), {static_cast<std::uint8_t>(v + 2), static_cast<std::uint8_t>(v + 1), v,
                             static_cast<std::uint8_t>(v + 3)});
    wanted.insert(wanted.end(),
                  {v, static_cast<std::uint8_t>(v + 1), static_cast<std::uint8_t>(v + 2)});
    if (bytesPerPixel == 4) wanted.push_back(static_cast<std::uint8_t>(v + 3));
  }
  Bytes packed(4 * row.size() + 1024), pixels;
  packed.resize((bytesPerPixel == 3 ? PackTargaRow24 : PackTargaRow32)(
      packed.data(), rgba.data(), static_cast<std::int32_t>(row.size())));
  const Bytes headers = PacketsOf(packed, bytesPerPixel, &pixels);
  EXPECT_EQ(pixels, wanted) << row;
  return headers;
}

TEST_F(TargaTest, PacketLimits) {
  EXPECT_THAT(Headers(std::string(129, 'a'), 3), ElementsAre(0xFF, 0)) << "128 pixels";
  EXPECT_THAT(Headers(std::string(128, 'a'), 3), ElementsAre(0xFF));
  EXPECT_THAT(Headers(std::string(97, 'a'), 4), ElementsAre(0x80 | 96));
  EXPECT_THAT(Headers(std::string(99, 'a'), 4), ElementsAre(0x80 | 96, 0x81));
  std::string different;
  for (int i = 0; i < 300; ++i) different += static_cast<char>(i % 7 + (i % 2) * 20);
  for (const std::size_t bytesPerPixel : {3u, 4u}) {
    EXPECT_THAT(Headers(different, bytesPerPixel), ElementsAre(126, 126, 45));
    EXPECT_THAT(Headers(different.substr(0, 128), bytesPerPixel), ElementsAre(127))
        << "the row's last pixel joins the open packet";
  }
}

TEST_F(TargaTest, ALiteralGoesOnOverPairsAndStopsBeforeThree) {
  for (const std::size_t bytesPerPixel : {3u, 4u}) {
    EXPECT_THAT(Headers("a", bytesPerPixel), ElementsAre(0));
    EXPECT_THAT(Headers("aa", bytesPerPixel), ElementsAre(0x81));
    EXPECT_THAT(Headers("abbc", bytesPerPixel), ElementsAre(3));
    EXPECT_THAT(Headers("abb", bytesPerPixel), ElementsAre(2));
    EXPECT_THAT(Headers("abbb", bytesPerPixel), ElementsAre(0, 0x82));
    EXPECT_THAT(Headers("aabbcc", bytesPerPixel), ElementsAre(0x81, 0x81, 0x81));
  }
}

TEST_F(TargaTest, EveryShortRowUnpacksToItself) {
  constexpr int kLength = 7;
  for (int code = 0; code < 2187; ++code) {  // 3 to the power of kLength
    std::string row;
    for (int i = 0, rest = code; i < kLength; ++i, rest /= 3)
      row += static_cast<char>('a' + rest % 3);
    Headers(row, 3);
    Headers(row, 4);
  }
}

}  // namespace
}  // namespace imx::test
