#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "formats/codec_state.h"
#include "imagelib/core/guards.h"
#include "imagelib/core/registry.h"
#include "imagelib/dispatch/load.h"
#include "imagelib/dispatch/save.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::IsEmpty;

constexpr const char* kUnknown = "unknown";

ByteBuilder Big() {
  return ByteBuilder(ByteOrder::big);
}

/// 100 zero bytes with `bytes` from `offset` on.
Bytes Padded(std::size_t offset, const Bytes& bytes) {
  Bytes all(100);
  std::copy(bytes.begin(), bytes.end(), all.begin() + static_cast<std::ptrdiff_t>(offset));
  return all;
}

Bytes Text(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

class LoadTest : public LibraryTest {
 protected:
  void TearDown() override {
    Raw() = RawState();
    LibraryTest::TearDown();
  }

  std::string LabelOf(const std::string& name, const Bytes& bytes) {
    const FileKind kind = IdentifyFile(temp.Write(name, bytes).c_str());
    return kind.label ? kind.label : kUnknown;
  }

  /// The image saved as `extension`, under the name `file`, and loaded again.
  ImageGuard SavedAndLoaded(const char* extension, const std::string& file) {
    const ImageGuard image = PhotoLike(20, 10);
    image->saveType = TypeRowByExtension(extension);
    image->saveDepth = 0;
    const std::string path = temp.file(file);
    SaveImage(path.c_str(), image.get());
    return ImageGuard(LoadImage(path.c_str()));
  }
};

// Offsets of what tells the type stand in each format's public description.
const Bytes kGif = Text("GIF89a");
const Bytes kJfif = Big().U32(0xFFD8FFE0).U16(16).Text("JFIF").List({0, 1, 2}).bytes();
const Bytes kSgi = Big().U16(474).bytes();
const Bytes kBmp = Text("BM");
const Bytes kTarga = Big().List({0, 0, 2}).Repeat(0, 15).bytes();
const Bytes kPcx = Big().List({10, 5, 1, 8}).bytes();
const Bytes kAlias24 = Big().U16(4).U16(4).U16(0).U16(0).U16(24).bytes();
const Bytes kFlc = Big().U32(0).List({0x12, 0xAF}).bytes();
const Bytes kAvi = Big().Text("RIFF").U32(0).Text("AVI LIST").bytes();
const Bytes kDem = Text("Quadrangle name, 3-arc-second");
const Bytes kSoftimage =
    Big().U32(0x5380F634).U32(0).Repeat(0, 80).Text("PICT").U16(1).U16(1).U32(0).U32(0).bytes();
/// Window 0..9 by 0..4, three colour channels, no matte, revision -2, gamma "2.2".
const Bytes kWavefront = Big()
                             .U16(0)
                             .U16(9)
                             .U16(0)
                             .U16(4)  //  0: window
                             .U16(0)
                             .U16(9)
                             .U16(0)
                             .U16(4)  //  8: active window
                             .U16(1)
                             .U16(0)
                             .U16(3)
                             .U16(0)  // 16: frame, storage, channels, matte
                             .U16(0)
                             .U16(0xFFFE)  // 24: auxiliary, revision
                             .Text("2.2")
                             .Repeat(0, 69)  // 28: gamma and what follows
                             .bytes();

TEST_F(LoadTest, TypesAreToldByContentAndForSomeByName) {
  const struct {
    const char* name;
    Bytes bytes;
    const char* label;
  } kCases[] = {
      {"a", Text("\x89PNG\r\n\x1A\n"), "PNG"},
      {"a", Text("8BPS"), "PSD"},
      {"a", kSoftimage, "SFI"},
      {"a", Padded(0, Text("\x53\x80\xF6\x34")), kUnknown},
      {"a", kWavefront, "RLA"},
      {"a", Text("FORM"), "IFF"},
      {"a", Text("FORM....AIFF"), "IFF"},
      {"a", Text("ILBM"), "IFF"},
      {"a", Text("LIST"), kUnknown},
      {"a", kGif, "GIF"},
      {"a", kJfif, "JPEG"},
      {"a", Big().Raw(kJfif.data(), 12).U8(3).bytes(), kUnknown},
      {"a", Big().Raw(kJfif.data(), 11).U8(2).U8(0).bytes(), kUnknown},
      {"a", Big().U32(0xFFD8FFE1).U16(16).Text("Exif").List({0, 1, 2}).bytes(), kUnknown},
      {"a", kSgi, "SGI"},
      {"a", kBmp, "BMP"},
      {"a", Text("II*"), "TIFF"},
      {"a", Text("MM"), "TIFF"},
      {"a.pcx", kPcx, "PCX"},
      {"a.PCX", kPcx, "PCX"},
      {"a.pcy", kPcx, kUnknown},
      {"a.pcx", Big().List({11, 5, 1, 8}).bytes(), kUnknown},
      {"a.pix", kAlias24, "PIX"},
      {"a.PIX", Padded(8, Big().U16(8).bytes()), "PIX"},
      {"a.pix", Padded(8, Big().U16(32).bytes()), kUnknown},
      {"a.pix", Bytes(kAlias24.begin(), kAlias24.end() - 1), kUnknown},
      {"a.pic", kAlias24, kUnknown},
      {"a.tga", kTarga, "Targa"},
      {"A.TGA", kTarga, "Targa"},
      {"a.targa", kTarga, kUnknown},
      {"a.tga", Padded(2, Bytes{11}), "Targa"},
      {"a.tga", Padded(2, Bytes{4}), kUnknown},
      {"a.tga", Padded(2, Bytes{0}), kUnknown},
      {"a.raw", Text("x"), "RAW"},
      {"a.GBR", Text("x"), "RAW"},
      {"a.gr", Text("x"), "RAW"},
      {"a", Text("P6"), "PPM"},
      {"a", Text("P3"), "PPM"},
      {"a", Text("P5"), kUnknown},
      {"a.flc", kFlc, "FLC"},
      {"a.FLI", Padded(4, Bytes{0x11, 0xAF}), "FLC"},
      {"a.fli", Padded(4, Bytes{0x13, 0xAF}), kUnknown},
      {"a.fla", kFlc, kUnknown},
      {"a", kAvi, "AVI"},
      {"a", Text("RIFF....WAVE"), kUnknown},
      {"a.dem", kDem, "DEM"},
      {"a.dem", Text("Vista DEM File\x01\x02"), "DEM"},
      {"a.dem", Padded(0, Text("two")), kUnknown},
      {"a.txt", kDem, kUnknown},
      {"a", Bytes(100), kUnknown},
      {"a.tga", Bytes(), kUnknown},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(LabelOf(c.name, c.bytes), c.label)
        << c.name << " " << testing::PrintToString(c.bytes);
  }
}

TEST_F(LoadTest, TheFirstMatchingTestDecides) {
  // Each file passes both tests; the earlier one is named.
  const Bytes bmpAndTarga = Big().Text("BM").U8(2).Repeat(0, 20).bytes();
  EXPECT_EQ(LabelOf("a.tga", bmpAndTarga), "BMP");
  EXPECT_EQ(LabelOf("a.raw", Text("II")), "TIFF");
  EXPECT_EQ(LabelOf("a.rgb", kSgi), "SGI");
  EXPECT_EQ(LabelOf("a.raw", Text("P6")), "RAW");
  EXPECT_EQ(LabelOf("a.red", Text("FORM")), "IFF");
  EXPECT_EQ(LabelOf("a.dem", Text("P3 a portable pixmap")), "PPM");
  EXPECT_EQ(LabelOf("a.dem", Text("GIF is not read as text")), "GIF");
  Bytes rlaAndIff = kWavefront;
  rlaAndIff[0] = 'F', rlaAndIff[1] = 'O', rlaAndIff[2] = 'R', rlaAndIff[3] = 'M';
  EXPECT_EQ(LabelOf("a.iff", rlaAndIff), "RLA");
}

TEST_F(LoadTest, AChosenRawKindTakesWhatNoEarlierTestKnows) {
  Raw().kind = 0;
  EXPECT_EQ(LabelOf("a.bin", Text("anything")), "RAW");
  EXPECT_EQ(LabelOf("a.bin", Text("P6")), "RAW");
  EXPECT_EQ(LabelOf("a.tga", kTarga), "Targa");
}

TEST_F(LoadTest, WavefrontFilesAgreeInMoreThanOneField) {
  const auto changed = [](std::size_t offset, int value) {
    Bytes bytes = kWavefront;
    bytes.at(offset + 1) = static_cast<std::uint8_t>(value);
    return bytes;
  };
  EXPECT_EQ(LabelOf("a", changed(22, 1)), "RLA") << "a matte channel";
  EXPECT_EQ(LabelOf("a", changed(22, 2)), kUnknown);
  EXPECT_EQ(LabelOf("a", changed(18, 1)), kUnknown) << "words, not bytes";
  EXPECT_EQ(LabelOf("a", changed(20, 1)), kUnknown) << "one colour channel";
  EXPECT_EQ(LabelOf("a", changed(26, 0xFD)), kUnknown) << "another revision";
  EXPECT_EQ(LabelOf("a", changed(8, 10)), kUnknown) << "left beyond right";
  EXPECT_EQ(LabelOf("a", changed(12, 5)), kUnknown) << "bottom beyond top";
  EXPECT_EQ(LabelOf("a", changed(28, 0xFF)), kUnknown) << "gamma is no text";
  EXPECT_EQ(LabelOf("a", Bytes(kWavefront.begin(), kWavefront.end() - 1)), kUnknown);
}

TEST_F(LoadTest, EveryPrefixIsProbedWithinItsBounds) {
  for (const Bytes* whole : {&kSoftimage, &kWavefront, &kJfif, &kAvi, &kAlias24}) {
    for (std::size_t size = 0; size < whole->size(); ++size) {
      LabelOf("a.pix", Bytes(whole->begin(), whole->begin() + static_cast<std::ptrdiff_t>(size)));
    }
  }
}

TEST_F(LoadTest, WhatCannotBeOpenedOrIsUnknownGivesNothingSilently) {
  EXPECT_EQ(LoadImage(temp.file("missing.png").c_str()), nullptr);
  EXPECT_EQ(IdentifyFile(temp.file("missing.png").c_str()).label, nullptr);
  EXPECT_EQ(LoadImage(temp.path().c_str()), nullptr) << "a folder";
  EXPECT_EQ(LoadImage(temp.Write("a.trm", "some text").c_str()), nullptr);
  EXPECT_EQ(LoadImage(temp.Write("a.iff", "FORM....AIFF").c_str()), nullptr);
  EXPECT_THAT(host.errors, IsEmpty());
  EXPECT_THAT(host.notes, IsEmpty());
}

TEST_F(LoadTest, PngAndIffStoreARegistryRowOthersATypeId) {
  const ImageGuard png = SavedAndLoaded("png", "a.dat");
  ASSERT_TRUE(png);
  EXPECT_EQ(png->fileType, 23) << "the row; the type id is 12";
  EXPECT_STREQ(png->formatLabel, "PNG");

  const ImageGuard ppm = SavedAndLoaded("ppm", "a.dat");
  ASSERT_TRUE(ppm);
  EXPECT_EQ(ppm->fileType, 23) << "the type id; the row is 22";
  EXPECT_STREQ(ppm->formatLabel, "PPM");
}

TEST_F(LoadTest, TheNameTellsWhatAnIffFileIs) {
  std::filesystem::create_directory(temp.file("folder.trm"));
  const struct {
    const char* file;
    const char* extension;
    const char* label;
    std::int32_t row;
  } kCases[] = {
      {"a.trm", ".trm", "TRM", 24},        {"a.b.TrM", ".TrM", "TRM", 24},
      {"a.iff", ".iff", "IFF", 19},        {"a.ilbm", ".ilbm", "ILBM", -1},
      {"plain", ".iff", "IFF", 19},        {"a.png", ".png", "PNG", 23},
      {"folder.trm/a", ".iff", "IFF", 19},
  };
  for (const auto& c : kCases) {
    const ImageGuard image = SavedAndLoaded("iff", c.file);
    ASSERT_TRUE(image) << c.file;
    EXPECT_STREQ(image->extension, c.extension) << c.file;
    EXPECT_STREQ(image->formatLabel, c.label) << c.file;
    EXPECT_EQ(image->fileType, c.row) << c.file;
  }
}

}  // namespace
}  // namespace imx::test
