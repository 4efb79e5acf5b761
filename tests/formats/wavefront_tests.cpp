// Wavefront RLA and Alias pictures.

#include "formats/alias.h"
#include "formats/wavefront.h"
#include "tests/formats/common_builder.h"
#include "tests/formats/station_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class WavefrontTest : public LibraryTest {
 protected:
  ImageGuard Load(const Bytes& bytes) {
    return ImageGuard(LoadWavefront(temp.Write("in.rla", bytes).c_str()));
  }
  Bytes Saved(const ImageRecord& image) {
    const std::string path = temp.file("out.rla");
    SaveWavefront(path.c_str(), &image);
    return ReadFile(path);
  }
};

// An active window away from 0, rows from the bottom, repeats and literals, the matte complemented.
TEST_F(WavefrontTest, Loads) {
  const Bytes bottom = {0, 2, 1, 5, 0, 3, 0xFE, 6, 7, 0, 2, 1, 8, 0, 2, 1, 0};
  const Bytes top = {0, 2, 1, 1, 0, 2, 1, 2, 0, 2, 1, 3, 0, 2, 1, 0xFA};
  const ImageGuard image = Load(RlaFile({10, 11, 20, 21}, 1, Joined({bottom, top})));
  ASSERT_TRUE(image);
  const Rgba wanted[] = {{1, 2, 3, 5}, {1, 2, 3, 5}, {5, 6, 8, 255}, {5, 7, 8, 255}};
  EXPECT_EQ(Difference(*FromPixels(2, 2, wanted), *image), "");
  EXPECT_TRUE(image->flags & kFlagAlpha);
}

TEST_F(WavefrontTest, KeepsWhatCameBeforeTheEnd) {
  const ImageGuard image = Load(RlaFile({0, 0, 0, 1}, 0, {0, 2, 0, 9, 0, 2, 0, 8, 0, 2, 0, 7, 0}));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 1), (Rgba{9, 8, 7, 0}));
  EXPECT_THAT(host.errors, IsEmpty());
}

TEST_F(WavefrontTest, EmptyWindow) {
  EXPECT_FALSE(Load(RlaFile({5, 4, 0, 0}, 0, {})));
  EXPECT_THAT(host.errors, ElementsAre("Wavefront loader: could not get image memory"));
}

TEST_F(WavefrontTest, WritesLiteralPacketsOf125) {
  const ImageGuard image = Solid(250, 1, {1, 2, 3, 255});
  image->flags |= kFlagAlpha;
  CopyText(image->name, "picture");
  const Bytes bytes = Saved(*image);
  const Bytes head(bytes.begin(), bytes.begin() + 28);
  EXPECT_EQ(head, (Bytes{0, 0, 0, 249, 0, 0, 0, 0, 0, 0, 0, 249, 0,    0,
                         0, 0, 0, 1,   0, 0, 0, 3, 0, 1, 0, 0,   0xFF, 0xFE}));
  const auto text = [&](std::size_t offset) {
    return std::string(reinterpret_cast<const char*>(&bytes[offset]));
  };
  EXPECT_EQ(text(28), "0.0");
  EXPECT_EQ(text(116), "0.310 0.316");
  EXPECT_EQ(text(144), "picture");
  EXPECT_EQ(text(400), "Quillmark IMX WaveFront Saver Module");
  EXPECT_EQ(text(464), "No Machine Name - Privacy Issue");
  EXPECT_EQ(text(528), "Unknown");
  EXPECT_EQ(text(626), "Unknown");
  EXPECT_EQ(text(668), "depth");
  ASSERT_EQ(bytes.size(), 740u + 4 + 4 * (2 + 252));
  EXPECT_EQ(Bytes(bytes.begin() + 740, bytes.begin() + 748),
            (Bytes{0, 0, 2, 0xE8, 0, 252, 0x83, 1}));
  EXPECT_EQ(bytes[746 + 126], 0x83);
  EXPECT_EQ(bytes.back(), 0) << "matte of an opaque pixel";
  EXPECT_EQ(PixelAt(*image, 0, 0).a, 255) << "the image is unchanged";
  const Bytes shorter = Saved(*Solid(130, 1, {1, 2, 3, 255}));
  EXPECT_EQ(shorter[746 + 126], 0x100 - 5);
}

class AliasTest : public LibraryTest {
 protected:
  ImageGuard Load(const Bytes& bytes) {
    return ImageGuard(LoadAlias(temp.Write("in.pix", bytes).c_str()));
  }
};

TEST_F(AliasTest, ColourRunsAreCutAtTheRow) {
  const ImageGuard image =
      Load(AliasFile(2, 2, 24, {0, 9, 9, 9, 200, 1, 2, 3, 1, 4, 5, 6, 9, 7, 8, 9}));
  ASSERT_TRUE(image);
  const Rgba wanted[] = {{1, 2, 3, 255}, {1, 2, 3, 255}, {4, 5, 6, 255}, {7, 8, 9, 255}};
  EXPECT_EQ(Difference(*FromPixels(2, 2, wanted), *image), "");
  EXPECT_THAT(host.errors, IsEmpty());
}

TEST_F(AliasTest, MatteIsAlphaOverGrey) {
  const ImageGuard image = Load(AliasFile(3, 1, 8, {2, 7, 1, 255}));
  ASSERT_TRUE(image);
  const Rgba wanted[] = {{136, 136, 136, 7}, {136, 136, 136, 7}, {136, 136, 136, 255}};
  EXPECT_EQ(Difference(*FromPixels(3, 1, wanted), *image), "");
  EXPECT_TRUE(image->flags & kFlagAlpha);
}

TEST_F(AliasTest, Faults) {
  const auto expect = [this](const char* message) {
    EXPECT_THAT(host.errors, ElementsAre(std::string("Alias loader: ") + message));
    host.Clear();
  };
  EXPECT_FALSE(LoadAlias(temp.file("missing").c_str()));
  expect("could not open file");
  EXPECT_FALSE(Load(Bytes(9, 0)));
  expect("could not read image header");
  EXPECT_FALSE(Load(AliasFile(1, 1, 16, {1, 2, 3})));
  expect("Unrecognized image depth, not 8 or 24 bits");
  EXPECT_FALSE(Load(AliasFile(0, 1, 24, {1, 2, 3, 4})));
  expect("could not get image memory");
  const ImageGuard image = Load(AliasFile(1, 2, 24, {1, 2, 3, 4, 1, 2}));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{2, 3, 4, 255}));
  expect("could not read a scan line");
}

TEST_F(AliasTest, SavesRunsOf254) {
  const ImageGuard image = Solid(300, 1, {1, 2, 3, 255});
  image->pixels[4 * 7 + 3] = 9;  // alpha does not end a run
  const std::string path = temp.file("out.PIX");
  SaveAlias(path.c_str(), image.get());
  EXPECT_EQ(ReadFile(path), AliasFile(300, 1, 24, {254, 1, 2, 3, 46, 1, 2, 3}));
  EXPECT_EQ(IsAlias(path.c_str()), 1);
  EXPECT_EQ(IsAlias(temp.Write("other.pic", ReadFile(path)).c_str()), 0);
  SaveAlias(temp.file("no/such").c_str(), image.get());
  EXPECT_THAT(host.errors, ElementsAre("Alias saver: could not open file"));
}

}  // namespace
}  // namespace imx::test
