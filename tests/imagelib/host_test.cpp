#include "imagelib/host.h"

#include "imagelib/guards.h"
#include "tests/support/library_test.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class HostTest : public LibraryTest {};

TEST_F(HostTest, CallsReachTheirSlots) {
  LibMessage("m");
  LibError("e");
  LibNote("n");
  EXPECT_THAT(host.messages, ElementsAre("m"));
  EXPECT_THAT(host.errors, ElementsAre("e"));
  EXPECT_THAT(host.notes, ElementsAre("n"));
  Services().note = nullptr;
  LibNote("of no own");
  EXPECT_THAT(host.errors, ElementsAre("e", "of no own"));

  ProgressBegin("plain", 7, 3);
  ProgressUpdate(5);
  ProgressStep();
  ProgressEnd();
  EXPECT_FALSE(host.progress[0].abortable);
  EXPECT_THAT(host.progress[0].positions, ElementsAre(5, 6));
}

TEST_F(HostTest, EmptyTableAnswersNothing) {
  Host() = {};
  LibMessage("m");
  LibError("e");
  ProgressBeginAbortable("t", 1, 1);
  EXPECT_EQ(ProgressUpdateAbort(1), 0);
  EXPECT_EQ(ProgressStepAbort(), 0);
  ProgressStep();
  ProgressEnd();
}

TEST_F(HostTest, RowsAreVisitedUntilStopOrEnd) {
  const ProgressScope progress("rows", 10, 1);
  std::vector<int> rows;
  const auto visit = [&rows](std::int32_t y) {
    rows.push_back(y);
    return y < 7;
  };
  EXPECT_EQ(ForEachRow(5, 2, visit), Rows::done);
  EXPECT_THAT(host.progress.back().positions, ElementsAre(0, 2, 4));
  rows.clear();
  EXPECT_EQ(ForEachRow(10, 1, visit), Rows::ended);
  EXPECT_EQ(rows.back(), 7);
  rows.clear();
  host.stopAt = host.abortableCalls + 1;
  EXPECT_EQ(ForEachRow(10, 3, visit), Rows::stopped);
  EXPECT_THAT(rows, ElementsAre(0, 1, 2));
}

}  // namespace
}  // namespace imx::test
