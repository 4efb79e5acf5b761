#include "dispatch/load.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "dispatch/save.h"
#include "formats/codec_state.h"
#include "imagelib/guards.h"
#include "imagelib/registry.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::IsEmpty;

constexpr const char* kUnknown = "unknown";

/// `bytes` with zeros behind them.
Bytes Padded(const Bytes& bytes) {
  return bytes + Bytes(100 - bytes.size());
}

Bytes Text(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

class LoadTest : public LibraryTest {
 protected:
  LoadTest() { Raw() = RawState(); }

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
const Bytes kJfif = BigEndian().U32(0xFFD8FFE0).U16(16).Text("JFIF").List({0, 1, 2}).bytes();
const Bytes kSgi = BigEndian().U16(474).bytes();
const Bytes kTarga = BigEndian().List({0, 0, 2}).Repeat(0, 15).bytes();
const Bytes kPcx = BigEndian().List({10, 5, 1, 8}).bytes();
const Bytes kAlias24 = BigEndian().U16(4).U16(4).U16(0).U16(0).U16(24).bytes();
const Bytes kFlc = BigEndian().U32(0).List({0x12, 0xAF}).bytes();
const Bytes kAvi = BigEndian().Text("RIFF").U32(0).Text("AVI LIST").bytes();
const Bytes kDem = Text("Quadrangle name, 3-arc-second");
const Bytes kSoftimage =
    BigEndian().U32(0x5380F634).Repeat(0, 84).Text("PICT").List({0, 1, 0, 1}).Repeat(0, 8).bytes();
/// Twice the window 0..9 by 0..4; from 16 on frame, storage, three colour channels, no matte, and
/// the revision -2; from 28 on the gamma.
const Bytes kWavefront = BigEndian()
                             .List({0, 0, 0, 9, 0, 0, 0, 4})
                             .List({0, 0, 0, 9, 0, 0, 0, 4})
                             .List({0, 1, 0, 0, 0, 3, 0, 0, 0, 0, 0xFF, 0xFE})
                             .Text("2.2")
                             .Repeat(0, 69)
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
      {"a", Padded(Part(kSoftimage, 0, 4)), kUnknown},
      {"a", Text("FORM"), "IFF"},
      {"a", Text("ILBM"), "IFF"},
      {"a", Text("LIST"), kUnknown},
      {"a", Text("GIF89a"), "GIF"},
      {"a", kJfif, "JPEG"},
      {"a", WithByte(kJfif, 3, 0xE1), kUnknown},
      {"a", WithByte(kJfif, 6, 'E'), kUnknown},
      {"a", WithByte(kJfif, 11, 2), kUnknown},
      {"a", WithByte(kJfif, 12, 3), kUnknown},
      {"a", kSgi, "SGI"},
      {"a", Text("BM"), "BMP"},
      {"a", Text("II*"), "TIFF"},
      {"a", Text("MM"), "TIFF"},
      {"a.PCX", kPcx, "PCX"},
      {"a.pcy", kPcx, kUnknown},
      {"a.pcx", WithByte(kPcx, 0, 11), kUnknown},
      {"a.pix", kAlias24, "PIX"},
      {"a.PIX", WithByte(kAlias24, 9, 8), "PIX"},
      {"a.pix", WithByte(kAlias24, 9, 32), kUnknown},
      {"a.pix", Part(kAlias24, 0, 9), kUnknown},
      {"a.pic", kAlias24, kUnknown},
      {"A.TGA", kTarga, "Targa"},
      {"a.targa", kTarga, kUnknown},
      {"a.tga", WithByte(kTarga, 2, 11), "Targa"},
      {"a.tga", WithByte(kTarga, 2, 4), kUnknown},
      {"a.tga", WithByte(kTarga, 2, 0), kUnknown},
      {"a.GBR", Text("x"), "RAW"},
      {"a.gr", Text("x"), "RAW"},
      {"a", Text("P6"), "PPM"},
      {"a", Text("P3"), "PPM"},
      {"a", Text("P5"), kUnknown},
      {"a.flc", kFlc, "FLC"},
      {"a.FLI", WithByte(kFlc, 4, 0x11), "FLC"},
      {"a.fli", WithByte(kFlc, 4, 0x13), kUnknown},
      {"a.fla", kFlc, kUnknown},
      {"a", kAvi, "AVI"},
      {"a", Text("RIFF....WAVE"), kUnknown},
      {"a.dem", kDem, "DEM"},
      {"a.dem", Text("Vista DEM File\x01\x02"), "DEM"},
      {"a.dem", Padded(Text("two")), kUnknown},
      {"a.txt", kDem, kUnknown},
      {"a", Bytes(100), kUnknown},
      {"a.tga", Bytes(), kUnknown},

      {"a", kWavefront, "RLA"},
      {"a", WithByte(kWavefront, 23, 1), "RLA"},  // a matte channel
      {"a", WithByte(kWavefront, 23, 2), kUnknown},
      {"a", WithByte(kWavefront, 19, 1), kUnknown},     // words, not bytes
      {"a", WithByte(kWavefront, 21, 1), kUnknown},     // one colour channel
      {"a", WithByte(kWavefront, 27, 0xFD), kUnknown},  // another revision
      {"a", WithByte(kWavefront, 9, 10), kUnknown},     // left beyond right
      {"a", WithByte(kWavefront, 13, 5), kUnknown},     // bottom beyond top
      {"a", WithByte(kWavefront, 29, 0xFF), kUnknown},  // a gamma that is no text
      {"a", Part(kWavefront, 0, 99), kUnknown},

      // Both tests match; the earlier one decides.
      {"a.tga", BigEndian().Text("BM").U8(2).Repeat(0, 20).bytes(), "BMP"},
      {"a.raw", Text("II"), "TIFF"},
      {"a.rgb", kSgi, "SGI"},
      {"a.raw", Text("P6"), "RAW"},
      {"a.red", Text("FORM"), "IFF"},
      {"a.dem", Text("P3 a portable pixmap"), "PPM"},
      {"a.dem", Text("GIF is not read as text"), "GIF"},
      {"a", BigEndian().Text("FORM").Raw(kWavefront.data() + 4, 96).bytes(), "RLA"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(LabelOf(c.name, c.bytes), c.label)
        << c.name << " " << testing::PrintToString(c.bytes);
  }
  EXPECT_EQ(Raw().kind, -1) << "nothing is noted";
}

TEST_F(LoadTest, TypesToOtherPrograms) {
  const QuirkScope interop(AllQuirks());
  for (const int marker : {0xDB, 0xE1, 0xEE}) {
    EXPECT_EQ(LabelOf("a", WithByte(kJfif, 3, marker)), std::string("JPEG"));
  }
  for (const char* start : {"P1 1", "P2#", "P4\n", "P5\t", "P7\r"}) {
    EXPECT_EQ(LabelOf("a", Text(start)), std::string("PPM")) << start;
  }
  EXPECT_EQ(LabelOf("a", Text("P5x")), std::string(kUnknown));
  EXPECT_EQ(LabelOf("a", WithByte(kJfif, 2, 0xFE)), std::string(kUnknown));
}

TEST_F(LoadTest, AChosenRawKindTakesWhatNoEarlierTestKnows) {
  Raw().kind = 0;
  EXPECT_EQ(LabelOf("a.bin", Text("anything")), "RAW");
  EXPECT_EQ(LabelOf("a.bin", Text("P6")), "RAW");
  EXPECT_EQ(LabelOf("a.tga", kTarga), "Targa");
}

TEST_F(LoadTest, EveryPrefixIsProbedWithinItsBounds) {
  for (const Bytes* whole : {&kSoftimage, &kWavefront, &kJfif, &kAvi, &kAlias24}) {
    for (std::size_t size = 0; size < whole->size(); ++size) {
      LabelOf("a.pix", Part(*whole, 0, size));
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

TEST_F(LoadTest, TellsWhyThereIsNoImage) {
  const LoadChoices none, grey{.rawKind = 0, .rawWidth = 3, .rawHeight = 2};
  const Bytes words = Text("words!"), huge = Text("P6 20000 20000 255\n");
  const struct {
    const char* name;
    Bytes bytes;
    LoadChoices choices;
    LoadFailure failure;
    const char* reason;
    LoadWant want = LoadWant::nothing;
  } kCases[] = {
      {"a.tga", {}, grey, LoadFailure::empty, "is empty"},
      {"a", words, none, LoadFailure::notKnown, "not an image of a known type",
       LoadWant::rawLayout},
      {"a", words, grey, LoadFailure::none, ""},
      {"a.bgr", words, none, LoadFailure::choiceMissing, "has no header", LoadWant::rawLayout},
      {"a.bgr",
       words,
       {.rawWidth = 2, .rawHeight = 2},
       LoadFailure::choiceMissing,
       "has no header",
       LoadWant::rawLayout},
      {"a.bgr", words, {.rawWidth = 2, .rawHeight = 1}, LoadFailure::none, ""},
      {"a.flc", kFlc, none, LoadFailure::endedEarly, "the file ends early"},
      {"a.ppm",
       huge,
       {.maxBytes = 1 << 20},
       LoadFailure::aboveLimit,
       "its pixels take 1526 MiB, the limit is 1"},
      {"a.ppm", Text("P6 65536 65536 255\n"), none, LoadFailure::tooLarge,
       "its pixels take 16384 MiB, more than an image can have"},
      {"a.sgi", BigEndian().U16(474).Repeat(9, 600).bytes(), none, LoadFailure::damaged,
       "not a readable SGI image"},
  };
  for (const auto& c : kCases) {
    const LoadResult result = Load(temp.Write(c.name, c.bytes).c_str(), c.choices);
    EXPECT_EQ(result.failure, c.failure) << c.reason;
    EXPECT_EQ(result.reason, c.reason);
    EXPECT_EQ(result.want, c.want) << c.reason;
    EXPECT_EQ(static_cast<bool>(result.image), c.failure == LoadFailure::none) << c.reason;
  }
  EXPECT_EQ(Load(temp.file("missing").c_str(), none).failure, LoadFailure::cannotOpen);
  EXPECT_EQ(Load(temp.path().c_str(), none).failure, LoadFailure::cannotOpen);

  Bytes flic = Padded(kFlc);
  flic.resize(128);
  flic[6] = 7;  // frames
  const LoadResult result = Load(temp.Write("a.flc", flic).c_str(), none);
  EXPECT_EQ(result.want, LoadWant::frame);
  EXPECT_EQ(result.frames, 7);
}

TEST_F(LoadTest, WhatIsNotWholeIsReadAsOthersDoWhereThatGivesAll) {
  Bytes greyRuns = BigEndian().List({0, 0, 11}).Repeat(0, 9).List({3, 0, 1, 0, 8, 0}).bytes();
  const LoadChoices atNeed{.way = ReadingWay::atNeed};
  const auto load = [&](const Bytes& end) {
    return Load(temp.Write("a.tga", greyRuns + end).c_str(), atNeed);
  };
  const LoadResult whole = load({0x82, 7});
  EXPECT_EQ(whole.failure, LoadFailure::none);
  EXPECT_EQ(whole.note, "read as other programs do (targa-grey); --exact refuses it");
  EXPECT_EQ(PixelAt(*whole.image, 2, 0).r, 7);
  const LoadResult cut = load({0x81, 7});
  EXPECT_EQ(cut.failure, LoadFailure::endedEarly);
  EXPECT_EQ(PixelAt(*cut.image, 0, 0).r, 0x81) << "the library's own";

  // Others show the first frame, the library the damaged one over it.
  const Bytes screen = LittleEndian().Text("GIF89a").Words({2, 1}).List({0x80, 0, 0}).bytes();
  const Bytes frame = {0x2C, 0, 0, 0, 0, 2, 0, 1, 0, 0, 2};
  const Bytes gif = screen + Bytes{0, 0, 0, 255, 255, 255} + frame + Bytes{2, 0x44, 0x0A, 0} +
                    frame + Bytes{1, 0x2C, 0, 0x3B};
  const LoadResult damaged = Load(temp.Write("a.gif", gif).c_str(), atNeed);
  EXPECT_EQ(damaged.failure, LoadFailure::none);
  EXPECT_EQ(damaged.note, "read as other programs do (gif-screen); --exact refuses it");
}

TEST_F(LoadTest, WithoutMemoryThereIsNoImage) {
  for (const char* type : {"bmp", "trm", "tga", "png", "gif", "pic"}) {
    const std::string path = temp.file(std::string("a.") + type);
    ASSERT_TRUE(SavedAndLoaded(type, std::string("a.") + type)) << type;
    for (int n = 0;; ++n) {
      const AllocationFailure failure(n);
      const LoadResult result = Load(path.c_str(), {});
      EXPECT_EQ(static_cast<bool>(result.image), !failure.reached()) << type << n;
      if (!failure.reached()) break;
      EXPECT_EQ(result.failure, LoadFailure::outOfMemory) << type << n;
    }
  }
}

// PNG and IFF files get the registry row that their extension has, others their type id. What an
// IFF file is its name tells.
TEST_F(LoadTest, TypesAndLabelsThatTheRecordGets) {
  std::filesystem::create_directory(temp.file("folder.trm"));
  const struct {
    const char* type;
    const char* file;
    const char* extension;
    const char* label;
    std::int32_t fileType;
  } kCases[] = {
      {"png", "a.dat", ".png", "PNG", 23},        {"ppm", "a.dat", "", "PPM", 23},
      {"iff", "a.trm", ".trm", "TRM", 24},        {"iff", "a.b.TrM", ".TrM", "TRM", 24},
      {"iff", "a.iff", ".iff", "IFF", 19},        {"iff", "a.ilbm", ".ilbm", "ILBM", -1},
      {"iff", "plain", ".iff", "IFF", 19},        {"iff", "a.png", ".png", "PNG", 23},
      {"iff", "folder.trm/a", ".iff", "IFF", 19},
  };
  for (const auto& c : kCases) {
    const ImageGuard image = SavedAndLoaded(c.type, c.file);
    ASSERT_TRUE(image) << c.file;
    EXPECT_STREQ(image->extension, c.extension) << c.file;
    EXPECT_STREQ(image->formatLabel, c.label) << c.file;
    EXPECT_EQ(image->fileType, c.fileType) << c.file;
  }
}

}  // namespace
}  // namespace imx::test
