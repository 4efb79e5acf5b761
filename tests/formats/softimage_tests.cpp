#include "formats/softimage.h"
#include "imagelib/core/save_outcome.h"
#include "tests/formats/common_builder.h"
#include "tests/formats/station_builder.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class SoftimageTest : public LibraryTest {
 protected:
  ImageGuard Load(const Bytes& bytes) {
    return ImageGuard(LoadSoftimage(temp.Write("in.pic", bytes).c_str()));
  }

  void ExpectRefused(const Bytes& bytes, const std::string& message) {
    host.Clear();
    EXPECT_FALSE(Load(bytes)) << message;
    EXPECT_THAT(host.errors, ElementsAre("Softimage loader: " + message));
  }

  /// The file loads as far as it goes, with the message.
  ImageGuard ExpectPart(const Bytes& bytes, const std::string& message) {
    host.Clear();
    ImageGuard image = Load(bytes);
    EXPECT_TRUE(image) << message;
    EXPECT_THAT(host.errors, ElementsAre("Softimage loader: " + message));
    return image;
  }
};

const Bytes kRaw = {0, 8, 0, 0xE0};
const Bytes kMixed = {0, 8, 2, 0xE0};
const Bytes kColourFirst = {1, 8, 2, 0xE0, 0, 8, 2, 0x10};
const Bytes kAlphaFirst = {1, 8, 2, 0x10, 0, 8, 2, 0xE0};

TEST_F(SoftimageTest, MixedRuns) {
  const Bytes row = {1, 1, 2, 3, 4, 5, 6, 128, 0, 0, 9, 9, 9, 129, 7, 8, 9, 128, 0, 1, 1, 1, 1};
  const ImageGuard image = Load(SoftimageFile(5, 1, kMixed, row));
  ASSERT_TRUE(image);
  const Rgba wanted[] = {
      {1, 2, 3, 255}, {4, 5, 6, 255}, {7, 8, 9, 255}, {7, 8, 9, 255}, {1, 1, 1, 255}};
  EXPECT_EQ(Difference(*FromPixels(5, 1, wanted), *image), "");
  EXPECT_THAT(host.errors, IsEmpty());
  EXPECT_EQ(image->flags & kFlagAlpha, 0u);
}

TEST_F(SoftimageTest, AlphaFirstOrLast) {
  const Bytes row = {128, 0, 2, 1, 2, 3, 1, 10, 20};
  const Rgba wanted[] = {{1, 2, 3, 10}, {1, 2, 3, 20}};
  for (const Bytes& packets : {kColourFirst, kAlphaFirst}) {
    const ImageGuard image = Load(SoftimageFile(2, 1, packets, row));
    ASSERT_TRUE(image);
    EXPECT_EQ(Difference(*FromPixels(2, 1, wanted), *image), "");
    EXPECT_TRUE(image->flags & kFlagAlpha);
  }
}

TEST_F(SoftimageTest, SinglePacketIsColour) {
  const ImageGuard image = Load(SoftimageFile(1, 1, {0, 8, 0, 0x10}, {1, 2, 3}));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{1, 2, 3, 255}));
}

TEST_F(SoftimageTest, NamesWhatIsWrongWithHeaders) {
  const Bytes good = SoftimageFile(1, 1, kColourFirst, {});
  const std::pair<std::size_t, const char*> cuts[] = {
      {3, "could not read magic number"},
      {80, "could not read file comment"},
      {90, "could not read ID"},
      {92, "width and/or height illegal or unreadable"},
      {95, "width and/or height illegal or unreadable"},
      {103, "could not read header pad"},
      {104, "could not read first channel chained info"},
      {105, "could not read first channel size info"},
      {106, "could not read first channel type info"},
      {107, "could not read first channel specification"},
      {108, "could not read second channel chained info"},
      {109, "could not read second channel size info"},
      {110, "could not read second channel type info"},
      {111, "could not read second channel specification"},
  };
  for (const auto& [size, message] : cuts) {
    ExpectRefused(Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size)), message);
  }
  const auto changed = [&](std::size_t offset, std::uint8_t value) {
    Bytes bytes = good;
    bytes[offset] = value;
    return bytes;
  };
  ExpectRefused(changed(0, 0), "magic number does not validate");
  ExpectRefused(changed(88, 'p'), "ID string failed to validate");
  ExpectRefused(changed(93, 0), "width and/or height illegal or unreadable");
  ExpectRefused(changed(95, 0), "width and/or height illegal or unreadable");
  ExpectRefused(changed(101, 4), "unknown field type: \"4\"");
  ExpectRefused(changed(105, 16), "RGB channel not 8 bit");
  ExpectRefused(changed(107, 0x10), "incomprehensible channel format (1)");
  ExpectRefused(changed(107, 0xC0), "incomprehensible channel format (2)");
  ExpectRefused(changed(111, 0x20), "incomprehensible channel format (3)");
  ExpectRefused(changed(109, 4), "Alpha channel not 8 bit");
  ExpectRefused(changed(108, 1), "unknown Softimage file format - more than two channels");
}

TEST_F(SoftimageTest, KeepsRowsBeforeAFault) {
  const Bytes row = {129, 1, 2, 3};
  const auto second = [&](const Bytes& bytes) {
    return SoftimageFile(2, 2, kMixed, Joined({row, bytes}));
  };
  const ImageGuard image = ExpectPart(second({2, 0, 0, 0}), "copy length overrun");
  EXPECT_EQ(PixelAt(*image, 1, 0), (Rgba{1, 2, 3, 255}));
  EXPECT_EQ(PixelAt(*image, 0, 1), (Rgba{0, 0, 0, 0}));
  ExpectPart(second({130, 0, 0, 0}), "repeat length overrun");
  ExpectPart(second({128, 1, 0, 0, 0, 0}), "repeat length overrun");
  ExpectPart(second({}), "failed to read pixel count data");
  ExpectPart(second({1}), "could not read copy object r");
  ExpectPart(second({1, 0, 0, 0, 9}), "could not read copy object g");
  ExpectPart(second({1, 0, 0}), "could not read copy object b");
  ExpectPart(second({129}), "could not read repeat object r");
  ExpectPart(second({129, 0}), "could not read repeat object g");
  ExpectPart(second({129, 0, 0}), "could not read repeat object b");
  ExpectPart(SoftimageFile(1, 1, kRaw, {}), "failed to read uncompressed red component byte");
  ExpectPart(SoftimageFile(1, 1, kRaw, {1}), "failed to read uncompressed green component byte");
  ExpectPart(SoftimageFile(1, 1, kRaw, {1, 2}), "failed to read uncompressed blue component byte");
}

// The alpha packet borrows the colour packet's texts for blue and red.
TEST_F(SoftimageTest, AlphaFaults) {
  ExpectPart(SoftimageFile(1, 1, kColourFirst, {0, 1, 2, 3, 0}), "could not read copy object b");
  ExpectPart(SoftimageFile(2, 1, kColourFirst, {129, 1, 2, 3, 129}),
             "could not read repeat object r");
  ExpectPart(SoftimageFile(1, 1, {1, 8, 0, 0xE0, 0, 8, 0, 0x10}, {1, 2, 3}),
             "failed to read uncompressed alpha component byte");
}

TEST_F(SoftimageTest, Saves) {
  const Rgba pixels[] = {{1, 2, 3, 4}, {5, 6, 7, 8}};
  const ImageGuard image = FromPixels(2, 1, pixels);
  const std::string path = temp.file("out.pic");
  SaveSoftimage(path.c_str(), image.get());
  Bytes wanted = SoftimageFile(2, 1, kRaw, {1, 2, 3, 5, 6, 7});
  const std::string_view comment = "Written by Quillmark IMX";
  std::copy(comment.begin(), comment.end(), wanted.begin() + 8);
  EXPECT_EQ(ReadFile(path), wanted);
  EXPECT_EQ(IsSoftimage(path.c_str()), 1);
  image->flags |= kFlagAlpha;
  SaveSoftimage(path.c_str(), image.get());
  const Bytes bytes = ReadFile(path);
  EXPECT_EQ(Bytes(bytes.begin() + 104, bytes.end()),
            (Bytes{1, 8, 0, 0xE0, 0, 8, 0, 0x10, 1, 2, 3, 5, 6, 7, 4, 8}));
  SaveSoftimage(temp.file("no/such").c_str(), image.get());
  EXPECT_THAT(host.errors, ElementsAre("Softimage saver: could not open file"));
}

// 32660 data bytes join the 108 header bytes in the piece that the disk refuses.
TEST_F(SoftimageTest, GoesOnAfterAFailedByte) {
  const ImageGuard image = Solid(160, 120, {1, 2, 3, 255});
  const std::string path = temp.file("out.pic");
  BeginSaveOutcome();
  {
    const WriteFailure failure(0);
    SaveSoftimage(path.c_str(), image.get());
  }
  EXPECT_THAT(host.errors, ElementsAre("Softimage saver: failed on writing blue data byte"));
  EXPECT_EQ(ReadFile(path).size(), 3u * 160 * 120 - 32660 - 1);
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
}

}  // namespace
}  // namespace imx::test
