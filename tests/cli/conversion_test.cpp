// What a conversion keeps and what its options choose; whole folders with -o DIR.

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::HasSubstr;

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

TEST_F(ConversionTest, TextsAreSetAndSurvive) {
  temp.Write("in.ppm", Pixmap(3, 3));
  const auto textsOf = [this](const std::string& conversion, const std::string& result) {
    EXPECT_EQ(Bash("imx convert " + conversion + " " + result).err, "");
    const std::string json = ImxOutput({"info", "--json", result});
    const std::size_t begin = json.find("\"author\"");
    return json.substr(begin, json.find('}') - begin);
  };
  EXPECT_EQ(textsOf("in.ppm --author 'Ann Author' --comment 'Some words' --notice rights", "a.trm"),
            R"("author":"Ann Author","comment":"Some words","notice":"rights")");
  EXPECT_EQ(textsOf("a.trm", "b.png"),
            R"("author":"Ann Author","comment":"Some words","notice":"")")
      << "PNG has no place for the notice";
  EXPECT_EQ(Tool({"identify", "-format", "%[Author]|%[Description]", "b.png"}),
            "Ann Author|Some words");
  EXPECT_EQ(textsOf("a.trm --author '' --notice other", "d.trm"),
            R"("author":"","comment":"Some words","notice":"other")");
}

class BatchTest : public ProgramTest {
 protected:
  static constexpr int kFiles = 8, kBroken = 5;

  void SetUp() override {
    mkdir(temp.file("out").c_str(), 0777);
    for (int i = 0; i < kFiles; ++i) {
      temp.Write("in.ppm", Pixmap(20 + i, 10));
      ImxOutput({"convert", "in.ppm", Name(i) + ".tga"});
    }
    temp.Write(Name(kBroken) + ".tga", "no image at all");
  }

  static std::string Name(int i) { return "picture" + std::to_string(100 + i); }
};

TEST_F(BatchTest, EachFileIsConvertedAsIfAloneHoweverManyProcessesThereAre) {
  for (const char* jobs : {"", "-j1", "-j3", "-j50"}) {
    SCOPED_TRACE(jobs);
    const ProgramResult result = Bash(std::string(R"(
      rm -rf out; mkdir out
      imx convert -o out --type bmp --depth 4 --rescale 2 *.tga )") +
                                      jobs);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "imx: " + Name(kBroken) + ".tga: not an image of a known type\n");
    for (int i = 0; i < kFiles; ++i) {
      if (i == kBroken) continue;
      ImxOutput({"convert", Name(i) + ".tga", "alone.bmp", "--depth", "4", "--rescale", "2"});
      EXPECT_TRUE(SameFiles("out/" + Name(i) + ".bmp", "alone.bmp")) << i;
    }
    EXPECT_EQ(Bash("ls out | wc -l").out, std::to_string(kFiles - 1) + "\n") << "no other files";
  }
}

TEST_F(BatchTest, TwoInputsDoNotShareAnOutput) {
  temp.Write("picture100.ppm", Pixmap(3, 3));
  const ProgramResult result = Imx({"convert", "-o", "out", "--type", "gif", "picture100.tga",
                                    "picture100.ppm", "picture101.tga"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("imx: picture100.ppm: "));
  ImxOutput({"convert", "picture100.tga", "alone.gif"});
  EXPECT_TRUE(SameFiles("out/picture100.gif", "alone.gif"));
  EXPECT_TRUE(FileExists(temp.file("out/picture101.gif")));
  EXPECT_EQ(Imx({"convert", "-o", "nowhere", "--type", "gif", "picture100.tga"}).err,
            "imx: nowhere: is not a directory\n");
}

}  // namespace
}  // namespace imx::test
