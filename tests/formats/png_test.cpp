#include "formats/png.h"

#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"
#include "imagelib/save_outcome.h"
#include "tests/formats/format_test.h"
#include "tests/formats/png_builder.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class PngTest : public FormatTest<LoadPng> {
 protected:
  Bytes Save(const ImageRecord& image, std::int32_t depth, std::int32_t interlace = 0) {
    Output().depthBits = depth;
    return Saved<SavePng>(image, interlace);
  }
};

struct Kind {
  int bits;
  PngColour colour;
  Bytes row;  // behind a filter byte of 0
  Bytes chunks;
  std::uint32_t depth;
  std::vector<Rgba> pixels;
};

TEST_F(PngTest, EveryKindBecomesRgba) {
  const Bytes none, plte = PngChunk("PLTE", {10, 20, 30, 40, 50, 60, 70, 80, 90, 1, 2, 3});
  const Bytes clear = plte + PngChunk("tRNS", {0, 128});
  const Bytes clearGrey = PngChunk("tRNS", {0, 7}), clearRgb = PngChunk("tRNS", {0, 1, 0, 2, 0, 3});
  const auto grey = [](std::uint8_t v) { return Rgba{v, v, v, 255}; };
  const Rgba one{10, 20, 30, 255}, two{40, 50, 60, 255}, three{70, 80, 90, 255}, four{1, 2, 3, 255};
  const Kind kinds[] = {
      {1, kPngGrey, {0x40}, none, 1, {grey(0), grey(255)}},
      {2, kPngGrey, {0x1B}, none, 2, {grey(0), grey(85), grey(170), grey(255)}},
      {4, kPngGrey, {0x2F}, none, 4, {grey(34), grey(255)}},
      {8, kPngGrey, {7, 8}, clearGrey, 8, {{7, 7, 7, 0}, grey(8)}},
      {16, kPngGrey, {7, 255, 200, 0}, none, 16, {grey(7), grey(200)}},
      {8, kPngRgb, {1, 2, 3, 10, 20, 30}, none, 24, {four, one}},
      {8, kPngRgb, {1, 2, 3, 10, 20, 30}, clearRgb, 24, {{1, 2, 3, 0}, one}},
      {16, kPngRgb, {1, 99, 2, 99, 3, 99}, none, 48, {four}},
      {1, kPngPalette, {0x40}, plte, 1, {one, two}},
      {2, kPngPalette, {0x1B}, plte, 2, {one, two, three, four}},
      {4, kPngPalette, {0x32}, plte, 4, {four, three}},
      {8, kPngPalette, {0, 1, 2}, clear, 8, {{10, 20, 30, 0}, {40, 50, 60, 128}, three}},
      {8, kPngGreyAlpha, {7, 9}, none, 16, {{7, 7, 7, 9}}},
      {16, kPngGreyAlpha, {7, 1, 9, 1}, none, 24, {{7, 7, 7, 9}}},
      {8, kPngRgba, {1, 2, 3, 4}, none, 32, {{1, 2, 3, 4}}},
      {16, kPngRgba, {1, 9, 2, 9, 3, 9, 4, 9}, none, 56, {{1, 2, 3, 4}}},
  };
  for (const Kind& kind : kinds) {
    SCOPED_TRACE(testing::Message() << kind.bits << " bits, colour type " << kind.colour);
    const auto width = static_cast<std::uint32_t>(kind.pixels.size());
    const ImageGuard image = Load(
        PngFile(PngHeader(width, 1, kind.bits, kind.colour), Bytes{0} + kind.row, kind.chunks));
    EXPECT_EQ(Pixels(image), kind.pixels);
    EXPECT_EQ(image->depth, kind.depth);
    EXPECT_EQ(image->flags, kind.pixels[0].a < 255 ? kFlagAlpha : 0u);
    EXPECT_STREQ(image->formatLabel, "PNG");
  }
  EXPECT_TRUE(host.notes.empty());
}

TEST_F(PngTest, TextsOnBothSidesOfThePixels) {
  const auto load = [&](const Bytes& before, const Bytes& after) {
    return Load(PngFile(PngHeader(1, 1, 8, kPngGrey), {0, 0}, before, after));
  };
  ImageGuard image = load(PngText("author", "no") + PngText("Author", "first"),
                          PngText("Author", "last") + PngText("Description", "behind"));
  EXPECT_STREQ(image->author, "last");
  EXPECT_STREQ(image->comment, "behind");
  EXPECT_EQ(image->flags, kFlagHasAuthor | kFlagHasComment);

  image =
      load(PngText("Author", std::string(255, 'a')), PngText("Description", std::string(256, 'd')));
  EXPECT_EQ(image->author, std::string(255, 'a'));
  EXPECT_EQ(image->comment, std::string(255, 'd'));

  Bytes damaged = PngText("Author", "a");
  damaged.back() ^= 1;  // a fault outside the picture is forgiven
  image = load(PngText("Title", "t"), damaged);
  ASSERT_TRUE(image);
  EXPECT_STREQ(image->author, "");
  EXPECT_EQ(image->flags, 0u);
}

TEST_F(PngTest, LargeExtrasAreNoObstacle) {
  const Bytes megabytes(2 << 20, 'x');
  const auto packed = [](const char* type, const char* key, const Bytes& data) {
    return PngChunk(type, BigEndian().Text(key).U16(0).Raw(Deflated(data)).bytes());
  };
  const ImageGuard image =
      Load(PngFile(PngHeader(1, 1, 8, kPngGrey), {0, 5},
                   packed("iCCP", "p", megabytes) + PngChunk("prVt", megabytes) +
                       packed("zTXt", "Author", {'z'}) + packed("zTXt", "Author", megabytes) +
                       PngText("Description", std::string(2 << 20, 'd'))));
  ASSERT_TRUE(image);
  EXPECT_STREQ(image->author, "z") << "the one that inflates to megabytes is passed over";
  EXPECT_EQ(image->comment, std::string(255, 'd'));
}

TEST_F(PngTest, FaultsAreNotesAndNoRecord) {
  const auto grey = [](std::uint32_t width, std::uint32_t height, const Bytes& rows) {
    return PngFile(PngHeader(width, height, 8, kPngGrey), rows);
  };
  const Bytes good = grey(2, 2, {0, 1, 2, 0, 3, 4});
  const std::pair<const char*, Bytes> faults[] = {
      {"no PNG", Bytes(100, 'x')},
      {"signature only", PngSignature()},
      {"IHDR's CRC", WithByte(good, 29, good[29] ^ 1)},
      {"IDAT's CRC", WithByte(good, 33 + 15, 99)},
      {"end missing", Part(good, 0, good.size() - 1)},
      {"rows missing", grey(2, 3, {0, 1, 2, 0, 3, 4})},
      {"no width", grey(0, 1, {0})},
      {"no height", grey(1, 0, {})},
      {"a negative height", grey(1, 0x80000001, {0, 1})},
      {"unknown colour type", PngFile(PngHeader(1, 1, 8, static_cast<PngColour>(5)), {0, 1})},
      {"3 bits", PngFile(PngHeader(1, 1, 3, kPngGrey), {0, 1})},
      {"filter 9", grey(1, 1, {9, 1})},
      {"palette missing", PngFile(PngHeader(1, 1, 8, kPngPalette), {0, 1})},
  };
  testing::internal::CaptureStderr();
  for (const auto& [name, file] : faults) {
    host.notes.clear();
    EXPECT_FALSE(Load(file)) << name;
    EXPECT_THAT(host.notes, ElementsAre("PNG Reader Unrecoverable Error")) << name;
  }
  host.notes.clear();
  EXPECT_FALSE(ImageGuard(LoadPng(temp.file("missing").c_str())));
  EXPECT_TRUE(host.notes.empty()) << "a file that cannot be opened is no news from here";
  EXPECT_TRUE(host.errors.empty());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(PngTest, WhatOthersForgive) {
  const auto rows = [](const Bytes& bytes) {
    return PngFile(PngHeader(2, 2, 8, kPngGrey), bytes, PngChunk("VENd", {1}));
  };
  const Bytes good = rows({0, 1, 2, 0, 3, 4});
  const std::vector<Rgba> none,
      all = {{1, 1, 1, 255}, {2, 2, 2, 255}, {3, 3, 3, 255}, {4, 4, 4, 255}};
  std::vector<Rgba> half = all;
  half[2] = half[3] = {};
  constexpr std::size_t kMethod = 8 + 8 + 10, kHeaderSum = 29;
  // The last chunk, and the two check sums before it.
  const std::size_t deflateEnd = good.size() - 12 - 4 - 4;
  // As one maker's tools write it: no header and no check sum around deflate's data, blue first,
  // alpha multiplied in.
  const Bytes deflated = Deflated({0, 10, 20, 100, 128});
  const Bytes makers =
      PngSignature() + PngChunk("CgBI", {0x50, 0, 0x20, 2}) + PngHeader(1, 1, 8, kPngRgba) +
      PngChunk("IDAT", Part(deflated, 2, deflated.size() - 6)) + PngChunk("IEND", {});
  const Bytes broken = rows({0, 1, 2, 9, 3, 4}), cut = rows({0, 1, 2});
  const QuirkCase kCases[] = {
      {kPngDamage, good, none, all},
      {kPngDamage, WithByte(good, kHeaderSum, good[kHeaderSum] ^ 1), none, all},
      {kPngDamage, WithByte(good, kMethod, 9), none, all},
      {kPngDamage, Part(good, 0, deflateEnd), none, all},
      {kPngDamage, broken, none, half},
      {kPngDamage, cut, none, half},
      {kPngDamage, makers, none, {{199, 40, 20, 128}}},
  };
  ReadBothWays(kCases);
  const QuirkScope others(AllQuirks());
  const auto outcome = [&](const Bytes& file) {
    BeginLoadOutcome();
    Load(file);
    return std::pair(FileEndedEarly(true), PixelsAreDamaged());
  };
  EXPECT_EQ(outcome(good), std::pair(false, false));
  EXPECT_EQ(outcome(broken), std::pair(false, true));
  EXPECT_EQ(outcome(Part(good, 0, deflateEnd - 2)), std::pair(true, false));
}

TEST_F(PngTest, TheRecordKeepsThePalette) {
  const Bytes colours = PngChunk("PLTE", {1, 2, 3, 4, 5, 6});
  const ImageGuard image = Load(PngFile(PngHeader(1, 1, 8, kPngPalette), {0, 1}, colours));
  EXPECT_EQ(image->paletteCount, 2);
  EXPECT_EQ(image->palette.green[1], 5);
}

/// Types and data of a file's chunks.
std::vector<std::pair<std::string, Bytes>> Chunks(const Bytes& file) {
  std::vector<std::pair<std::string, Bytes>> chunks;
  for (std::size_t at = 8; at + 12 <= file.size();) {
    const std::size_t length = LoadU32(&file[at], ByteOrder::big);
    chunks.emplace_back(std::string(&file[at + 4], &file[at + 8]), Part(file, at + 8, length));
    at += 12 + length;
  }
  return chunks;
}

TEST_F(PngTest, WrittenChunks) {
  const ImageGuard image = AlphaGradient(5, 3);
  std::vector<std::pair<std::string, Bytes>> chunks = Chunks(Save(*image, 24));
  ASSERT_EQ(chunks.size(), 5u) << "of texts, only Software";
  EXPECT_EQ(chunks[0].second, (Bytes{0, 0, 0, 5, 0, 0, 0, 3, 8, kPngRgb, 0, 0, 0}));

  CopyText(image->author, "Ann");
  CopyText(image->comment, "A gradient");
  const auto text = [](const char* key, const char* value) {
    return BigEndian().Text(key).U8(0).Text(value).bytes();
  };
  chunks = Chunks(Save(*image, 32, 1));
  ASSERT_EQ(chunks.size(), 7u);
  EXPECT_EQ(chunks[0].second, (Bytes{0, 0, 0, 5, 0, 0, 0, 3, 8, kPngRgba, 0, 0, 1}));
  EXPECT_EQ(chunks[1].first, "pHYs");
  EXPECT_EQ(chunks[1].second, (Bytes{0, 0, 0, 1, 0, 0, 0, 1, 1}));
  EXPECT_EQ(chunks[2].second, text("Software", "QMK IMX 1.0 r1v1"));
  EXPECT_EQ(chunks[3].second, text("Author", "Ann"));
  EXPECT_EQ(chunks[4].second, text("Description", "A gradient"));
  const QuirkScope interop(QuirkSet().set(kPngNoMetrePixels));
  EXPECT_EQ(Chunks(Save(*image, 32))[1].first, "tEXt") << "no pixel size is stated";
}

TEST_F(PngTest, OtherDepthsWriteAPalette) {
  for (const int depth : {8, 4}) {
    ASSERT_EQ(StartRenderer(), 0);
    const auto chunks = Chunks(Save(*PhotoLike(40, 30), depth));
    EXPECT_EQ(chunks[0].second, (Bytes{0, 0, 0, 40, 0, 0, 0, 30, 8, kPngPalette, 0, 0, 0}));
    EXPECT_EQ(chunks[1].second.size(), 768u);
  }
}

TEST_F(PngTest, FailedSaves) {
  const ImageGuard image = PhotoLike(200, 200);
  const std::string path = temp.file("out");
  Output().depthBits = 8;
  SetMemoryCeiling(GetMemoryCounters().now);
  EXPECT_EQ(SavePng(image.get(), path.c_str(), 0), 1);
  EXPECT_FALSE(FileExists(path)) << "nothing is begun that cannot be rendered";
  SetMemoryCeiling(UINT64_MAX);
  Output().depthBits = 24;
  SetWriteGate([] { return false; });
  EXPECT_EQ(SavePng(image.get(), path.c_str(), 0), 1);
  EXPECT_THAT(host.notes, ElementsAre("PNG Writer Unrecoverable Error"));
}

}  // namespace
}  // namespace imx::test
