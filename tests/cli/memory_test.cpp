// imx when memory runs out, at any of its allocations. The failing ones are those of a preloaded
// library, tests/support/failing_allocations.cpp.

#include "tests/cli/program_test.h"

namespace imx::test {
namespace {

class MemoryTest : public ProgramTest {};

// $1: what stands in front of INPUT; $2: INPUT; $3: OUTPUT. The first allocation is the C++
// runtime's own reserve: without it nothing can be told. That a plug-in's thread-local data cannot
// be had ends the program inside the C library.
constexpr const char* kEveryAllocation = R"bash(
export LD_PRELOAD=)bash" FAILING_ALLOCATIONS R"bash(
export TMPDIR=$PWD/work SOURCE_DATE_EPOCH=0
mkdir work && cd work && cp ../$2 .
COUNT_ALLOCATIONS=../count imx convert $1 $2 $3 && mv $3 ../wanted || echo "no conversion at all"
for ((n = 2; n <= $(<../count); n++)); do
  for which in $n $n+; do
    FAIL_ALLOCATION=$which imx convert $1 $2 $3 2>../messages; status=$?
    if grep -q 'thread-local data: ABORT' ../messages; then rm -f imx-* && continue; fi
    if ((status == 0)); then
      cmp $3 ../wanted; rm $3
    elif ((status != 1)) || ! grep -q '^imx: ' ../messages; then
      echo "allocation $which: status $status, $(<../messages)"
    fi
    [[ $(echo *) == $2 ]] || echo "allocation $which left $(echo *)"
  done
done)bash";

TEST_F(MemoryTest, EveryFailedAllocationIsToldAndLeavesNothingBehind) {
  temp.Write("a.ppm", Pixmap(40, 30));
  const struct {
    const char *options, *input, *output;
  } kCases[] = {
      {"--gamma 1.5 --resample 0.5 --comment words-that-are-longer-than-a-few", "a.ppm", "a.png"},
      {"--merge a.ppm --quiet", "a.ppm", "a.gif"},
      {"", "a.ppm", "a.trm"},
      {"", "a.trm", "a.jpg"},
      {"", "a.jpg", "a.bmp"},
      {"", "a.png", "a.iff"},
  };
  for (const auto& c : kCases) {
    const std::string arguments =
        std::string("set -- '") + c.options + "' " + c.input + " " + c.output + "\n";
    const ProgramResult result =
        Bash(arguments + kEveryAllocation + "\nmv ../wanted ../$3; rm -r ../work");
    EXPECT_EQ(result.out + result.err, "") << arguments;
  }
}

// Its status 1 would be an answer.
TEST_F(MemoryTest, AComparisonThatCannotBeMadeIsNoDifference) {
  temp.Write("a.ppm", Pixmap(40, 30));
  const ProgramResult result = Bash(R"bash(
export LD_PRELOAD=)bash" FAILING_ALLOCATIONS R"bash(
COUNT_ALLOCATIONS=count imx compare a.ppm a.ppm >wanted
for ((n = 2; n <= $(<count); n++)); do
  FAIL_ALLOCATION=$n imx compare a.ppm a.ppm >out 2>messages; status=$?
  if ((status == 0)); then
    cmp out wanted
  elif ((status != 2)) || ! grep -q '^imx: ' messages; then
    echo "allocation $n: status $status, $(<messages)"
  fi
done)bash");
  EXPECT_EQ(result.out + result.err, "");
}

}  // namespace
}  // namespace imx::test
