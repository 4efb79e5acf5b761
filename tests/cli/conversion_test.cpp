// What a conversion keeps and what its options choose.

#include <sys/inotify.h>
#include <unistd.h>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using ConversionTest = ProgramTest;

TEST_F(ConversionTest, TheDepthFollowsAlphaUnlessItIsGivenAndOptionsApply) {
  std::string rgba;
  for (int i = 0; i < 61 * 23 * 4; ++i) rgba += static_cast<char>(i * 3 + i / 61);
  WritePng("in.png", 61, 23, rgba);
  const struct {
    const char* conversion;
    const char* result;
    const char* colourTypeAndInterlace;
  } kCases[] = {
      {"in.png a.trm; imx convert a.trm a.png", "a.png", "60"},
      {"in.png b.png --depth 24 --interlace", "b.png", "21"},
      {"b.png c.png", "c.png", "20"},
      {"b.png d.png --depth 32", "d.png", "60"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(Bash(std::string("imx convert ") + c.conversion).err, "");
    const std::string file = Contents(c.result);
    ASSERT_GT(file.size(), 28u) << c.conversion;
    EXPECT_EQ(std::to_string(file[25]) + std::to_string(file[28]), c.colourTypeAndInterlace);
  }
  EXPECT_TRUE(Decoded("a.png") == rgba);
  EXPECT_TRUE(ImxOutput({"pixels", "a.trm"}) == rgba);
  for (std::size_t i = 3; i < rgba.size(); i += 4) rgba[i] = '\xFF';
  EXPECT_TRUE(Decoded("d.png") == rgba) << "by way of 24 bits";
}

TEST_F(ConversionTest, TheInputIsOpenedToBeTestedAndToBeLoaded) {
  temp.Write("a.ppm", Pixmap(5, 4));
  for (const char* input : {"a.ppm", "a.tga", "a.trm", "a.pix", "a.pic", "a.raw"}) {
    if (input != std::string("a.ppm")) ImxOutput({"convert", "a.ppm", input});
    const int watch = inotify_init1(IN_NONBLOCK);
    inotify_add_watch(watch, temp.file(input).c_str(), IN_OPEN | IN_CLOSE);
    ImxOutput({"convert", "--raw", "5x4", input, "b.png"});
    inotify_event events[20];
    EXPECT_EQ(read(watch, events, sizeof events) / static_cast<ssize_t>(sizeof *events), 2 * 2)
        << input;
    close(watch);
  }
}

TEST_F(ConversionTest, JpegOrientation) {
  temp.Write("in.ppm", Pixmap(5, 3));
  ImxOutput({"convert", "in.ppm", "in.jpg"});
  const std::string jpeg = ReadTextFile(temp.file("in.jpg"));
  for (char orientation = 1; orientation <= 8; ++orientation) {
    SCOPED_TRACE(int{orientation});
    std::string exif(
        "\xFF\xE1\0\x22"
        "Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0",
        29);
    exif += std::string{orientation, 0, 0, 0, 0, 0, 0};
    exif[3] = static_cast<char>(exif.size() - 2);
    temp.Write("turned.jpg", jpeg.substr(0, 20) + exif + jpeg.substr(20));
    const std::string upright = Tool({"convert", "turned.jpg", "-auto-orient", "rgba:-"});
    const ProgramResult byDefault = Imx({"pixels", "turned.jpg"});
    EXPECT_EQ(ImxOutput({"pixels", "--interop", "turned.jpg"}), upright);
    EXPECT_EQ(byDefault.out, Tool({"convert", "turned.jpg", "rgba:-"}));
    EXPECT_EQ(byDefault.err.find("--interop=jpeg-orientation") != std::string::npos,
              orientation != 1);
    if (orientation == 6) {
      const std::string cut = temp.Write("cut.jpg", jpeg.substr(0, 20) + exif.substr(0, 25));
      EXPECT_EQ(Imx({"pixels", "--interop", cut}).status, 1);
    }
  }
}

TEST_F(ConversionTest, TextsAreSetAndSurvive) {
  temp.Write("in.ppm", Pixmap(3, 3));
  const auto textsOf = [this](const std::string& conversion, const std::string& result,
                              const std::string& warning = "") {
    EXPECT_EQ(Bash("imx convert " + conversion + " " + result).err, warning);
    const std::string json = ImxOutput({"info", "--json", result});
    const std::size_t begin = json.find("\"author\"");
    return json.substr(begin, json.find('}') - begin);
  };
  EXPECT_EQ(textsOf("in.ppm --author 'Ann Author' --comment 'Some words' --notice rights", "a.trm"),
            R"("author":"Ann Author","comment":"Some words","notice":"rights")");
  EXPECT_EQ(textsOf("a.trm --clip --rescale 2 --resample 2", "b.png",
                    "imx: b.png: the rights notice is lost: this type keeps none\n"),
            R"("author":"Ann Author","comment":"Some words","notice":"")");
  const std::string forty(40, 'n');
  EXPECT_EQ(textsOf("in.ppm --author " + forty + "n", "c.tga",
                    "imx: c.tga: the author is cut to 40 bytes\n"),
            "\"author\":\"" + forty + R"(","comment":"","notice":"")");
  EXPECT_EQ(
      textsOf("a.trm --interop=tiff-texts --notice " + std::string(100, 'n'), "c.tif",
              "imx: c.tif: the rights notice is cut to 99 bytes\n"),
      R"("author":"Ann Author","comment":"Some words","notice":")" + std::string(99, 'n') + '"');
  EXPECT_EQ(Tool({"identify", "-format", "%[tiff:artist]|%[tiff:copyright]", "c.tif"}),
            "Ann Author|" + std::string(99, 'n'));
  EXPECT_EQ(textsOf("a.trm --strip", "c.trm"), R"("author":"","comment":"","notice":"")");
  EXPECT_EQ(Tool({"identify", "-format", "%[Author]|%[Description]", "b.png"}),
            "Ann Author|Some words");
  EXPECT_EQ(textsOf("a.trm --author '' --notice other", "d.trm"),
            R"("author":"","comment":"Some words","notice":"other")");
}

}  // namespace
}  // namespace imx::test
