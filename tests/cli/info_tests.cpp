// What imx tells of files.

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::HasSubstr;

using InfoTest = ProgramTest;

TEST_F(InfoTest, JsonHoldsTheRecordInItsOrder) {
  WritePng("alpha.png", 3, 2, std::string(3 * 2 * 4, '\x40'));
  temp.Write("plain.ppm", Pixmap(5, 4));
  EXPECT_EQ(ImxOutput({"info", "--json", "alpha.png", "plain.ppm"}),
            R"({"file":"alpha.png","formatLabel":"PNG","fileType":23,"width":3,"height":2,)"
            R"("depth":32,"frame":0,"flags":1,"alpha":true,"paletteCount":256,)"
            R"("extension":".png","author":"","comment":"","notice":""})"
            "\n"
            R"({"file":"plain.ppm","formatLabel":"PPM","fileType":23,"width":5,"height":4,)"
            R"("depth":24,"frame":0,"flags":0,"alpha":false,"paletteCount":256,)"
            R"("extension":"","author":"","comment":"","notice":""})"
            "\n");
}

TEST_F(InfoTest, JsonStringsAreWellFormedWhateverTheFileHolds) {
  temp.Write("a.ppm", Pixmap(2, 2));
  // Quotes, backslash, controls, two and four byte UTF-8, then bytes that are none: a lone
  // continuation, an overlong form, a surrogate, a sequence cut short.
  const std::string text =
      "\"\\\n\t\x01 \xC3\xA9 \xF0\x9F\x98\x80 \x80 \xC0\xAF \xED\xA0\x80 \xE2\x82";
  ImxOutput({"convert", "a.ppm", "a.trm", "--comment", text});
  EXPECT_THAT(ImxOutput({"info", "--json", "a.trm"}),
              HasSubstr("\"comment\":\"\\\"\\\\\\n\\t\\u0001 \xC3\xA9 \xF0\x9F\x98\x80 \\ufffd "
                        "\\ufffd\\ufffd \\ufffd\\ufffd\\ufffd \\ufffd\\ufffd\""));
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
  const ProgramResult result = Imx({"info", "--json", "huge.ppm", "bad.ppm", "c.ppm"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.out, HasSubstr("\"c.ppm\""));
  EXPECT_THAT(result.err, HasSubstr("imx: huge.ppm: its pixels take"));
  EXPECT_THAT(result.err, HasSubstr("imx: bad.ppm: not an image of a known type\n"))
      << "not too large like the one before";
}

}  // namespace
}  // namespace imx::test
