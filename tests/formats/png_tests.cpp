#include <string>

#include "formats/codec_state.h"
#include "formats/indexed.h"
#include "formats/png.h"
#include "imagelib/core/registry.h"
#include "imagelib/core/save_outcome.h"
#include "tests/formats/png_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

constexpr const char* kReaderFault = "PNG Reader Unrecoverable Error";

class PngTest : public LibraryTest {
 protected:
  void TearDown() override {
    Output() = {};
    LibraryTest::TearDown();
  }

  ImageGuard Load(const Bytes& file) {
    return ImageGuard(LoadPng(temp.Write("in.png", file).c_str()));
  }

  Bytes Save(const ImageRecord& image, std::int32_t depth, std::int32_t interlace = 0) {
    Output().depthBits = depth;
    const std::string path = temp.file("out.png");
    EXPECT_EQ(SavePng(&image, path.c_str(), interlace), 0);
    return ReadFile(path);
  }
};

Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

struct Kind {
  const char* name;
  int bits;
  PngColour colour;
  Bytes row;  // behind a filter byte of 0
  Bytes chunks;
  std::uint32_t depth;
  bool alpha;
  std::vector<Rgba> pixels;
};

TEST_F(PngTest, EveryKindBecomesRgba) {
  const Bytes plte = PngChunk("PLTE", {10, 20, 30, 40, 50, 60, 70, 80, 90, 1, 2, 3});
  const Bytes plteTrns = plte + PngChunk("tRNS", {0, 128});
  const Rgba one{10, 20, 30, 255}, two{40, 50, 60, 255}, three{70, 80, 90, 255}, four{1, 2, 3, 255};
  const Rgba black{0, 0, 0, 255}, white{255, 255, 255, 255};
  const Kind kinds[] = {
      {"grey 1", 1, kPngGrey, {0x40}, {}, 1, false, {black, white}},
      {"grey 2",
       2,
       kPngGrey,
       {0x1B},
       {},
       2,
       false,
       {black, {85, 85, 85, 255}, {170, 170, 170, 255}, white}},
      {"grey 4", 4, kPngGrey, {0x2F}, {}, 4, false, {{34, 34, 34, 255}, white}},
      {"grey 8", 8, kPngGrey, {7, 200}, {}, 8, false, {{7, 7, 7, 255}, {200, 200, 200, 255}}},
      {"grey 16",
       16,
       kPngGrey,
       {7, 255, 200, 0},
       {},
       16,
       false,
       {{7, 7, 7, 255}, {200, 200, 200, 255}}},
      {"grey 8, one transparent",
       8,
       kPngGrey,
       {7, 8},
       PngChunk("tRNS", {0, 7}),
       8,
       true,
       {{7, 7, 7, 0}, {8, 8, 8, 255}}},
      {"rgb 8", 8, kPngRgb, {1, 2, 3, 10, 20, 30}, {}, 24, false, {four, one}},
      {"rgb 16", 16, kPngRgb, {1, 99, 2, 99, 3, 99}, {}, 48, false, {four}},
      {"rgb 8, one transparent",
       8,
       kPngRgb,
       {1, 2, 3, 10, 20, 30},
       PngChunk("tRNS", {0, 1, 0, 2, 0, 3}),
       24,
       true,
       {{1, 2, 3, 0}, one}},
      {"palette 1", 1, kPngPalette, {0x40}, plte, 1, false, {one, two}},
      {"palette 2", 2, kPngPalette, {0x1B}, plte, 2, false, {one, two, three, four}},
      {"palette 4", 4, kPngPalette, {0x32}, plte, 4, false, {four, three}},
      {"palette 8", 8, kPngPalette, {2, 0}, plte, 8, false, {three, one}},
      {"palette 8, transparency",
       8,
       kPngPalette,
       {0, 1, 2},
       plteTrns,
       8,
       true,
       {{10, 20, 30, 0}, {40, 50, 60, 128}, three}},
      {"grey alpha 8", 8, kPngGreyAlpha, {7, 9}, {}, 16, true, {{7, 7, 7, 9}}},
      {"grey alpha 16", 16, kPngGreyAlpha, {7, 1, 9, 1}, {}, 24, true, {{7, 7, 7, 9}}},
      {"rgba 8", 8, kPngRgba, {1, 2, 3, 4}, {}, 32, true, {{1, 2, 3, 4}}},
      {"rgba 16", 16, kPngRgba, {1, 9, 2, 9, 3, 9, 4, 9}, {}, 56, true, {{1, 2, 3, 4}}},
  };
  for (const Kind& kind : kinds) {
    SCOPED_TRACE(kind.name);
    const auto width = static_cast<std::int32_t>(kind.pixels.size());
    const ImageGuard image =
        Load(PngFile(PngHeader(static_cast<std::uint32_t>(width), 1, kind.bits, kind.colour),
                     Bytes{0} + kind.row, kind.chunks));
    ASSERT_TRUE(image);
    EXPECT_EQ(Difference(*FromPixels(width, 1, kind.pixels), *image), "");
    EXPECT_EQ(image->depth, kind.depth);
    EXPECT_EQ(image->flags, kind.alpha ? kFlagAlpha : 0u);
  }
  EXPECT_TRUE(host.notes.empty());
}

TEST_F(PngTest, RecordTellsItsSource) {
  const ImageGuard image = Load(PngFile(PngHeader(1, 1, 8, kPngGrey), {0, 0}));
  ASSERT_TRUE(image);
  EXPECT_STREQ(image->name, "PNG");
  EXPECT_STREQ(image->path, "");
  EXPECT_STREQ(image->extension, ".png");
  EXPECT_STREQ(image->formatLabel, "PNG");
  EXPECT_EQ(image->fileType, 12);
}

TEST_F(PngTest, TextsOnBothSidesOfThePixels) {
  const Bytes header = PngHeader(1, 1, 8, kPngGrey);
  const Bytes rows = {0, 0};
  ImageGuard image =
      Load(PngFile(header, rows, PngText("author", "no") + PngText("Author", "first"),
                   PngText("Author", "last") + PngText("Description", "behind")));
  ASSERT_TRUE(image);
  EXPECT_STREQ(image->author, "last");
  EXPECT_STREQ(image->comment, "behind");
  EXPECT_EQ(image->flags, kFlagHasAuthor | kFlagHasComment);

  image = Load(PngFile(header, rows, PngText("Author", std::string(255, 'a')),
                       PngText("Description", std::string(256, 'd'))));
  EXPECT_EQ(std::string(image->author), std::string(255, 'a'));
  EXPECT_EQ(std::string(image->comment), std::string(255, 'd'));

  image = Load(PngFile(header, rows, PngText("Title", "t")));
  EXPECT_STREQ(image->author, "");
  EXPECT_EQ(image->flags, 0u);
}

Bytes CompressedText(std::string_view key, const Bytes& text) {
  return PngChunk("zTXt", BigEndian().Text(key).U16(0).Raw(ZlibStored(text)).bytes());
}

TEST_F(PngTest, LargeExtrasAreNoObstacle) {
  const Bytes megabytes(2 << 20, 'x');
  const Bytes profile = BigEndian().Text("p").U16(0).Raw(ZlibStored(megabytes)).bytes();
  const ImageGuard image = Load(PngFile(
      PngHeader(1, 1, 8, kPngGrey), {0, 5},
      PngChunk("iCCP", profile) + PngChunk("prVt", megabytes) + CompressedText("Author", {'z'}) +
          CompressedText("Author", megabytes) + PngText("Description", std::string(2 << 20, 'd'))));
  ASSERT_TRUE(image);
  EXPECT_STREQ(image->author, "z") << "the one that inflates to megabytes is passed over";
  EXPECT_EQ(std::string(image->comment), std::string(255, 'd'));
}

Bytes WithByte(Bytes file, std::size_t at, std::uint8_t value) {
  file.at(at) = value;
  return file;
}

TEST_F(PngTest, FaultsAreNotesAndNoRecord) {
  const Bytes good = PngFile(PngHeader(2, 2, 8, kPngGrey), {0, 1, 2, 0, 3, 4});
  const std::size_t idat = 33;  // behind the signature and IHDR
  const std::pair<const char*, Bytes> faults[] = {
      {"no PNG", Bytes(100, 'x')},
      {"signature only", PngSignature()},
      {"IHDR's CRC", WithByte(good, 29, static_cast<std::uint8_t>(good[29] ^ 1))},
      {"IDAT's CRC", WithByte(good, idat + 15, 99)},
      {"end missing", Bytes(good.begin(), good.end() - 1)},
      {"rows missing", PngFile(PngHeader(2, 3, 8, kPngGrey), {0, 1, 2, 0, 3, 4})},
      {"no width", PngFile(PngHeader(0, 1, 8, kPngGrey), {0})},
      {"no height", PngFile(PngHeader(1, 0, 8, kPngGrey), {})},
      {"a negative height", PngFile(PngHeader(1, 0x80000001, 8, kPngGrey), {0, 1})},
      {"unknown colour type", PngFile(PngHeader(1, 1, 8, static_cast<PngColour>(5)), {0, 1})},
      {"3 bits", PngFile(PngHeader(1, 1, 3, kPngGrey), {0, 1})},
      {"filter 9", PngFile(PngHeader(1, 1, 8, kPngGrey), {9, 1})},
      {"palette missing", PngFile(PngHeader(1, 1, 8, kPngPalette), {0, 1})},
  };
  testing::internal::CaptureStderr();
  for (const auto& [name, file] : faults) {
    SCOPED_TRACE(name);
    EXPECT_FALSE(Load(file));
    EXPECT_THAT(host.notes, ElementsAre(kReaderFault));
    host.notes.clear();
  }
  EXPECT_FALSE(ImageGuard(LoadPng(temp.file("missing").c_str())));
  EXPECT_TRUE(host.notes.empty()) << "a file that cannot be opened is no news from here";
  EXPECT_TRUE(host.errors.empty());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(PngTest, FaultsOutsideThePictureAreForgiven) {
  Bytes text = PngText("Author", "a");
  text.back() ^= 1;
  const ImageGuard image = Load(PngFile(PngHeader(1, 1, 8, kPngGrey), {0, 1}, text));
  ASSERT_TRUE(image);
  EXPECT_STREQ(image->author, "");
}

struct Chunk {
  std::string type;
  Bytes data;
};

std::vector<Chunk> Chunks(const Bytes& file) {
  std::vector<Chunk> chunks;
  for (std::size_t at = 8; at + 12 <= file.size();) {
    const std::size_t length = LoadU32(&file[at], ByteOrder::big);
    const std::uint8_t* data = &file[at + 8];
    chunks.push_back({std::string(&file[at + 4], data), Bytes(data, data + length)});
    at += 12 + length;
  }
  return chunks;
}

Bytes TextData(const char* key, const std::string& text) {
  return BigEndian().Text(key).U8(0).Text(text).bytes();
}

TEST_F(PngTest, WrittenChunks) {
  const ImageGuard image = AlphaGradient(5, 3);
  CopyText(image->author, "Ann");
  CopyText(image->comment, "A gradient");
  const std::vector<Chunk> chunks = Chunks(Save(*image, 32, 1));
  ASSERT_EQ(chunks.size(), 7u);
  EXPECT_EQ(chunks[0].data, (Bytes{0, 0, 0, 5, 0, 0, 0, 3, 8, kPngRgba, 0, 0, 1}));
  EXPECT_EQ(chunks[1].type, "pHYs");
  EXPECT_EQ(chunks[1].data, (Bytes{0, 0, 0, 1, 0, 0, 0, 1, 1}));
  EXPECT_EQ(chunks[2].type, "tEXt");
  EXPECT_EQ(chunks[2].data, TextData("Software", "QMK IMX 1.0 r1v1"));
  EXPECT_EQ(chunks[3].data, TextData("Author", "Ann"));
  EXPECT_EQ(chunks[4].data, TextData("Description", "A gradient"));
  EXPECT_EQ(chunks[5].type, "IDAT");
  EXPECT_EQ(chunks[6].type, "IEND");
}

TEST_F(PngTest, Depth24DropsAlphaAndEmptyTextsAreLeftOut) {
  const ImageGuard image = AlphaGradient(5, 3);
  const Bytes file = Save(*image, 24);
  const std::vector<Chunk> chunks = Chunks(file);
  ASSERT_EQ(chunks.size(), 5u) << "of texts, only Software";
  EXPECT_EQ(chunks[0].data, (Bytes{0, 0, 0, 5, 0, 0, 0, 3, 8, kPngRgb, 0, 0, 0}));
  const ImageGuard loaded = Load(file);
  ASSERT_TRUE(loaded);
  EXPECT_EQ(Difference(*image, *loaded, Channels::rgb), "");
  EXPECT_EQ(PixelAt(*loaded, 4, 2).a, 255);
  EXPECT_EQ(loaded->flags, 0u);
}

TEST_F(PngTest, OtherDepthsWriteTheRenderedPalette) {
  const ImageGuard image = PhotoLike(40, 30);
  ASSERT_EQ(StartRenderer(), 0);
  IndexedImage indexed;
  ASSERT_TRUE(RenderIndexed(*image, RenderCode::colour8, &indexed));
  for (const int depth : {8, 4}) {
    ASSERT_EQ(StartRenderer(), 0);  // the renderer remembers; each run begins afresh
    const Bytes file = Save(*image, depth);
    const std::vector<Chunk> chunks = Chunks(file);
    EXPECT_EQ(chunks[0].data, (Bytes{0, 0, 0, 40, 0, 0, 0, 30, 8, kPngPalette, 0, 0, 0}));
    EXPECT_EQ(chunks[1].type, "PLTE");
    EXPECT_EQ(chunks[1].data.size(), 768u);
    const ImageGuard loaded = Load(file);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->depth, 8u);
    for (std::int32_t y = 0; y < 30; ++y) {
      for (std::int32_t x = 0; x < 40; ++x) {
        const std::uint8_t index = indexed.Row(y)[x];
        ASSERT_EQ(PixelAt(*loaded, x, y),
                  (Rgba{indexed.palette.red[index], indexed.palette.green[index],
                        indexed.palette.blue[index], 255}));
      }
    }
  }
}

TEST_F(PngTest, FailedSaves) {
  const ImageGuard image = PhotoLike(200, 200);
  Output().depthBits = 24;
  EXPECT_EQ(SavePng(image.get(), temp.file("no/such/folder.png").c_str(), 0), 1);
  EXPECT_TRUE(host.notes.empty());
  Output().depthBits = 8;
  SetMemoryCeiling(GetMemoryCounters().now);
  EXPECT_EQ(SavePng(image.get(), temp.file("out.png").c_str(), 0), 1);
  EXPECT_FALSE(FileExists(temp.file("out.png"))) << "nothing is begun that cannot be rendered";
  SetMemoryCeiling(UINT64_MAX);
  Output().depthBits = 24;
  SetWriteGate([] { return false; });
  EXPECT_EQ(SavePng(image.get(), temp.file("out.png").c_str(), 0), 1);
  EXPECT_THAT(host.notes, ElementsAre("PNG Writer Unrecoverable Error"));
}

TEST(PngSignatureTest, NeedsAllEightBytes) {
  const Bytes signature = PngSignature();
  EXPECT_TRUE(IsPng(signature.data(), 8));
  EXPECT_FALSE(IsPng(signature.data(), 7));
  EXPECT_FALSE(IsPng(WithByte(signature, 7, '\r').data(), 8));
}

}  // namespace
}  // namespace imx::test
