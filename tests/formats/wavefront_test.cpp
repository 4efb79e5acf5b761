// Wavefront RLA and Alias pictures.

#include "formats/wavefront.h"

#include "formats/alias.h"
#include "imagelib/quirks.h"
#include "tests/formats/format_test.h"
#include "tests/formats/station_builder.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class WavefrontTest : public FormatTest<LoadWavefront> {};
class AliasTest : public FormatTest<LoadAlias> {};

// An active window away from 0, rows from the bottom, repeats and literals, the matte complemented.
TEST_F(WavefrontTest, Loads) {
  const Bytes bottom = {0, 2, 1, 5, 0, 3, 0xFE, 6, 7, 0, 2, 1, 8, 0, 2, 1, 0};
  const Bytes top = {0, 2, 1, 1, 0, 2, 1, 2, 0, 2, 1, 3, 0, 2, 1, 0xFA};
  const ImageGuard image = Load(RlaFile({10, 11, 20, 21}, 1, bottom + top));
  EXPECT_THAT(Pixels(image), ElementsAre(Rgba{1, 2, 3, 5}, Rgba{1, 2, 3, 5}, Rgba{5, 6, 8, 255},
                                         Rgba{5, 7, 8, 255}));
  EXPECT_TRUE(image->flags & kFlagAlpha);
}

/// With 16-bit words stored at these offsets of the header.
Bytes WithWords(Bytes file, const std::vector<std::pair<std::size_t, int>>& words) {
  for (const auto& [offset, word] : words) {
    file[offset] = static_cast<std::uint8_t>(word >> 8);
    file[offset + 1] = static_cast<std::uint8_t>(word);
  }
  return file;
}

// Two scanlines whose offsets run backwards, of 10 bits, with a matte of 8 bits.
TEST_F(WavefrontTest, OtherProgramsFollowOffsetsReadDeepSamplesAndAPlainMatte) {
  const Bytes top = {0, 4, 0, 3, 0, 0xFF, 0, 4, 0, 2, 0, 0, 0, 4, 0, 0, 0, 0, 0, 2, 0, 9};
  const Bytes bottom = {0, 4, 0, 0, 0, 4, 0, 4, 0, 0, 0, 0, 0, 4, 0, 0, 0, 0, 0, 2, 0, 7};
  const Bytes file = WithWords(RlaFile({0, 0, 0, 1}, 1, top + bottom),
                               {{658, 10}, {662, 8}, {742, 748 + 22}, {746, 748}});
  {
    const QuirkScope own((QuirkSet()));
    EXPECT_EQ(PixelAt(*Load(file), 0, 1), (Rgba{3, 4, 0, 255})) << "bytes as they come";
    EXPECT_EQ(QuirkNames(own.shown()), "rla-offsets, rla-matte, rla-deep-samples");
  }
  const QuirkScope others(AllQuirks());
  EXPECT_THAT(Pixels(Load(file)), ElementsAre(Rgba{255, 128, 0, 9}, Rgba{1, 0, 0, 7}));
  Bytes floats = {0, 4, 0x3F, 0x80, 0, 0, 0, 4, 0x3F, 0, 0, 0, 0, 4, 0xBF, 0x80, 0, 0};
  floats = WithWords(RlaFile({0, 0, 0, 0}, 0, floats), {{18, 3}, {658, 32}});
  EXPECT_THAT(Pixels(Load(floats)), ElementsAre(Rgba{255, 128, 0, 0}));
  const ImageGuard saved = Solid(1, 1, {1, 2, 3, 9});
  saved->flags |= kFlagAlpha;
  EXPECT_EQ(Saved<SaveWavefront>(*saved).back(), 9);
}

TEST_F(WavefrontTest, OneChannelIsGrey) {
  const Bytes grey = WithByte(RlaFile({0, 1, 0, 0}, 1, {0, 3, 0xFE, 6, 7, 0, 2, 1, 0}), 21, 1);
  EXPECT_THAT(Pixels(Load(grey)), ElementsAre(Rgba{6, 6, 6, 255}, Rgba{7, 7, 7, 255}));
}

TEST_F(WavefrontTest, Faults) {
  const Bytes cut = RlaFile({0, 0, 0, 1}, 0, {0, 2, 0, 9, 0, 2, 0, 8, 0, 2, 0, 7, 0});
  EXPECT_EQ(Refusal(cut), "loaded");
  EXPECT_EQ(PixelAt(*Load(cut), 0, 1), (Rgba{9, 8, 7, 0})) << "what came before the end is kept";
  EXPECT_EQ(Refusal(RlaFile({5, 4, 0, 0}, 0, {})), "Wavefront loader: could not get image memory");
}

TEST_F(WavefrontTest, WritesLiteralPacketsOf125) {
  const ImageGuard image = Solid(250, 1, {1, 2, 3, 255});
  image->flags |= kFlagAlpha;
  CopyText(image->name, "picture");
  const Bytes bytes = Saved<SaveWavefront>(*image);
  EXPECT_EQ(Part(bytes, 0, 28), (Bytes{0, 0, 0, 249, 0, 0, 0, 0, 0, 0, 0, 249, 0,    0,
                                       0, 0, 0, 1,   0, 0, 0, 3, 0, 1, 0, 0,   0xFF, 0xFE}));
  const std::pair<std::size_t, const char*> texts[] = {
      {28, "0.0"},
      {116, "0.310 0.316"},
      {144, "picture"},
      {400, "Quillmark IMX WaveFront Saver Module"},
      {464, "No Machine Name - Privacy Issue"},
      {528, "Unknown"},
      {626, "Unknown"},
      {668, "depth"}};
  for (const auto& [offset, text] : texts) {
    EXPECT_STREQ(reinterpret_cast<const char*>(&bytes[offset]), text);
  }
  ASSERT_EQ(bytes.size(), 740u + 4 + 4 * (2 + 252));
  EXPECT_EQ(Part(bytes, 740, 8), (Bytes{0, 0, 2, 0xE8, 0, 252, 0x83, 1}));
  EXPECT_EQ(bytes[746 + 126], 0x83);
  EXPECT_EQ(bytes.back(), 0) << "matte of an opaque pixel";
  EXPECT_EQ(PixelAt(*image, 0, 0).a, 255) << "the image is unchanged";
  EXPECT_EQ(Saved<SaveWavefront>(*Solid(130, 1, {1, 2, 3, 255}))[746 + 126], 0x100 - 5);
}

TEST_F(AliasTest, ColourRunsAreCutAtTheRow) {
  EXPECT_THAT(
      Pixels(Load(AliasFile(2, 2, 24, {0, 9, 9, 9, 200, 1, 2, 3, 1, 4, 5, 6, 9, 7, 8, 9}))),
      ElementsAre(Rgba{1, 2, 3, 255}, Rgba{1, 2, 3, 255}, Rgba{4, 5, 6, 255}, Rgba{7, 8, 9, 255}));
}

TEST_F(AliasTest, MatteIsAlphaOverGrey) {
  const ImageGuard image = Load(AliasFile(3, 1, 8, {2, 7, 1, 255}));
  EXPECT_THAT(Pixels(image), ElementsAre(Rgba{136, 136, 136, 7}, Rgba{136, 136, 136, 7},
                                         Rgba{136, 136, 136, 255}));
  EXPECT_TRUE(image->flags & kFlagAlpha);
}

TEST_F(AliasTest, OtherProgramsHaveBlueFirstAndGreyMattes) {
  const QuirkScope others(AllQuirks());
  EXPECT_THAT(Pixels(Load(AliasFile(1, 1, 24, {1, 1, 2, 3}))), ElementsAre(Rgba{3, 2, 1, 255}));
  const ImageGuard matte = Load(AliasFile(1, 1, 8, {1, 7}));
  EXPECT_THAT(Pixels(matte), ElementsAre(Rgba{7, 7, 7, 255}));
  EXPECT_FALSE(matte->flags & kFlagAlpha);
  EXPECT_EQ(Part(Saved<SaveAlias>(*Solid(1, 1, {1, 2, 3, 255})), 10, 4), (Bytes{1, 3, 2, 1}));
}

TEST_F(AliasTest, Faults) {
  EXPECT_EQ(Refusal(Bytes(9, 0)), "Alias loader: could not read image header");
  EXPECT_EQ(Refusal(AliasFile(1, 1, 16, {1, 2, 3})),
            "Alias loader: Unrecognized image depth, not 8 or 24 bits");
  EXPECT_EQ(Refusal(AliasFile(0, 1, 24, {1, 2, 3, 4})), "Alias loader: could not get image memory");
  const Bytes cut = AliasFile(1, 2, 24, {1, 2, 3, 4, 1, 2});
  EXPECT_EQ(Refusal(cut), "loaded: Alias loader: could not read a scan line");
  EXPECT_EQ(PixelAt(*Load(cut), 0, 0), (Rgba{2, 3, 4, 255}));
  host.Clear();
  EXPECT_FALSE(LoadAlias(temp.file("missing").c_str()));
  EXPECT_THAT(host.errors, ElementsAre("Alias loader: could not open file"));
}

TEST_F(AliasTest, SavesRunsOf254) {
  const ImageGuard image = Solid(300, 1, {1, 2, 3, 255});
  image->pixels[4 * 7 + 3] = 9;  // alpha does not end a run
  EXPECT_EQ(Saved<SaveAlias>(*image), AliasFile(300, 1, 24, {254, 1, 2, 3, 46, 1, 2, 3}));
  EXPECT_EQ(IsAlias(temp.Write("out.PIX", ReadFile(temp.file("out"))).c_str()), 1);
  EXPECT_EQ(IsAlias(temp.Write("other.pic", ReadFile(temp.file("out"))).c_str()), 0);
  SaveAlias(temp.file("no/such").c_str(), image.get());
  EXPECT_THAT(host.errors, ElementsAre("Alias saver: could not open file"));
}

}  // namespace
}  // namespace imx::test
