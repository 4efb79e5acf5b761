// What imx tells of files, and of those that are no images or too large ones.

#include <sys/stat.h>

#include <utility>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

using InfoTest = ProgramTest;

TEST_F(InfoTest, JsonHoldsTheRecordInItsOrder) {
  WritePng("alpha.png", 3, 2, std::string(3 * 2 * 4, '\x40'));
  temp.Write("plain.ppm", Pixmap(5, 4));
  EXPECT_EQ(ImxOutput({"info", "--json", "alpha.png", "plain.ppm"}),
            R"({"file":"alpha.png","formatLabel":"PNG","fileType":23,"width":3,"height":2,)"
            R"("depth":32,"frame":null,"flags":1,"alpha":true,"paletteCount":256,)"
            R"("extension":".png","author":"","comment":"","notice":""})"
            "\n"
            R"({"file":"plain.ppm","formatLabel":"PPM","fileType":23,"width":5,"height":4,)"
            R"("depth":24,"frame":null,"flags":0,"alpha":false,"paletteCount":256,)"
            R"("extension":"","author":"","comment":"","notice":""})"
            "\n");
}

TEST_F(InfoTest, HeadersAreEnoughWhateverThePixelsTake) {
  temp.Write("a.tga", LittleEndian()
                          .List({0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0})
                          .Words({60000, 60000})
                          .List({32, 0})
                          .bytes());
  EXPECT_THAT(ImxOutput({"info", "--json", "--max-memory", "1", "a.tga"}),
              HasSubstr(R"("width":60000,"height":60000,"depth":32,"frame":null,"flags":1,)"));
  const ProgramResult checked = Imx({"info", "--json", "--check", "a.tga"});
  EXPECT_EQ(checked.status, 1);
  EXPECT_THAT(checked.out, HasSubstr(R"("width":60000)"));
  EXPECT_THAT(checked.out, HasSubstr(R"("whole":false})"));
  EXPECT_THAT(checked.err, HasSubstr("imx: a.tga: its pixels take 13733 MiB"));
}

TEST_F(InfoTest, CheckTellsAlphaAndWholeness) {
  temp.Write("whole.ppm", Pixmap(40, 30));
  for (const auto& [type, alpha] : {std::pair{"png", "false"},
                                    {"gif", "false"},
                                    {"jpg", "false"},
                                    {"tif", "null"},
                                    {"tga", "false"},
                                    {"bmp", "false"}}) {
    const std::string name = std::string("a.") + type;
    ImxOutput({"convert", "whole.ppm", name, "--no-compress"});
    const std::string header = ImxOutput({"info", "--json", name});
    EXPECT_THAT(header, HasSubstr(std::string("\"alpha\":") + alpha)) << name;
    EXPECT_THAT(header, testing::Not(HasSubstr("whole")));
    std::string checked = ImxOutput({"info", "--json", "--check", name});
    EXPECT_THAT(checked, HasSubstr("\"alpha\":false")) << name;
    EXPECT_THAT(checked, HasSubstr("\"whole\":true}")) << name;
    // What was cut off lacks pixels, but nothing that the header tells.
    temp.Write(name, Contents(name).substr(0, Contents(name).size() * 45 / 100));
    if (type == std::string("tif")) continue;  // its header is at the end
    EXPECT_EQ(ImxOutput({"info", "--json", name}), header);
    const ProgramResult damaged = Imx({"info", "--json", "--check", name});
    EXPECT_EQ(damaged.status, 1);
    EXPECT_THAT(damaged.out, HasSubstr("\"whole\":false}")) << name;
    EXPECT_THAT(damaged.out, HasSubstr("\"width\":40,\"height\":30")) << name;
  }
  EXPECT_THAT(Imx({"info", "--check", "a.gif"}).out, HasSubstr("  whole    no\n"));
}

TEST_F(InfoTest, JsonStringsAreWellFormedWhateverTheFileHolds) {
  temp.Write("a.ppm", Pixmap(2, 2));
  // Quotes, backslash, controls, two and four byte UTF-8, then bytes that are none: a lone
  // continuation, an overlong form, a surrogate, a sequence cut short.
  const std::string text =
      "\"\\\n\t\x01 \xC3\xA9 \xF0\x9F\x98\x80 \x80 \xC0\xAF \xED\xA0\x80 \xE2\x82";
  ImxOutput({"convert", "a.ppm", "a.trm", "--comment", text});
  const std::string odd = "\xEF\xBF\xBD";
  EXPECT_THAT(ImxOutput({"info", "--json", "a.trm"}),
              HasSubstr("\"comment\":\"\\\"\\\\\\n\\t\\u0001 \xC3\xA9 \xF0\x9F\x98\x80 " + odd +
                        " " + odd + odd + " " + odd + odd + odd + " " + odd + "\""));
}

TEST_F(InfoTest, TextIsReadableAndHarmlessToTerminals) {
  temp.Write("a.ppm", Pixmap(5, 4));
  ImxOutput({"convert", "a.ppm", "a.trm", "--author", "Ann", "--comment", "red \x1B[31m\nline"});
  EXPECT_EQ(ImxOutput({"info", "a.trm"}),
            "a.trm\n"
            "  format   TRM\n"
            "  size     5 x 4\n"
            "  depth    24 bits\n"
            "  alpha    no\n"
            "  palette  256 entries\n"
            "  author   Ann\n"
            "  comment  red ?[31m?line\n");
}

TEST_F(InfoTest, OneBadFileDoesNotStopTheOthers) {
  temp.Write("huge.ppm", "P6 20000 20000 255\nabc");
  temp.Write("bad.ppm", "nothing");
  temp.Write("c.ppm", Pixmap(2, 2));
  const ProgramResult result = Imx({"info", "--json", "--check", "huge.ppm", "bad.ppm", "c.ppm"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.out, HasSubstr("\"c.ppm\""));
  EXPECT_THAT(result.err, HasSubstr("imx: huge.ppm: its pixels take"));
  EXPECT_THAT(result.err, HasSubstr("imx: bad.ppm: not an image of a known type\n"))
      << "not too large like the one before";
}

using FailureTest = ProgramTest;

TEST_F(FailureTest, WhatIsNoImageIsSaidInOneLineAndNothingIsWritten) {
  temp.Write("empty.trm", "");
  temp.Write("text.trm", "just some words\n");
  temp.Write("form.iff", std::string_view("FORM\0\0\0\4AIFF", 12));
  temp.Write("cut.png", "\x89PNG\r\n\x1A\n");
  temp.Write("a.jpg", std::string_view("\xFF\xD8\xFF\xE0\0\x10JFIF\0\1\2\0\0\1\0\1\0\0", 20));
  mkdir(temp.file("folder").c_str(), 0777);
  const std::pair<const char*, const char*> kCases[] = {
      {"empty.trm", "imx: empty.trm: is empty\n"},
      {"text.trm", "imx: text.trm: not an image of a known type\n"},
      {"form.iff", "imx: form.iff: not a readable IFF image\n"},
      {"cut.png", "imx: cut.png: the file ends early\n"},
      {"a.jpg", "imx: a.jpg: the file ends early\n"},
      {"folder", "imx: folder: is a directory\n"},
      {"missing.png", "imx: missing.png: No such file or directory\n"},
      {"text.trm/below.png", "imx: text.trm/below.png: Not a directory\n"},
      {"odd\n\x1B[2Jname", "imx: odd??[2Jname: No such file or directory\n"},
  };
  const std::vector<std::string> before = temp.Names();
  for (const auto& [file, line] : kCases) {
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"info", file}, {"pixels", file}, {"convert", file, "out.png"}}) {
      const ProgramResult result = Imx(arguments);
      EXPECT_EQ(result.status, 1) << file;
      EXPECT_EQ(result.out, "");
      EXPECT_EQ(result.err, line);
    }
  }
  EXPECT_EQ(temp.Names(), before);
}

TEST_F(FailureTest, AFileThatEndsEarlyIsConvertedAndToldAndFailsUnlessThatIsAllowed) {
  temp.Write("whole.ppm", Pixmap(40, 30));
  const std::string says = ": the file ends early; the rest is blank\n";
  for (const char* type : {"ppm", "bmp", "gif", "pcx", "pic", "pix", "rla", "iff", "fs", "trm",
                           "jpg", "red", "tga", "png", "rgb", "tif"}) {
    const std::string name = std::string("a.") + type;
    ImxOutput({"convert", "--no-compress", "whole.ppm", name});
    const std::string bytes = Contents(name);
    const std::size_t half = bytes.size() / (type == std::string("tga") ? 8 : 2);
    temp.Write(name, bytes.substr(0, half));
    const ProgramResult strict = Imx({"convert", "--exact", "--raw", "40x30", name, "out.bmp"});
    EXPECT_EQ(strict.status, 1) << name;
    const bool isRefused =
        type == std::string("png") || type == std::string("rgb") || type == std::string("tif");
    EXPECT_EQ(strict.err, "imx: " + name + (isRefused ? ": the file ends early\n" : says));
    EXPECT_NE(FileExists(temp.file("out.bmp")), isRefused) << name;
    const ProgramResult lenient =
        Imx({"convert", "--exact", "--lenient", "--raw=40x30", name, "out.bmp"});
    EXPECT_EQ(lenient.status, isRefused ? 1 : 0) << name;
    EXPECT_EQ(lenient.err, strict.err);
    std::remove(temp.file("out.bmp").c_str());
  }
  EXPECT_EQ(
      Imx({"convert", "a.png", "out.bmp"}).err,
      "imx: a.png: read as other programs do (png-damage); --exact refuses it\nimx: a.png" + says);
  ImxOutput({"convert", "whole.ppm", "cut.gif"});
  temp.Write("cut.gif", Contents("cut.gif").substr(0, 900));
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"info", "--check", "cut.gif"},
        {"pixels", "cut.gif"},
        {"count", "cut.gif"},
        {"convert", "--merge", "cut.gif", "whole.ppm", "out.ppm"}}) {
    EXPECT_EQ(Imx(arguments).status, 1) << arguments[0];
    EXPECT_EQ(Imx(arguments).err, "imx: cut.gif" + says) << arguments[0];
  }
}

TEST_F(FailureTest, FramesThatAreNotThereAreNamedWithTheRange) {
  temp.Write("a.flc", ReadFile(IMX_SOURCE_DIR "/fuzz/samples/flic/flc"));
  for (const char* file : {"a.flc", IMX_SOURCE_DIR "/tests/formats/fixtures/cinepak.avi"}) {
    const ProgramResult result = Imx({"pixels", "--frame", "99", file});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(result.err, HasSubstr(": there is no frame 99: the last of "));
  }
}

TEST_F(FailureTest, TooLargeAnImageIsRefusedBeforeItsMemoryIsTaken) {
  temp.Write("huge.ppm", "P6 20000 20000 255\nabc");
  temp.Write("beyond.ppm", "P6 65536 65536 255\nabc");
  temp.Write("small.ppm", Pixmap(600, 600));
  EXPECT_EQ(Imx({"pixels", "huge.ppm"}).err,
            "imx: huge.ppm: its pixels take 1526 MiB, the limit is 1024 (--max-memory)\n");
  EXPECT_EQ(Imx({"pixels", "beyond.ppm", "--max-memory", "1099511627776"}).err,
            "imx: beyond.ppm: its pixels take 16384 MiB, more than an image can have\n");
  for (const char* command : {"count", "pixels"}) {
    const ProgramResult refused = Imx({command, "--max-memory", "1", "small.ppm"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err,
              "imx: small.ppm: its pixels take 2 MiB, the limit is 1 (--max-memory)\n");
  }
  EXPECT_EQ(Imx({"convert", "--max-memory=1", "small.ppm", "out.ppm"}).status, 1);
  EXPECT_THAT(temp.Names(), ElementsAre("beyond.ppm", "huge.ppm", "small.ppm"));
  ImxOutput({"count", "--max-memory", "2", "small.ppm"});
  // What else a load takes counts as well: here libpng's two rows and zlib's window.
  temp.Write("wide.ppm", Pixmap(260000, 1));
  ImxOutput({"convert", "wide.ppm", "wide.png"});
  EXPECT_EQ(Imx({"count", "--max-memory", "1", "wide.png"}).err,
            "imx: wide.png: it takes more memory than the limit of 1 MiB (--max-memory)\n");
}

}  // namespace
}  // namespace imx::test
