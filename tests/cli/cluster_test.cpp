// The examples for clusters, run for real: by Slurm on two nodes, and by GNU Parallel.

#include <unistd.h>

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

class ClusterTest : public ProgramTest {
 protected:
  static constexpr const char* kFiles = "export ROOT=" IMX_SOURCE_DIR R"bash(
    export IMX=$(command -v imx) SOURCE_DATE_EPOCH=0
    mkdir in; printf 'P6 2 2 255\n%012d' {1..500} |
      split -b 23 -a 3 -d --additional-suffix=.ppm - in/p
    ls -d in/* >list; sleep 0.02
    check() {
      $IMX convert -q -o one --type tga --files-from list && diff -r one "$1" && ls "$1" | wc -l
      cat reports/*.jsonl | jq -r .input | sort | diff - <(sort list) && cat reports/*.jsonl | wc -l
    }
)bash";
};

TEST_F(ClusterTest, AJobArrayGivesWhatOneRunGivesAlsoWhenATaskWasKilled) {
  if (geteuid() != 0) GTEST_SKIP() << "the daemons of a cluster want root";
  const ProgramResult result = Bash(std::string(kFiles) + R"bash(
    job() { sbatch --parsable "$@" $ROOT/examples/slurm/convert.sbatch list new tga reports -q; }
    run() {
      # The task that comes to this pipe stays there until it is killed.
      stuck=$(imx convert -o new --type tga --files-from list --shard 1/4 --dry-run 2>/dev/null |
        sed -n '60s/ .*//p')
      cp "$stuck" kept; rm "$stuck"; mkfifo "$stuck"
      array=$(job --array=0-3)
      until [ "$(squeue -h -t all -j $array -o %T | sort | tr '\n' ' ')" = \
        'COMPLETED COMPLETED COMPLETED RUNNING ' ] && [ "$(wc -l <reports/1.jsonl)" = 59 ]; do
        sleep 0.2; done
      scancel --signal=KILL --full ${array}_1
      until [ "$(squeue -h -t running -j $array)" = '' ]; do sleep 0.2; done
      rm "$stuck"; mv kept "$stuck"
      echo "before $(ls new | grep -c tga)"
      PARTS=4 job --wait --array=1 >/dev/null
      jq -r .status reports/1.jsonl | sort | uniq -c | awk '{print $2, ($1 > 50)}'
      scontrol show job | grep -o 'BatchHost=n[12]' | sort -u
    }
    export -f job run; timeout 100 $ROOT/tools/slurm-here cluster bash -c run
    check new)bash");
  const std::size_t end = result.out.find('\n');
  EXPECT_THAT(result.out.substr(0, end), testing::MatchesRegex("before 4[0-9][0-9]"));
  EXPECT_EQ(result.out.substr(end + 1),
            "done 1\nskipped 1\nBatchHost=n1\nBatchHost=n2\n500\n500\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(ClusterTest, ParallelOverMachinesGivesWhatOneRunGives) {
  const ProgramResult result = Bash(std::string(kFiles) +
                                    R"bash(
    echo : >hosts
    $ROOT/examples/parallel/convert hosts 3 list new tga reports --comment 'two  words'
    ls new | wc -l; cat reports/*.jsonl | jq -r .input | sort | diff - <(sort list)
    imx info new/p007.tga | grep comment)bash");
  EXPECT_EQ(result.out, "500\n  comment  two  words\n");
  EXPECT_EQ(result.err, "");
}

}  // namespace
}  // namespace imx::test
