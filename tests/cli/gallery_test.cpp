// The page of a gallery as a file; gallery_in_browser.py tests what it does.

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

class GalleryTest : public ProgramTest {
 protected:
  static std::string List(const std::string& page) { return page.substr(page.find("<ul")); }
};

TEST_F(GalleryTest, EveryTextIsEscaped) {
  const std::string name = "a<b>&\"'\x01\xFF.ppm";
  temp.Write(name, Pixmap(2, 3));
  ImxOutput({"convert", name, "t.tga", "--author", "</dd>&", "--comment", "\"'"});
  ImxOutput({"gallery", "-q", "-o", "page", name, "t.tga", "--max-memory", "9"});
  EXPECT_THAT(List(Contents("page/index.html")),
              AllOf(HasSubstr(">a&lt;b&gt;&amp;&quot;&#39;\uFFFD\xFF.ppm<"),
                    HasSubstr("2\u00A0×\u00A03 · 24"), HasSubstr("<dd>&lt;/dd&gt;&amp;</dd>"),
                    HasSubstr("<dd>&quot;&#39;</dd>")));
}

TEST_F(GalleryTest, FailuresAndFramesAreShownAndCounted) {
  temp.Write("m.flc", ReadFile(IMX_SOURCE_DIR "/fuzz/samples/flic/flc"));
  temp.Write("large.ppm", Pixmap(900, 900));
  temp.Write("cut.ppm", Pixmap(30, 30).substr(0, 900));
  temp.Write("broken.tga", "no image at all");
  const ProgramResult result = Imx({"gallery", "-o", "page", "m.flc", "large.ppm", "cut.ppm",
                                    "broken.tga", "none.gif", "--max-memory", "1", "-j1"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("imx: 1 done, 0 skipped, 4 failed in "));
  const std::string list = List(Contents("page/index.html"));
  const std::string cards[] = {
      "class=.failed.*no picture.*broken.tga.*not an image of a known type",
      "class=.failed.*<img.*cut.ppm.*30\u00A0×\u00A030.*the file ends early",
      "class=.failed.*no picture.*large.ppm.*900\u00A0×\u00A0900.*--max-memory",
      "data-format=.FLC.*<img.*m.flc.*\u00A0frames",
      "class=.failed.*no picture.*none.gif.*No such file"};
  for (const std::string& card : cards)
    EXPECT_EQ(Bash("grep -cE '<li.*" + card + "' page/index.html").out, "1\n") << card << list;
  EXPECT_EQ(Bash("ls page/thumbs page/full | grep -c png").out, "4\n");
  ImxOutput({"gallery", "-q", "--lenient", "-o", "page", "m.flc"});
  EXPECT_THAT(Contents("page/index.html"), Not(HasSubstr("large.ppm")));
}

TEST_F(GalleryTest, AGalleryIsNoInputOfItself) {
  temp.Write("a.ppm", Pixmap(2, 3));
  Bash("mkdir tree; mv a.ppm tree");
  ImxOutput({"gallery", "-q", "-r", "-o", "tree", "tree"});
  const std::string first = Contents("tree/index.html");
  ImxOutput({"gallery", "-q", "-r", "-o", "tree", "tree"});
  EXPECT_EQ(Contents("tree/index.html"), first);
  const ProgramResult inputs = Bash(R"(
    ln -s tree/thumbs/*.png link.png
    for input in tree/full/*.png tree/thumbs/*.png tree/index.html link.png -; do
      imx gallery -o tree tree/a.ppm $input; echo $?
    done; imx gallery tree/a.ppm; echo $?)");
  EXPECT_EQ(inputs.out, "2\n2\n2\n2\n2\n2\n") << inputs.err;
  EXPECT_EQ(Contents("tree/index.html"), first);
}

TEST_F(GalleryTest, APageThatCannotBeWrittenIsTold) {
  temp.Write("a.ppm", Pixmap(2, 3));
  EXPECT_EQ(Bash("mkdir -p page/index.html; imx gallery -q -o page a.ppm; echo $?; ls -A page").out,
            "1\nfull\nindex.html\nthumbs\n");
  EXPECT_THAT(Imx({"gallery", "-q", "-o", "a.ppm", "a.ppm"}).err,
              MatchesRegex("imx: a.ppm/thumbs: [^\n]+\n"));
}

}  // namespace
}  // namespace imx::test
