#include "formats/avi.h"

#include <algorithm>

#include "formats/avi_source.h"
#include "imagelib/byte_order.h"
#include "imagelib/quirks.h"
#include "tests/formats/format_test.h"
#include "tests/formats/station_builder.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class PackedBitmapTest : public LibraryTest {
 protected:
  std::vector<Rgba> Loaded(const DibFields& fields, const Bytes& rest) {
    return Pixels(ImageGuard(ImageFromPackedBitmap(Dib(fields, rest))));
  }
};

// Beyond what the files below show: fewer colours than indices, none, and a depth that is not read.
TEST_F(PackedBitmapTest, OddBitmaps) {
  const Bytes indexed = {1, 2, 3, 0, 4, 5, 6, 0, 1, 0, 1, 200};
  const Rgba index1 = {0, 0, 85, 0}, index3 = {0, 0, 255, 0}, index200 = {255, 72, 0, 0};
  EXPECT_THAT(Loaded({4, 1, 8, 2}, indexed),
              ElementsAre(Rgba{6, 5, 4, 0}, Rgba{3, 2, 1, 0}, Rgba{6, 5, 4, 0}, index200));
  EXPECT_THAT(Loaded({4, 1, 8, 0}, indexed),
              ElementsAre(index1, Rgba{0, 0, 170, 0}, index3, Rgba{0, 0, 0, 0}))
      << "no colours are stated: the default palette";
  EXPECT_THAT(Loaded({1, 1, 32}, {1, 2, 3, 4}), ElementsAre(Rgba{0, 0, 0, 0})) << "not read";
}

TEST_F(PackedBitmapTest, AsOtherProgramsReadThem) {
  constexpr std::uint32_t kFromTheTop = 0xFFFFFFFE, kMasks = 3;
  const Bytes two = {1, 2, 3, 0, 4, 5, 6, 0};
  const Bytes masks = LittleEndian().Longs({0xF800, 0x07E0, 0x001F}).bytes();
  const Rgba first = {3, 2, 1, 0}, second = {6, 5, 4, 0};
  const struct {
    DibFields fields;
    Bytes rest;
    std::vector<Rgba> theirs;
    const char* quirks;
  } kCases[] = {
      {{1, kFromTheTop, 24}, two, {first, second}, "avi-top-down"},
      {{1, kFromTheTop, 32}, two, {first, second}, "avi-top-down, avi-deep-pixels"},
      {{1, 2, 32}, two, {second, first}, "avi-deep-pixels"},
      {{1, 1, 16, 0, kMasks}, masks + Bytes{0xE0, 0x07, 0, 0}, {{0, 255, 0, 0}}, "avi-deep-pixels"},
  };
  for (const auto& c : kCases) {
    EXPECT_NE(Loaded(c.fields, c.rest), c.theirs) << "the library's own";
    const QuirkScope others(AllQuirks());
    EXPECT_EQ(Loaded(c.fields, c.rest), c.theirs);
    EXPECT_EQ(QuirkNames(others.applied()), c.quirks);
  }
}

class AviTest : public CodecTest {
 protected:
  void SetUp() override {
    if (!AviIsAvailable()) GTEST_SKIP() << "no video decoder here";
  }

  ImageGuard Load(const std::string& path, std::int32_t frame) {
    Sequence().chosenFrame = frame;
    return ImageGuard(LoadAviFrame(path.c_str()));
  }

  const std::string folder = IMX_SOURCE_DIR "/tests/formats/fixtures/";
};

// Five frames that FFmpeg wrote; the plain streams have the handler, chunk names and image size
// that the system itself writes, which FFmpeg does not. In frame n red is 40 n; green is 200 on the
// left and 48 on the right, blue 240 above and 16 below.
TEST_F(AviTest, Frames) {
  struct Stream {
    const char* name;
    std::int32_t width, height;
    std::uint32_t depth;
    int tolerance;  // of five bits, and of Cinepak's colour differences
  };
  for (const Stream& stream : {Stream{"cinepak.avi", 32, 24, 24, 9},
                               {"msvideo1.avi", 32, 24, 16, 8},
                               {"raw16.avi", 16, 4, 16, 8},
                               {"raw8.avi", 6, 4, 8, 0},
                               {"raw24.avi", 6, 4, 24, 0}}) {
    SCOPED_TRACE(stream.name);
    EXPECT_FALSE(Load(folder + stream.name, -1));
    EXPECT_TRUE(Sequence().frameWanted);
    EXPECT_EQ(Sequence().frameCount, 5);
    for (const int frame : {4, 0, 2}) {
      const ImageGuard image = Load(folder + stream.name, frame);
      ASSERT_TRUE(image);
      ASSERT_EQ(image->width, stream.width);
      ASSERT_EQ(image->height, stream.height);
      EXPECT_EQ(image->depth, stream.depth);
      EXPECT_EQ(image->frame, frame + 1);
      EXPECT_STREQ(image->formatLabel, "AVI");
      for (std::int32_t i = 0; i < stream.width * stream.height; ++i) {
        const std::int32_t x = i % stream.width, y = i / stream.width;
        const Rgba pixel = PixelAt(*image, x, y);
        SCOPED_TRACE(testing::Message() << frame << ": " << x << " " << y);
        ASSERT_NEAR(pixel.r, 40 * frame, stream.tolerance);
        ASSERT_NEAR(pixel.g, 2 * x < stream.width ? 200 : 48, stream.tolerance);
        ASSERT_NEAR(pixel.b, 2 * y < stream.height ? 240 : 16, stream.tolerance);
      }
    }
    EXPECT_FALSE(Load(folder + stream.name, 5));
  }
  EXPECT_THAT(host.errors, ElementsAre());
}

/// The file with another number in its stream's bitmap header.
Bytes WithFormatField(const Bytes& file, std::size_t offset, std::uint32_t value) {
  const std::string_view name = "strf";
  const auto found = std::search(file.begin(), file.end(), name.begin(), name.end());
  Bytes changed = file;
  StoreU32(&changed[static_cast<std::size_t>(found - file.begin()) + 8 + offset], value,
           ByteOrder::little);
  return changed;
}

constexpr std::size_t kSize = 0, kWidth = 4, kHeight = 8, kColours = 32;

TEST_F(AviTest, DamagedFiles) {
  const Bytes file = ReadFile(folder + "raw8.avi");
  EXPECT_FALSE(Load(temp.Write("in.avi", Bytes(300, 0)), 0));
  for (std::size_t size = 0; size < file.size(); size += 64) {
    Load(temp.Write("in.avi", Part(file, 0, size)), 0);
    if (HasFailure()) FAIL() << size;
  }
}

TEST_F(AviTest, SizesThatTheFileDoesNotHold) {
  const std::pair<std::size_t, std::uint32_t> fields[] = {
      {kWidth, 3000},  {kWidth, 1u << 30},    {kHeight, 4000},     {kHeight, 400000},
      {kSize, 100000}, {kSize, 0x7FFFFFF0},   {kSize, 0xFFFFFFEC}, {kColours, 100000},
      {kColours, 2},   {kColours, UINT32_MAX}};
  for (const char* name : {"raw8.avi", "raw16.avi", "raw24.avi", "cinepak.avi", "msvideo1.avi"}) {
    const Bytes file = ReadFile(folder + name);
    for (const auto& [offset, value] : fields) {
      SCOPED_TRACE(testing::Message() << name << " " << offset << " " << value);
      SetImageCeiling(64 << 20);
      const ImageGuard image = Load(temp.Write("in.avi", WithFormatField(file, offset, value)), 3);
      if (!image || name[0] != 'r') continue;
      const Palette& colours = image->palette;
      const Rgba first = {colours.red[0], colours.green[0], colours.blue[0], 0};
      std::size_t drawn = 0;
      for (const Rgba& pixel : Pixels(image)) {
        if (pixel != Rgba{0, 0, 0, 0} && pixel != first) ++drawn;
      }
      EXPECT_LE(drawn, 64u) << "memory that is not the file's";
    }
  }
}

/// The file with bit masks behind its stream's bitmap header.
Bytes WithMasks(const Bytes& file, const std::vector<std::uint32_t>& masks) {
  constexpr std::size_t kFormatSize = 40, kCompression = 16, kAdded = 12;
  Bytes changed = WithFormatField(file, kCompression, 3);
  const auto at = [&changed](std::string_view name) {
    return static_cast<std::size_t>(
        std::search(changed.begin(), changed.end(), name.begin(), name.end()) - changed.begin());
  };
  const std::size_t end = at("strf") + 8 + kFormatSize;
  for (const std::size_t size : {at("RIFF") + 4, at("hdrl") - 4, at("strl") - 4, at("strf") + 4}) {
    StoreU32(&changed[size], LoadU32(&changed[size], ByteOrder::little) + kAdded,
             ByteOrder::little);
  }
  ByteBuilder added = LittleEndian();
  for (const std::uint32_t mask : masks) added.U32(mask);
  return Part(changed, 0, end) + added.bytes() + Part(changed, end);
}

// The words of frame 2 have 9, 25 and 30 in five bits each.
TEST_F(AviTest, OtherProgramsReadMasks) {
  const QuirkScope others(AllQuirks());
  const Bytes masked = WithMasks(ReadFile(folder + "raw16.avi"), {0xF800, 0x07E0, 0x001F});
  const ImageGuard image = Load(temp.Write("in.avi", masked), 2);
  ASSERT_TRUE(image);
  EXPECT_THAT(Pixels(image).front(), (Rgba{33, 231, 247, 0}));
}

TEST_F(AviTest, TopDownFramesAreReadOrRefusedWithWords) {
  const Bytes file = ReadFile(folder + "raw24.avi");
  const ImageGuard image =
      Load(temp.Write("in.avi", WithFormatField(file, kHeight, 0xFFFFFFFC)), 2);
  if (image) {
    EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{80, 200, 16, 0}));
    EXPECT_EQ(PixelAt(*image, 5, 3), (Rgba{80, 48, 240, 0}));
  } else {
    EXPECT_THAT(host.errors, ElementsAre(testing::HasSubstr("top down")));
  }
}

}  // namespace
}  // namespace imx::test
