// Pixels and texts through the formats, with ImageMagick as the witness at both ends.

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::HasSubstr;

constexpr int kWidth = 61, kHeight = 23;

/// R, G, B, A bytes that differ from pixel to pixel; every alpha value occurs.
std::string ColoursWithAlpha() {
  std::string rgba;
  for (int i = 0; i < kWidth * kHeight; ++i) {
    for (const int value : {i * 3, i * 5 + 1, i * 7 + i / 61, i}) {
      rgba += static_cast<char>(value);
    }
  }
  return rgba;
}

std::string Opaque(std::string rgba) {
  for (std::size_t i = 3; i < rgba.size(); i += 4) rgba[i] = '\xFF';
  return rgba;
}

class ConversionTest : public ProgramTest {
 protected:
  void SetUp() override { WritePng("photo.png", kWidth, kHeight, pixels); }

  const std::string pixels = ColoursWithAlpha();
};

TEST_F(ConversionTest, TrimKeepsAlpha) {
  ImxOutput({"convert", "photo.png", "a.trm"});
  ImxOutput({"convert", "a.trm", "b.png"});
  EXPECT_TRUE(Decoded("b.png") == pixels);
  EXPECT_TRUE(ImxOutput({"pixels", "a.trm"}) == pixels);
  EXPECT_TRUE(ImxOutput({"pixels", "photo.png"}) == pixels);
}

TEST_F(ConversionTest, TheDepthFollowsAlphaUnlessItIsGivenAndOptionsApply) {
  const auto colourType = [this](const std::string& png) { return int{Contents(png).at(25)}; };
  constexpr int kRgb = 2, kRgba = 6;
  ImxOutput({"convert", "photo.png", "alpha.png"});
  EXPECT_EQ(colourType("alpha.png"), kRgba);
  EXPECT_EQ(Contents("alpha.png").at(28), 0) << "the interlace method in the header";
  ImxOutput({"convert", "photo.png", "flat.png", "--depth", "24", "--interlace"});
  EXPECT_EQ(colourType("flat.png"), kRgb);
  EXPECT_EQ(Contents("flat.png").at(28), 1);
  EXPECT_TRUE(Decoded("flat.png") == Opaque(pixels));
  ImxOutput({"convert", "flat.png", "deep.png", "--depth", "32"});
  EXPECT_EQ(colourType("deep.png"), kRgba);
}

TEST_F(ConversionTest, TextsAreSetAndSurvive) {
  ImxOutput({"convert", "photo.png", "a.trm", "--author", "Ann Author", "--comment", "Some words",
             "--notice", "(c) nobody"});
  ImxOutput({"convert", "a.trm", "b.png"});
  ImxOutput({"convert", "b.png", "c.iff", "--notice", "other rights"});
  const std::string trim = ImxOutput({"info", "--json", "a.trm"});
  EXPECT_THAT(trim, HasSubstr(R"("author":"Ann Author","comment":"Some words",)"
                              R"("notice":"(c) nobody"})"));
  // PNG has no place for the notice.
  EXPECT_THAT(ImxOutput({"info", "--json", "b.png"}),
              HasSubstr(R"("author":"Ann Author","comment":"Some words","notice":""})"));
  EXPECT_THAT(ImxOutput({"info", "--json", "c.iff"}),
              HasSubstr(R"("comment":"Some words","notice":"other rights"})"));
  EXPECT_EQ(Tool({"identify", "-format", "%[Author]|%[Description]", "b.png"}),
            "Ann Author|Some words");
  ImxOutput({"convert", "a.trm", "d.trm", "--author", ""});
  EXPECT_THAT(ImxOutput({"info", "--json", "d.trm"}), HasSubstr(R"("author":"","comment":"Some)"));
}

}  // namespace
}  // namespace imx::test
