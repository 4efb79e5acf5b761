// The JPEG and TIFF plug-ins through the library, as its dispatch calls them.

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>

#include "dispatch/plugins.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"
#include "tests/formats/format_test.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

constexpr char kJpegLoader[] = PLUGIN_DIR "KZLDJPEG.DLL";
constexpr char kJpegSaver[] = PLUGIN_DIR "KZSVJPEG.DLL";
constexpr char kTiff[] = PLUGIN_DIR "KZldTIFF.dll";

class PluginCodecTest : public LibraryTest {
 protected:
  ImageGuard LoadBytes(const char* library, const Bytes& bytes) {
    return ImageGuard(LoadWithPlugin(temp.Write("in", bytes).c_str(), library));
  }

  Bytes Saved(const char* library, const ImageRecord& image, int option) {
    const std::string path = temp.file("out");
    EXPECT_EQ(SaveWithPlugin(&image, path.c_str(), library, option), 0) << PluginFailure();
    return ReadFile(path);
  }

  /// Every fourth prefix, and random changes.
  void LoadDamaged(const char* library, const Bytes& file) {
    for (std::size_t length = 0; length < file.size(); length += 4) {
      LoadBytes(library, Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)));
    }
    SetImageCeiling(1 << 20);
    for (unsigned round = 0; round < 400; ++round) {
      std::mt19937 random(round);
      Bytes bytes = file;
      const std::size_t reach =
          round % 2 == 0 ? bytes.size() : std::min<std::size_t>(300, bytes.size());
      for (unsigned change = 0; change <= round % 4; ++change) {
        bytes[random() % reach] = static_cast<std::uint8_t>(random());
      }
      LoadBytes(library, bytes);
    }
  }
};

int LargestError(const ImageRecord& a, const ImageRecord& b) {
  int largest = 0;
  for (std::uint32_t i = 0; i < 4 * a.pixelCount; ++i) {
    largest = std::max(largest, std::abs(a.pixels[i] - b.pixels[i]));
  }
  return largest;
}

TEST_F(PluginCodecTest, JpegComesBackAlmostTheSame) {
  const ImageGuard drawing = Drawing(61, 43);
  std::copy_n("a comment", 10, drawing->comment);
  const Bytes best = Saved(kJpegSaver, *drawing, 100);
  const ImageGuard loaded = LoadBytes(kJpegLoader, best);
  ASSERT_TRUE(loaded);
  EXPECT_EQ(loaded->width, 61);
  EXPECT_EQ(loaded->height, 43);
  EXPECT_LE(LargestError(*drawing, *loaded), 6);
  EXPECT_STREQ(loaded->comment, "a comment");
  EXPECT_EQ(host.progress.back().total, 43);

  const Bytes small = Saved(kJpegSaver, *drawing, 40);
  EXPECT_LT(small.size(), best.size() / 2);
  EXPECT_FALSE(Saved(kJpegSaver, *drawing, 0).empty()) << "0 is the lowest quality, not none";

  const ImageGuard grey = Solid(9, 9, {77, 77, 77, 255});
  const Bytes greyFile = Saved(kJpegSaver, *grey, 100);
  EXPECT_EQ(Difference(*grey, *LoadBytes(kJpegLoader, greyFile)), "");
  EXPECT_LT(greyFile.size(), Saved(kJpegSaver, *Solid(9, 9, {77, 78, 77, 255}), 100).size());
}

TEST_F(PluginCodecTest, TiffComesBackTheSame) {
  for (const int compress : {0, 1}) {
    for (const ImageGuard& picture :
         {PhotoLike(61, 43), AlphaGradient(300, 20), Solid(1, 1, {5, 5, 5, 255})}) {
      const ImageGuard loaded = LoadBytes(kTiff, Saved(kTiff, *picture, compress));
      ASSERT_TRUE(loaded);
      EXPECT_EQ(Difference(*picture, *loaded), "") << compress;
    }
  }
  const ImageGuard drawing = Drawing(200, 200);
  std::copy_n("a comment", 10, drawing->comment);
  const Bytes packed = Saved(kTiff, *drawing, 1);
  EXPECT_LT(packed.size(), Saved(kTiff, *drawing, 0).size() / 4);
  EXPECT_STREQ(LoadBytes(kTiff, packed)->comment, "a comment");
  // An image that never had alpha bytes at all has no alpha channel either.
  const ImageGuard zero = FromPixels(2, 1, std::vector<Rgba>{{1, 2, 3, 0}, {4, 5, 6, 0}});
  EXPECT_EQ(PixelAt(*LoadBytes(kTiff, Saved(kTiff, *zero, 0)), 1, 0), (Rgba{4, 5, 6, 255}));
}

struct TiffFields {
  std::uint32_t width = 2, height = 1, bits = 8, samples = 1, photometric = 1;
  std::uint32_t orientation = 1, planes = 1, format = 1;
  int extra = -1;  // what the sample behind the colours is; -1 = not said
  std::uint32_t tile = 0;
  std::uint32_t strip = 0;      // rows; 0 = all
  std::uint32_t missing = ~0u;  // the strip or tile that the file ends before
  bool isHeap = false;          // every strip is all of the data
};

/// A file, low byte first, with its data in one strip, or in as many strips or tiles as there are
/// pieces.
Bytes TiffFile(const TiffFields& f, const Bytes& data, std::uint32_t pieces = 1) {
  using Words = std::vector<std::uint32_t>;
  const auto size = static_cast<std::uint32_t>(data.size());
  Words offsets, sizes(pieces, size / pieces);
  if (f.isHeap) {
    offsets.assign(pieces, 8);
    sizes.assign(pieces, size);
  }
  for (auto i = static_cast<std::uint32_t>(offsets.size()); i < pieces; ++i) {
    offsets.push_back(i == f.missing ? 1u << 20 : 8 + i * (size / pieces));
  }
  std::map<std::uint32_t, Words> tags = {{256, {f.width}},
                                         {257, {f.height}},
                                         {258, Words(f.samples, f.bits)},
                                         {259, {1}},
                                         {262, {f.photometric}},
                                         {273, offsets},
                                         {274, {f.orientation}},
                                         {277, {f.samples}},
                                         {278, {f.strip > 0 ? f.strip : f.height}},
                                         {279, sizes},
                                         {284, {f.planes}},
                                         {339, Words(f.samples, f.format)}};
  if (f.extra >= 0) tags[338] = {static_cast<std::uint32_t>(f.extra)};
  if (f.tile > 0) {
    for (const std::uint32_t tag : {273u, 278u, 279u}) tags.erase(tag);
    tags[322] = tags[323] = {f.tile};
    tags[324] = offsets;
    tags[325] = sizes;
  }
  if (f.photometric == 6) tags[530] = {1, 1};
  if (f.photometric == 3) tags[320] = Words(3u << f.bits, 0x4200);
  const auto count = static_cast<std::uint32_t>(tags.size());
  ByteBuilder file = LittleEndian(), behind = LittleEndian();
  file.U8('I').U8('I').U16(42).U32(8 + size).Raw(data.data(), size).U16(count);
  for (const auto& [tag, words] : tags) {
    file.U16(tag).U16(4).U32(static_cast<std::uint32_t>(words.size()));
    if (words.size() == 1) {
      file.U32(words[0]);
      continue;
    }
    file.U32(8 + size + 2 + 12 * count + 4 + static_cast<std::uint32_t>(behind.size()));
    for (const std::uint32_t word : words) behind.U32(word);
  }
  return file.U32(0).bytes() + behind.bytes();
}

TEST_F(PluginCodecTest, TiffSamplesOfEveryWidth) {
  using Row = std::vector<Rgba>;
  const auto grey = [](int a, int b) {
    const auto x = static_cast<std::uint8_t>(a), y = static_cast<std::uint8_t>(b);
    return Row{{x, x, x, 255}, {y, y, y, 255}};
  };
  const struct {
    TiffFields fields;
    Bytes data;
    Row pixels;
  } files[] = {
      {{.bits = 1}, {0x40}, grey(0, 255)},
      {{.bits = 2}, {0x60}, grey(85, 170)},
      {{.bits = 3}, {0x74}, grey(109, 182)},
      {{.bits = 6, .photometric = 0}, {0x05, 0xF0}, grey(251, 130)},
      {{.bits = 10}, {0xFF, 0xC0, 0x10}, grey(255, 0)},
      {{.bits = 12}, {0x80, 0x0F, 0x00}, grey(128, 239)},
      {{.bits = 14}, {0x20, 0x00, 0xFF, 0xF0}, grey(32, 64)},
      {{.bits = 16}, {0xFF, 0x7F, 0x00, 0x80}, grey(127, 128)},
      {{.bits = 24}, {0, 0, 0x80, 0xFF, 0xFF, 0xFF}, grey(128, 255)},
      {{.bits = 32}, {0, 0, 0, 0x40, 0xFF, 0xFF, 0xFF, 0xFF}, grey(64, 255)},
      {{.bits = 32, .format = 3}, {0, 0, 0, 0x3F, 0, 0, 0xC0, 0xFF}, grey(128, 0)},
      {{.bits = 32, .format = 3}, {0, 0, 0x80, 0x40, 0, 0, 0, 0xBF}, grey(255, 0)},
      {{.bits = 16, .format = 3}, {0x00, 0x38, 0x01, 0x7C}, grey(128, 0)},
      {{.bits = 16, .format = 3}, {0xFF, 0x03, 0x00, 0x3C}, grey(0, 255)},
      {{.bits = 64, .format = 3},
       {0, 0, 0, 0, 0, 0, 0xD0, 0x3F, 0, 0, 0, 0, 0, 0, 0xF0, 0xBF},
       grey(64, 0)},
      {{.bits = 4, .photometric = 3}, {0x1F}, grey(0x42, 0x42)},
      {{.width = 1, .samples = 2, .photometric = 3, .extra = 0},
       {0x1F, 5},
       {{0x42, 0x42, 0x42, 5}}},
      {{.width = 1, .bits = 16, .samples = 4, .photometric = 5},
       {0, 0, 0xFF, 0xFF, 0, 0x80, 0, 0x40},
       {{191, 0, 95, 255}}},
      {{.width = 1, .samples = 3, .photometric = 2, .planes = 2}, {1, 2, 3}, {{1, 2, 3, 255}}},
      // Alpha that nothing was multiplied by, said and not said, and that the colours hold.
      {{.width = 1, .samples = 4, .photometric = 2, .extra = 2}, {9, 8, 7, 5}, {{9, 8, 7, 5}}},
      {{.width = 1, .samples = 4, .photometric = 2, .extra = 0}, {9, 8, 7, 5}, {{9, 8, 7, 5}}},
      {{.width = 1, .samples = 4, .photometric = 2}, {9, 8, 7, 5}, {{9, 8, 7, 5}}},
      {{.width = 1, .samples = 4, .photometric = 2, .extra = 1}, {9, 8, 7, 51}, {{45, 40, 35, 51}}},
      {{.width = 1, .samples = 2, .extra = 2}, {9, 5}, {{9, 9, 9, 5}}},
      {{.width = 1, .bits = 16, .samples = 2, .extra = 2}, {0, 9, 5, 5}, {{9, 9, 9, 5}}},
  };
  for (const auto& file : files) {
    const std::uint32_t planes = file.fields.planes == 2 ? file.fields.samples : 1;
    const ImageGuard image = LoadBytes(kTiff, TiffFile(file.fields, file.data, planes));
    EXPECT_EQ(Pixels(image), file.pixels) << file.fields.bits << " " << PluginFailure();
  }
}

TEST_F(PluginCodecTest, TiffOrientations) {
  // 1 2 3 over 4 5 6, as it is shown in each orientation.
  const std::vector<int> shown[] = {{1, 2, 3, 4, 5, 6}, {3, 2, 1, 6, 5, 4}, {6, 5, 4, 3, 2, 1},
                                    {4, 5, 6, 1, 2, 3}, {1, 4, 2, 5, 3, 6}, {4, 1, 5, 2, 6, 3},
                                    {6, 3, 5, 2, 4, 1}, {3, 6, 2, 5, 1, 4}};
  for (std::uint32_t orientation = 1; orientation <= 8; ++orientation) {
    SCOPED_TRACE(orientation);
    TiffFields fields = {.width = 3, .height = 2, .orientation = orientation};
    const ImageGuard plain = LoadBytes(kTiff, TiffFile(fields, {1, 2, 3, 4, 5, 6}));
    fields.samples = 3;
    fields.photometric = 6;  // luminance and no colour, which libtiff converts
    Bytes colour;
    for (std::uint8_t y = 1; y <= 6; ++y) colour = colour + Bytes{y, 128, 128};
    const ImageGuard converted = LoadBytes(kTiff, TiffFile(fields, colour));
    for (const ImageGuard* image : {&plain, &converted}) {
      ASSERT_TRUE(*image);
      EXPECT_EQ(image->get()->width, orientation > 4 ? 2 : 3);
      std::vector<int> greens;
      for (const Rgba& pixel : Pixels(*image)) greens.push_back(pixel.g);
      EXPECT_EQ(greens, shown[orientation - 1]);
    }
  }
}

TEST_F(PluginCodecTest, TiffTilesOfAnySize) {
  // Four tiles of 16 x 16 on a picture of 20 x 18.
  Bytes data;
  for (std::uint8_t tile = 1; tile <= 4; ++tile) data = data + Bytes(256, tile);
  const ImageGuard image =
      LoadBytes(kTiff, TiffFile({.width = 20, .height = 18, .tile = 16}, data, 4));
  ASSERT_TRUE(image) << PluginFailure();
  EXPECT_EQ(PixelAt(*image, 15, 15).r, 1);
  EXPECT_EQ(PixelAt(*image, 16, 15).r, 2);
  EXPECT_EQ(PixelAt(*image, 15, 17).r, 3);
  EXPECT_EQ(PixelAt(*image, 19, 17).r, 4);
}

TEST_F(PluginCodecTest, TiffsThatAreNotReadHaveAReason) {
  const std::pair<TiffFields, const char*> files[] = {
      {{.bits = 24, .format = 3}, "floating-point samples of 24 bits"},
      {{.bits = 64}, "samples of 64 bits"},
      {{.bits = 8, .format = 5}, "complex samples"},
      {{.photometric = 5}, "too few samples"},
      {{.photometric = 32803}, "PhotometricInterpretation"},
      {{.samples = 100}, "100 samples to a pixel"},
      {{.width = 60000, .height = 60000}, "too short for its picture"},
      {{.height = 16, .tile = 32752}, "too short for its tiles"}};
  for (const auto& [fields, reason] : files) {
    EXPECT_FALSE(LoadBytes(kTiff, TiffFile(fields, Bytes(400, 1)))) << reason;
    EXPECT_THAT(PluginFailure(), testing::HasSubstr(reason));
  }
  const TiffFields heap = {.height = 400, .strip = 1, .isHeap = true};
  EXPECT_FALSE(LoadBytes(kTiff, TiffFile(heap, Bytes(1000, 1), 400)));
  EXPECT_THAT(PluginFailure(), testing::HasSubstr("lie over each other"));
}

TEST_F(PluginCodecTest, DamagedFilesDoNoHarm) {
  LoadDamaged(kJpegLoader, Saved(kJpegSaver, *PhotoLike(40, 30), 70));
  LoadDamaged(kTiff, Saved(kTiff, *PhotoLike(20, 15), 1));
  LoadDamaged(kTiff, Saved(kTiff, *AlphaGradient(20, 15), 0));
  LoadDamaged(kTiff,
              TiffFile({.width = 20, .height = 18, .bits = 4, .tile = 16}, Bytes(512, 77), 4));
}

TEST_F(PluginCodecTest, RowsBeforeAFaultAreKept) {
  const ImageGuard picture = PhotoLike(200, 160);
  Bytes jpeg = Saved(kJpegSaver, *picture, 90);
  jpeg.resize(jpeg.size() / 2);
  const ImageGuard fromJpeg = LoadBytes(kJpegLoader, jpeg);
  ASSERT_TRUE(fromJpeg);
  EXPECT_NEAR(PixelAt(*fromJpeg, 20, 20).r, PixelAt(*picture, 20, 20).r, 40);
  EXPECT_TRUE(FileEndedEarly(true));
  for (const std::size_t length : {jpeg.size() / 2, std::size_t{100}, std::size_t{3}}) {
    BeginLoadOutcome();
    jpeg.resize(length);
    EXPECT_TRUE(FileEndedEarly(static_cast<bool>(LoadBytes(kJpegLoader, jpeg)))) << length;
  }

  Bytes tiff = Saved(kTiff, *picture, 1);  // two strips, the second from row 109 on
  for (const std::size_t length : {tiff.size() * 9 / 10, tiff.size() / 2, std::size_t{5}}) {
    BeginLoadOutcome();
    EXPECT_FALSE(LoadBytes(kTiff, Bytes(tiff.data(), tiff.data() + length)));
    EXPECT_TRUE(FileEndedEarly(false)) << length << ": the directory stands at the end";
  }
  BeginLoadOutcome();
  EXPECT_TRUE(LoadBytes(kTiff, tiff));
  EXPECT_EQ(PluginFailure(), "");
  std::fill_n(tiff.begin() + static_cast<std::ptrdiff_t>(tiff.size() * 8 / 10), 100,
              std::uint8_t{0xFF});
  const ImageGuard fromTiff = LoadBytes(kTiff, tiff);
  ASSERT_TRUE(fromTiff);
  EXPECT_EQ(PixelAt(*fromTiff, 20, 20), PixelAt(*picture, 20, 20));
  EXPECT_EQ(PixelAt(*fromTiff, 20, 159), (Rgba{0, 0, 0, 0}));
  EXPECT_THAT(PluginFailure(), testing::HasSubstr("not all of its pixels"));
  EXPECT_FALSE(FileEndedEarly(true)) << "damaged, not cut";
}

TEST_F(PluginCodecTest, WhatLiesBehindADamagedPartOfATiffIsReadAsOthersDo) {
  const TiffFields files[] = {
      {.width = 4, .height = 6, .strip = 2, .missing = 1},
      {.width = 4, .height = 6, .samples = 3, .photometric = 6, .strip = 2, .missing = 1},
      {.width = 16, .height = 48, .tile = 16, .missing = 1}};
  for (const TiffFields& fields : files) {
    SCOPED_TRACE(fields.tile + fields.samples);
    TiffFields wholeFields = fields;
    wholeFields.missing = ~0u;
    const Bytes data(std::size_t{fields.width} * fields.height * fields.samples, 100);
    const auto last = static_cast<std::int32_t>(fields.height) - 1;
    const auto load = [&](const TiffFields& f) { return LoadBytes(kTiff, TiffFile(f, data, 3)); };

    const ImageGuard exact = load(fields);
    ASSERT_TRUE(exact) << PluginFailure();
    EXPECT_EQ(PixelAt(*exact, 0, last), (Rgba{0, 0, 0, 0}));
    const QuirkScope scope(AllQuirks());
    const ImageGuard whole = load(wholeFields);
    EXPECT_FALSE(scope.applied().any());
    BeginLoadOutcome();
    const ImageGuard salvaged = load(fields);
    EXPECT_TRUE(FileEndedEarly(true));
    EXPECT_TRUE(scope.applied()[kTiffDamage]);
    ASSERT_TRUE(whole && salvaged);
    EXPECT_EQ(PixelAt(*salvaged, 0, 0), PixelAt(*whole, 0, 0));
    EXPECT_EQ(PixelAt(*salvaged, 0, last), PixelAt(*whole, 0, last));
    if (fields.samples > 1) continue;  // libtiff gives the strip before again
    EXPECT_EQ(PixelAt(*salvaged, 0, last / 2), (Rgba{0, 0, 0, 0}));
  }
}

// Sizes that nothing in the file stands behind take no memory.
TEST_F(PluginCodecTest, PromisesWithoutData) {
  Bytes jpeg = Saved(kJpegSaver, *Solid(16, 16, {1, 2, 3, 255}), 50);
  const Bytes frame = {0xFF, 0xC0, 0, 17, 8};
  const auto at = std::search(jpeg.begin(), jpeg.end(), frame.begin(), frame.end()) + 5;
  ASSERT_LT(at, jpeg.end() - 4);
  std::fill_n(at, 4, std::uint8_t{0xF0});
  EXPECT_FALSE(LoadBytes(kJpegLoader, jpeg));

  Bytes tiff = Saved(kTiff, *Solid(16, 16, {1, 2, 3, 255}), 1);
  // The two tags are the first of the directory: width, height, each with its value in bytes 8..11.
  const Bytes width = {0, 1, 3, 0, 1, 0, 0, 0, 16, 0, 0, 0, 1, 1};
  const auto tag = std::search(tiff.begin(), tiff.end(), width.begin(), width.end());
  ASSERT_NE(tag, tiff.end());
  tag[8] = tag[9] = tag[20] = tag[21] = 0xFF;
  EXPECT_FALSE(LoadBytes(kTiff, tiff));
  for (const ProgressRun& run : host.progress) EXPECT_LT(run.total, 100) << "tried to decode";
}

TEST_F(PluginCodecTest, FailuresAreTold) {
  const ImageGuard picture = Drawing(8, 8);
  const Bytes jpeg = Saved(kJpegSaver, *picture, 80);
  const Bytes tiff = Saved(kTiff, *picture, 1);
  for (const char* library : {kJpegSaver, kTiff}) {
    EXPECT_NE(SaveWithPlugin(picture.get(), temp.file("no/such").c_str(), library, 1), 0);
  }
  for (int n = 0; n < 3; ++n) {
    const AllocationFailure failure(n);
    EXPECT_FALSE(LoadBytes(kJpegLoader, jpeg));
    EXPECT_TRUE(failure.reached());
  }
  EXPECT_FALSE(LoadBytes(kJpegLoader, tiff));
  EXPECT_FALSE(LoadBytes(kTiff, jpeg));
  EXPECT_FALSE(LoadWithPlugin(temp.file("missing").c_str(), kTiff));

  EXPECT_FALSE(LoadBytes(kJpegSaver, jpeg));
  EXPECT_THAT(PluginFailure(), testing::HasSubstr("no loader"));
  EXPECT_EQ(SaveWithPlugin(picture.get(), temp.file("out").c_str(), kJpegLoader, 1), 1);
  EXPECT_THAT(PluginFailure(), testing::HasSubstr("no saver"));
  EXPECT_FALSE(LoadBytes("MISSING.DLL", jpeg));
  EXPECT_THAT(PluginFailure(), testing::StartsWith("plug-in library MISSING.DLL: "));
}

}  // namespace
}  // namespace imx::test
