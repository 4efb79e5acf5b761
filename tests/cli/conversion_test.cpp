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
  EXPECT_EQ(textsOf("a.trm --strip", "c.trm"), R"("author":"","comment":"","notice":"")");
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
  for (const char* jobs : {"", "-j1", "-j3", "-qj50"}) {
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

TEST_F(BatchTest, NoOutputIsAnInputOrThatOfTwo) {
  ASSERT_EQ(Bash(R"(
    cp picture100.tga picture200.tga; cp picture100.tga picture300.png
    mkdir links in; cp picture101.tga in/picture200.ppm
    ln -s ../picture200.tga links/picture100.tga; ln picture200.tga links/picture101.tga
    ln -s new.tga links/picture102.tga; ln -s new.tga links/picture103.tga)")
                .status,
            0);
  const std::string folder = temp.path();
  const struct {
    std::string arguments, says;
  } kCases[] = {
      {"-o . --type tga in/picture200.ppm picture200.tga",
       "the output ./picture200.tga of in/picture200.ppm is the input picture200.tga"},
      {"-o in/.. --type tga picture200.tga", "is the input picture200.tga"},
      {"-o links --type tga picture100.tga picture200.tga", "is the input picture200.tga"},
      {"-o links --type tga picture101.tga " + folder + "/picture200.tga", "/picture200.tga "},
      {"-o . --type png --merge picture300.png in/picture200.ppm picture300.tga", "picture300.png"},
      {"-o links --type tga picture102.tga picture103.tga",
       "picture102.tga and picture103.tga have the same output links/picture103.tga"},
      {"-o out --type gif picture200.tga in/picture200.ppm picture101.tga",
       "picture200.tga and in/picture200.ppm have the same output out/picture200.gif"},
  };
  const std::string state = "md5sum *.* */*; ls -l . */ | grep -v total";
  const std::string before = Bash(state).out;
  for (const auto& c : kCases) {
    const ProgramResult result = Bash("imx convert " + c.arguments);
    EXPECT_EQ(result.status, 2) << c.arguments;
    EXPECT_THAT(result.err, HasSubstr(c.says));
    EXPECT_TRUE(Bash(state).out == before) << c.arguments;
  }
  EXPECT_EQ(Imx({"convert", "-o", "nowhere", "--type", "gif", "picture100.tga"}).err,
            "imx: nowhere: is not a directory\n");
}

TEST_F(BatchTest, ParentsThatIgnoreTheEndOfChildrenLoseNothing) {
  const ProgramResult result =
      Bash("env --ignore-signal=CHLD imx convert -j2 -o out --type gif *.tga; ls out | wc -l");
  EXPECT_EQ(result.out, std::to_string(kFiles - 1) + "\n");
  EXPECT_EQ(result.err, "imx: " + Name(kBroken) + ".tga: not an image of a known type\n");
}

TEST_F(BatchTest, EndingTheParentEndsItsCopies) {
  for (const char* signal : {"TERM", "INT"}) {
    const ProgramResult result = Bash(std::string(R"(
      { printf 'P6 3000 3000 255\n'; head -c 27000000 /dev/zero; } >1.ppm
      for i in 2 3 4; do ln -f 1.ppm $i.ppm; done
      signal=)") + signal + R"(
      env --default-signal=INT imx convert -j2 -o out --type ppm --no-compress [1234].ppm &
      until ls out | grep -q unfinished || ! kill -0 $!; do :; done
      kill -$signal $!
      wait $!
      echo "status $?"
      ls out | grep unfinished
      pgrep -f "no-compress .*[1234].ppm")");
    EXPECT_EQ(result.out, signal == std::string("TERM") ? "status 143\n" : "status 130\n");
    EXPECT_EQ(result.err, "");
  }
}

}  // namespace
}  // namespace imx::test
