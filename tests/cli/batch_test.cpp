// Many inputs: folders, trees, lists, shards, animations, and what is told of them.

#include <sys/stat.h>

#include <set>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

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

  /// What a run says whose one failure is the broken file.
  static std::string Messages(const std::string& counts) {
    return "imx: " + Name(kBroken) + "\\.tga: not an image of a known type\nimx: " + counts +
           " failed in [^\n]*\n";
  }
};

TEST_F(BatchTest, EachFileIsConvertedAsIfAloneInWhateverOrderByHoweverManyProcesses) {
  for (const char* how : {"<(ls *.tga) -j1", "<(ls *.tga | sort -R) -j1", "<(ls -r *.tga) -qj50",
                          "<(ls *.tga | sort -R)", "- < <(ls *.tga | tr '\\n' '\\0') -0 -j3"}) {
    SCOPED_TRACE(how);
    const ProgramResult result = Bash(std::string(R"(
      rm -rf out
      imx convert -o out/deep --type bmp --depth 4 --rescale 2 --files-from )") +
                                      how);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    if (how == std::string("<(ls -r *.tga) -qj50")) {
      EXPECT_EQ(result.err, "imx: " + Name(kBroken) + ".tga: not an image of a known type\n");
    } else {
      EXPECT_THAT(result.err, MatchesRegex(Messages("7 done, 0 skipped, 1")));
    }
    for (int i = 0; i < kFiles; ++i) {
      if (i == kBroken) continue;
      ImxOutput({"convert", Name(i) + ".tga", "alone.bmp", "--depth", "4", "--rescale", "2"});
      EXPECT_TRUE(SameFiles("out/deep/" + Name(i) + ".bmp", "alone.bmp")) << i;
    }
    EXPECT_EQ(Bash("ls out/deep | wc -l").out, std::to_string(kFiles - 1) + "\n");
  }
}

TEST_F(BatchTest, NoOutputIsAnInputOrThatOfTwo) {
  ASSERT_EQ(Bash(R"(
    cp picture100.tga picture200.tga; cp picture100.tga picture300.png
    mkdir -p links in tree/sub; cp picture101.tga in/picture200.ppm
    cp picture101.tga tree/sub/picture7.tga; cp -r tree other
    ls in/* >list.tga; ln -s ../list.tga links/picture104.tga
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
      {"-r -o new --type gif tree other",
       "tree/sub/picture7.tga and other/sub/picture7.tga have the same output new/sub/picture7"},
      {"-r -o tree --type tga tree",
       "the output tree/sub/picture7.tga of tree/sub/picture7.tga is"},
      {"-o links --type tga picture104.tga --files-from list.tga", "is the input list.tga"},
      {"-o out --type tga picture101.tga --report picture101.tga", "is the input picture101.tga"},
      {"-o out --type tga picture101.tga --report out/picture101.tga", "--report and picture101"},
      {"-o new --type gif --shard 1/2 --files-from <(echo in/picture200.ppm; ls *200.tga)",
       "have the same output new/picture200.gif"},
  };
  const std::string state = "md5sum *.* */*.*; ls -lR . | grep -v total";
  const std::string before = Bash(state).out;
  for (const auto& c : kCases) {
    const ProgramResult result = Bash("imx convert " + c.arguments);
    EXPECT_EQ(result.status, 2) << c.arguments;
    EXPECT_THAT(result.err, HasSubstr(c.says));
    EXPECT_TRUE(Bash(state).out == before) << c.arguments;
  }
  EXPECT_EQ(Imx({"convert", "-o", "in.ppm", "--type", "gif", "picture100.tga"}).err,
            "imx: in.ppm: is not a directory\n");
}

TEST_F(BatchTest, TreesAreMadeAgainWithoutWhatIsNoPicture) {
  const ProgramResult result = Bash(R"(
    mkdir -p tree/1996/may tree/empty
    cp in.ppm tree/top.ppm; cp in.ppm tree/1996/no-ending; cp in.ppm tree/1996/may/b.ppm
    cp in.ppm tree/1996/imx-unfinished-other
    echo words >tree/1996/notes.txt; mkfifo tree/pipe; ln -s .. tree/1996/up
    ln -s ../top.ppm tree/1996/link.ppm; echo words >tree/1996/may/broken.tga
    imx convert -r -o tree/made --type gif tree in.ppm
    imx convert -r -o tree/made --type gif tree -n
    cd tree/made; find . -type f | sort)");
  EXPECT_EQ(result.out,
            "./1996/link.gif\n./1996/may/b.gif\n./1996/no-ending.gif\n./in.gif\n./top.gif\n");
  const std::string broken =
      "imx: tree/1996/may/broken\\.tga: not an image of a known type\n"
      "imx: 3 other files are no pictures\n";
  EXPECT_THAT(result.err, MatchesRegex(broken + "imx: 5 done, 0 skipped, 1 failed[^\n]*\n" +
                                       broken + "imx: 0 done, 4 skipped, 1 failed[^\n]*\n"));
}

TEST_F(BatchTest, ShardsDoEachInputOnceWhereverTheFoldersAre) {
  Bash("rm *.tga; for i in {1..60}; do cp in.ppm p$i.ppm; done; mkdir moved; cp p*.ppm moved");
  std::multiset<std::string> all;
  for (int shard = 0; shard < 4; ++shard) {
    const auto part = [&](const std::string& folder) {
      return Bash("imx convert -o out" + folder + " --type gif --dry-run --shard " +
                  std::to_string(shard) + "/4 " + folder + "p*.ppm | sed 's/ .*//; s,.*/,,' | sort")
          .out;
    };
    const std::string names = part("");
    EXPECT_GT(names.size(), 6 * 6u) << "far from even";
    EXPECT_EQ(part("moved/"), names);
    for (std::size_t at = 0; at < names.size(); at = names.find('\n', at) + 1) {
      all.insert(names.substr(at, names.find('\n', at) - at));
    }
  }
  EXPECT_EQ(all.size(), 60u);
  EXPECT_EQ(std::set<std::string>(all.begin(), all.end()).size(), 60u);
}

TEST_F(BatchTest, WhatIsThereStaysWhenThatIsWanted) {
  const std::string convert = "imx convert -v -o out --type gif in.ppm picture100.tga ";
  const ProgramResult result = Bash(R"(
    run() { imx convert -v -o out --type gif -j1 in.ppm picture100.tga "$@" 2>/dev/null; echo "= $?"; }
    run --dry-run; ls out; run; run -n; run --update
    touch -d tomorrow in.ppm; run -n; run --update
    imx convert --update -v picture100.tga out/picture100.gif
    imx convert --update -v picture101.tga out/picture101.gif)");
  const std::string first = "in.ppm -> out/in.gif\n";
  const std::string both = first + "picture100.tga -> out/picture100.gif\n= 0\n";
  EXPECT_EQ(result.out, both + both + "= 0\n= 0\n= 0\n" + first +
                            "= 0\npicture101.tga -> out/picture101.gif\n");
}

TEST_F(BatchTest, TheReportHasALineForEachInput) {
  const ProgramResult result = Bash(R"(
    imx convert -q -o out --type gif --update picture10[0-3].tga
    touch -d tomorrow picture103.tga
    imx convert -q -o out --type gif --update -j2 --report report *.tga --comment lost
    jq -c '[.input, .output, .status, .message, .bytes, .seconds > 0]' report | sort
    stat -c %s out/picture104.gif)");
  std::string expected;
  for (int i = 0; i < kFiles; ++i) {
    const std::string file = Name(i) + ".tga\",\"out/" + Name(i) + ".gif\",\"";
    const std::string size = Bash("stat -c %s out/" + Name(i) + ".gif 2>/dev/null").out;
    expected += "[\"" + file;
    expected += i < 3          ? "skipped\",\"\",0"
                : i == kBroken ? "failed\",\"not an image of a known type\",0"
                               : "done\",\"\"," + size.substr(0, size.size() - 1);
    expected += ",true]\n";
  }
  EXPECT_THAT(result.out, StartsWith(expected));
  EXPECT_EQ(Bash("imx convert --report - picture100.tga a.ppm --author x | jq -r .message").out,
            "a.ppm: the author is lost: this type keeps none\n");
  EXPECT_EQ(Bash("imx convert -qo out --type gif *0.tga --report /dev/full").status, 1);
}

TEST_F(BatchTest, EveryFrameOfAnAnimationIsSaved) {
  temp.Write("m.flc", ReadFile(IMX_SOURCE_DIR "/fuzz/samples/flic/flc"));
  const std::string frames = Bash("imx info --json m.flc | jq .frames").out;
  const int count = std::stoi(frames);
  ASSERT_GT(count, 1);
  ImxOutput({"convert", "--all-frames", "m.flc", "single.ppm"});
  const ProgramResult many = Bash(
      "imx convert --all-frames -o out --type ppm m.flc picture100.tga --report - | "
      "jq -c '[.output, .frames]'");
  EXPECT_THAT(many.out, HasSubstr("[\"out/m-0000.ppm\"," + std::to_string(count) + "]"));
  EXPECT_THAT(many.out, HasSubstr("[\"out/picture100.ppm\",null]"));
  for (int i = 0; i < count; ++i) {
    const std::string number = "-000" + std::to_string(i) + ".ppm";
    ImxOutput({"convert", "--frame", std::to_string(i), "m.flc", "alone.ppm"});
    EXPECT_TRUE(SameFiles("out/m" + number, "alone.ppm")) << i;
    EXPECT_TRUE(SameFiles("single" + number, "alone.ppm")) << i;
  }
  EXPECT_FALSE(FileExists(temp.file("single.ppm")));
  Bash("cp in.ppm m-0001.ppm");
  EXPECT_THAT(Bash("imx convert --all-frames -o new --type gif m-0001.ppm m.flc").err,
              HasSubstr("m-0001.ppm and m.flc have the same output new/m-0001.gif"));
}

TEST_F(BatchTest, AWorkerThatDiesCostsItsFileAlone) {
  // Reading a pipe takes as long as wanted; the worker is the parent's one child.
  const ProgramResult result = Bash(R"(
    rm picture105.tga; mkfifo picture105.tga; exec 3<>picture105.tga
    imx convert -j1 -o out --type gif *.tga & parent=$!
    for try in {1..500}; do ls out | grep -q 104 && break; sleep 0.01; done
    pkill -KILL -P $parent; wait $parent; echo "status $?"; ls out | wc -l)");
  EXPECT_EQ(result.out, "status 1\n7\n");
  EXPECT_THAT(result.err, HasSubstr("imx: picture105.tga: its conversion ended unexpectedly\n"
                                    "imx: 7 done, 0 skipped, 1 failed"));
}

TEST_F(BatchTest, ParentsThatIgnoreTheEndOfChildrenLoseNothing) {
  const ProgramResult result =
      Bash("env --ignore-signal=CHLD imx convert -j2 -o out --type gif *.tga; ls out | wc -l");
  EXPECT_EQ(result.out, std::to_string(kFiles - 1) + "\n");
  EXPECT_THAT(result.err, MatchesRegex(Messages("7 done, 0 skipped, 1")));
}

TEST_F(BatchTest, EndingTheParentEndsItsCopies) {
  for (const std::string signal : {"TERM", "INT", "KILL"}) {
    const ProgramResult result = Bash("signal=" + signal + R"(
      { printf 'P6 3000 3000 255\n'; head -c 27000000 /dev/zero; } >1.ppm
      for i in 2 3 4; do ln -f 1.ppm $i.ppm; done
      env --default-signal=INT imx convert -j2 -o out --type ppm --comment $$ [1234].ppm &
      until ls out | grep -q unfinished || ! kill -0 $!; do :; done
      kill -$signal $!
      wait $! 2>/dev/null
      echo "status $?"
      [ $signal != KILL ] || for try in {1..500}; do pgrep -f "comment $$" >/dev/null || break; sleep 0.01; done
      ls out | grep unfinished
      pgrep -f "comment $$")");
    const std::string status = signal == "TERM" ? "143" : signal == "INT" ? "130" : "137";
    EXPECT_EQ(result.out, "status " + status + "\n");
  }
}

TEST_F(BatchTest, AKilledRunGoesOnWhereItWas) {
  const ProgramResult result = Bash(R"(
    rm *.tga; for i in {100..140}; do cp in.ppm p$i.ppm; done; sleep 0.02
    rm p120.ppm; mkfifo p120.ppm; exec 3<>p120.ppm
    run='imx convert -q -o out --type png --update p*.ppm';
    $run --report first -j1 & until grep -q p119 first; do sleep 0.01; done 2>/dev/null
    worker=$(pgrep -P $!); kill -KILL $!; wait $! 2>/dev/null
    for try in {1..500}; do kill -0 $worker 2>/dev/null || break; sleep 0.01; done
    kill -KILL $worker 2>/dev/null && echo 'the worker lives on'
    exec 3>&-; rm p120.ppm; cp in.ppm p120.ppm
    stat -c '%n %i' out/* >before
    $run --report second -j2; echo "status $?"
    for report in first second; do jq -r .status $report | sort | uniq -c; done
    stat -c '%n %i' out/* | grep -c -x -f before
    ls out | grep -vc '^p[0-9]*.png$'
    imx convert in.ppm alone.png; for f in out/*; do cmp $f alone.png; done)");
  EXPECT_EQ(result.out, "status 0\n     20 done\n     21 done\n     20 skipped\n20\n0\n");
}

TEST_F(BatchTest, ProgressFitsIntoTheTerminal) {
  const auto onTerminal = [this](int columns) {
    return Bash("rm -rf out; script -qec \"stty cols " + std::to_string(columns) +
                "; imx convert -j1 -o out --type gif *0*.tga\" /dev/null")
        .out;
  };
  EXPECT_THAT(onTerminal(80), AllOf(HasSubstr("\rConverting 0 of 8, 0 failed"),
                                    HasSubstr("7 done, 0 skipped, 1 failed in 0:0")));
  EXPECT_THAT(onTerminal(20), AllOf(HasSubstr("\r0 of 8, 0 failed"), Not(HasSubstr("Conv"))));
  EXPECT_THAT(onTerminal(5), AllOf(HasSubstr("\r0%"), Not(HasSubstr("0 of"))));
}

}  // namespace
}  // namespace imx::test
