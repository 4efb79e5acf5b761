#include "formats/avi.h"
#include "formats/avi_source.h"
#include "formats/codec_state.h"
#include "tests/formats/station_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::IsEmpty;

class PackedBitmapTest : public LibraryTest {};

TEST_F(PackedBitmapTest, RowsFromTheBottomWithPadding) {
  const ImageGuard image(
      ImageFromPackedBitmap(Dib({2, 2, 24}, {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0})));
  ASSERT_TRUE(image);
  const Rgba wanted[] = {{9, 8, 7, 0}, {12, 11, 10, 0}, {3, 2, 1, 0}, {6, 5, 4, 0}};
  EXPECT_EQ(Difference(*FromPixels(2, 2, wanted), *image), "");
  EXPECT_EQ(image->depth, 24u);
}

TEST_F(PackedBitmapTest, Words) {
  const ImageGuard image(ImageFromPackedBitmap(Dib({2, 1, 16}, {0x41, 0x0C, 0xFF, 0xFF})));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{24, 16, 8, 0}));
  EXPECT_EQ(PixelAt(*image, 1, 0), (Rgba{248, 248, 248, 0}));
}

TEST_F(PackedBitmapTest, ColourTables) {
  const Bytes rest = {1, 2, 3, 0, 4, 5, 6, 0, 1, 0, 1, 200};
  ImageGuard image(ImageFromPackedBitmap(Dib({4, 1, 8, 2}, rest)));
  ASSERT_TRUE(image);
  const Rgba wanted[] = {{6, 5, 4, 0}, {3, 2, 1, 0}, {6, 5, 4, 0}, {0, 0, 0, 0}};
  EXPECT_EQ(Difference(*FromPixels(4, 1, wanted), *image), "");
  EXPECT_EQ(image->palette.red[1], 6);
  image = ImageGuard(ImageFromPackedBitmap(Dib({4, 1, 8, 0}, rest)));
  ASSERT_TRUE(image) << "no table is read when no colours are stated";
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{0, 0, 0, 0}));
}

TEST_F(PackedBitmapTest, OtherDepthsAreBlack) {
  const ImageGuard image(ImageFromPackedBitmap(Dib({1, 1, 32}, {1, 2, 3, 4})));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{0, 0, 0, 0}));
}

class AviTest : public LibraryTest {
 protected:
  void SetUp() override {
    if (!AviIsAvailable()) GTEST_SKIP() << "no video decoder here";
  }
  void TearDown() override {
    Sequence() = {};
    LibraryTest::TearDown();
  }

  ImageGuard Load(const Bytes& bytes, std::int32_t frame) {
    Sequence().chosenFrame = frame;
    return ImageGuard(LoadAviFrame(temp.Write("in.avi", bytes).c_str()));
  }
};

TEST_F(AviTest, Frames24) {
  std::vector<Bytes> frames;
  for (std::uint8_t i = 0; i < 5; ++i) {
    frames.push_back({i, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0});
  }
  const Bytes file = AviFile({2, 2, 24}, {}, frames);
  EXPECT_FALSE(Load(file, -1));
  EXPECT_TRUE(Sequence().frameWanted);
  EXPECT_EQ(Sequence().frameCount, 5);
  for (const int index : {4, 0, 2}) {
    const ImageGuard image = Load(file, index);
    ASSERT_TRUE(image) << index;
    const auto blue = static_cast<std::uint8_t>(index);
    const Rgba wanted[] = {{9, 8, 7, 0}, {12, 11, 10, 0}, {3, 2, blue, 0}, {6, 5, 4, 0}};
    EXPECT_EQ(Difference(*FromPixels(2, 2, wanted), *image), "");
    EXPECT_EQ(image->frame, index + 1);
    EXPECT_STREQ(image->formatLabel, "AVI");
  }
  EXPECT_FALSE(Load(file, 5));
  EXPECT_THAT(host.errors, IsEmpty());
}

TEST_F(AviTest, Frames16) {
  const Bytes file = AviFile({2, 1, 16}, {}, {{0x41, 0x0C, 0xFF, 0x7F}});
  const ImageGuard image = Load(file, 0);
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{24, 16, 8, 0}));
  EXPECT_EQ(PixelAt(*image, 1, 0), (Rgba{248, 248, 248, 0}));
  EXPECT_EQ(image->depth, 16u);
}

TEST_F(AviTest, Frames8) {
  Bytes colours;
  for (int i = 0; i < 256; ++i) {
    for (const int value : {i, 255 - i, 7, 0}) colours.push_back(static_cast<std::uint8_t>(value));
  }
  const Bytes file = AviFile({4, 2, 8, 256}, colours, {{0, 1, 2, 255, 4, 5, 6, 7}});
  const ImageGuard image = Load(file, 0);
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 3, 1), (Rgba{7, 0, 255, 0}));
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{7, 251, 4, 0}));
  EXPECT_EQ(image->depth, 8u);
}

TEST_F(AviTest, DamagedFiles) {
  const Bytes file = AviFile({4, 2, 8, 0}, {}, {{0, 1, 2, 255, 4, 5, 6, 7}});
  EXPECT_FALSE(Load(Bytes(300, 0), 0));
  EXPECT_FALSE(Load({}, 0));
  for (std::size_t size = file.size(); size > 16; size -= 16) {
    Load(Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size)), 0);
    if (HasFailure()) FAIL() << size;
  }
}

}  // namespace
}  // namespace imx::test
