#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "imagelib/guards.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"

namespace imx::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class MemoryTest : public LibraryTest {};

std::uint8_t* Alloc(std::uint32_t count, std::uint32_t size = 1, const char* label = "memtest1") {
  return static_cast<std::uint8_t*>(AllocMem(count, size, label));
}

TEST_F(MemoryTest, BlockIsZeroedBetweenItsSizeAndTwoGuards) {
  for (const std::uint32_t n : {0u, 1u, 3u, 4u, 100u}) {
    std::uint8_t* block = Alloc(n);
    ASSERT_NE(block, nullptr);
    std::uint32_t size;
    std::memcpy(&size, block - 8, 4);
    EXPECT_EQ(size, n);
    EXPECT_EQ(std::memcmp(block - 4, "\xDE\xAD\xBE\xEF", 4), 0);
    EXPECT_EQ(std::memcmp(block + n, "\xDE\xAD\xBE\xEF", 4), 0);
    for (std::uint32_t i = 0; i < n; ++i) EXPECT_EQ(block[i], 0);
    EXPECT_EQ(LiveBlockSize(block), n);
    FreeMem(block);
    EXPECT_EQ(LiveBlockSize(block), std::nullopt);
  }
}

/// What FreeMem must say of a block of 12 bytes labelled "memtest1".
std::string DamageReport(const char* what, const std::uint8_t* block) {
  char text[128];
  std::snprintf(text, sizeof text, "%s ChunkName=\"memtest1\", 12 Bytes, ptr=$%08x", what,
                static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(block - 8)));
  return text;
}

TEST_F(MemoryTest, DamageIsReportedAtReleaseOnceForEachSide) {
  for (const auto& [behind, before] : {std::pair{12, 0}, {0, -1}, {15, -4}}) {
    std::uint8_t* block = Alloc(3, 4);
    std::vector<std::string> reports;
    if (behind != 0) reports.push_back(DamageReport("Memory Over-run!!!", block));
    if (before != 0) reports.push_back(DamageReport("Memory Under-run!!!", block));
    block[behind] = block[before] = 1;
    FreeMem(block);
    EXPECT_EQ(host.errors, reports);
    EXPECT_EQ(NewMemoryFaults(), static_cast<int>(reports.size()));
    host.errors.clear();
  }
  EXPECT_EQ(LiveBlockCount(), 0u) << "released all the same";
}

TEST_F(MemoryTest, UnknownPointersAreReportedAndLeftAlone) {
  constexpr const char* kReport = "attempted free of unknown pointer!";
  FreeMem(nullptr);
  std::uint8_t* block = Alloc(1);
  FreeMem(block + 1);
  FreeMem(block);
  FreeMem(block);
  EXPECT_THAT(host.errors, ElementsAre(kReport, kReport, kReport));
  EXPECT_EQ(NewMemoryFaults(), 3);
}

TEST_F(MemoryTest, MissingLabelsAreWarningsOnly) {
  void* unnamed = AllocMem(1, 1, nullptr);
  void* empty = AllocMem(1, 1, "");
  ASSERT_FALSE(host.errors.empty());
  EXPECT_EQ(host.errors.front(), "Warning - memory allocation without label! (desc==NULL)");
  EXPECT_EQ(host.errors.back(), "Warning - memory allocation with empty label! (desc[0]==0)");
  EXPECT_EQ(NewMemoryFaults(), 3);
  FreeMem(unnamed);
  FreeMem(empty);
}

TEST_F(MemoryTest, CountersFollowTheBlocks) {
  const MemoryCounters before = GetMemoryCounters();
  void* big = Alloc(1000, 7);
  void* small = Alloc(5);
  const MemoryCounters during = GetMemoryCounters();
  EXPECT_EQ(during.allocs, before.allocs + 2);
  EXPECT_EQ(during.now, before.now + 7005);
  EXPECT_GE(during.peak, during.now);
  FreeMem(big);
  FreeMem(small);
  const MemoryCounters after = GetMemoryCounters();
  EXPECT_EQ(after.deallocs, before.deallocs + 2);
  EXPECT_EQ(after.now, before.now);
  EXPECT_EQ(after.peak, during.peak);

  MemStats();
  std::ostringstream text;
  text << "maxptrlist=" << after.maxptrlist << ", maxptrs=" << after.maxptrs
       << ", allocs=" << after.allocs << ", deallocs=" << after.deallocs << ", peak=" << after.peak
       << " now=" << after.now;
  EXPECT_THAT(host.messages, ElementsAre(text.str()));
}

TEST_F(MemoryTest, ListGrowsByHundredsAndForgetsNoBlock) {
  constexpr std::size_t kBlocks = 200;
  std::vector<std::uint8_t*> blocks;
  for (std::size_t i = 0; i < kBlocks; ++i) blocks.push_back(Alloc(static_cast<std::uint32_t>(i)));
  EXPECT_EQ(GetMemoryCounters().maxptrlist, 200);
  EXPECT_EQ(GetMemoryCounters().maxptrs, static_cast<int>(kBlocks));
  // From the middle outwards: each release moves another entry.
  for (std::size_t i = 0; i < kBlocks; ++i) {
    const std::size_t at = i % 2 == 0 ? kBlocks / 2 + i / 2 : kBlocks / 2 - 1 - i / 2;
    EXPECT_EQ(LiveBlockSize(blocks[at]), at);
    FreeMem(blocks[at]);
  }
  EXPECT_EQ(LiveBlockCount(), 0u);
}

TEST_F(MemoryTest, SizesBeyond32BitsOrTheCeilingAreRefused) {
  const std::int32_t refused = GetMemoryCounters().refused;
  EXPECT_EQ(AllocMem(0x10000, 0x10000, "memtest1"), nullptr);
  EXPECT_EQ(AllocMem(0xFFFFFFFF, 0xFFFFFFFF, "memtest1"), nullptr);
  EXPECT_EQ(AllocMem(0xFFFFFFFF, 1, "memtest1"), nullptr);
  EXPECT_FALSE(TrackedBytes(std::uint64_t{1} << 32, "memtest1"));
  EXPECT_FALSE(TrackedArray<std::uint32_t>(std::uint64_t{1} << 30, "memtest1"));

  SetMemoryCeiling(GetMemoryCounters().now + 1000);
  void* most = AllocMem(1000, 1, "memtest1");
  EXPECT_NE(most, nullptr);
  EXPECT_EQ(AllocMem(1, 1, "memtest1"), nullptr);
  FreeMem(most);
  EXPECT_EQ(GetMemoryCounters().refused, refused + 6);
  EXPECT_TRUE(host.errors.empty()) << "running out of memory is silent";
}

TEST_F(MemoryTest, ABudgetCountsWhatIsTakenWhileItLives) {
  const TrackedBytes before(500, "memtest1");
  SetMemoryCeiling(GetMemoryCounters().now + 2000);
  {
    const MemoryBudget budget(1000);
    const MemoryBudget inner(5000);  // the outer one holds on
    EXPECT_TRUE(TrackedBytes(1000, "memtest1"));
    EXPECT_FALSE(budget.Exceeded());
    EXPECT_FALSE(TrackedBytes(1001, "memtest1"));
    EXPECT_TRUE(budget.Exceeded());
  }
  EXPECT_TRUE(TrackedBytes(2000, "memtest1"));
  const MemoryBudget unlimited(UINT64_MAX);
  EXPECT_FALSE(TrackedBytes(2001, "memtest1"));
}

TEST_F(MemoryTest, AllocPtrTakesNothingForNothing) {
  EXPECT_EQ(AllocPtr(0), nullptr);
  void* block = AllocPtr(9, 4);
  EXPECT_EQ(LiveBlockSize(block), 9u);
  static_cast<std::uint8_t*>(block)[9] = 0;
  FreeMem(block);
  EXPECT_THAT(host.errors, ElementsAre(HasSubstr("ChunkName=\"allocptr\"")));
  EXPECT_EQ(NewMemoryFaults(), 1);
}

TEST_F(MemoryTest, CleanupListsTheLastBlockFirst) {
  Alloc(10, 1, "first");
  std::uint8_t* damaged = Alloc(20, 1, "second");
  damaged[20] = 0;
  Alloc(30, 1, "third");
  MemCleanup();
  EXPECT_THAT(host.errors, ElementsAre("memtot nonzero - commencing autocleanup",
                                       "unfreed pointer: \"third\" of size 30",
                                       "unfreed pointer: \"second\" of size 20",
                                       HasSubstr("Memory Over-run!!! ChunkName=\"second\""),
                                       "unfreed pointer: \"first\" of size 10"));
  EXPECT_THAT(host.messages, ElementsAre(HasSubstr(" now=60"), HasSubstr(" now=0")));
  EXPECT_EQ(LiveBlockCount(), 0u);
  EXPECT_EQ(NewMemoryFaults(), 4);
  host.Clear();
  MemCleanup();
  EXPECT_TRUE(host.errors.empty() && host.messages.empty()) << "nothing live, nothing said";
}

void* keptBuffer = nullptr;

TEST_F(MemoryTest, ShutdownReleasesWorkBuffersBeforeItLooksForLeaks) {
  EXPECT_TRUE(RegisterPersistentBuffer(&keptBuffer));
  EXPECT_TRUE(RegisterPersistentBuffer(&keptBuffer)) << "again is no second release";
  keptBuffer = AllocMem(8, 1, "kept");
  LibraryShutdown();
  EXPECT_EQ(keptBuffer, nullptr);
  EXPECT_TRUE(host.errors.empty());
  LibraryShutdown();
  EXPECT_TRUE(host.errors.empty());
}

class GroupedMemoryTest : public LibraryTest {
 protected:
  std::int32_t Alloc(void*& owner, std::uint32_t group) {
    return AllocGrouped(&owner, 4, 4, "group1", group);
  }
};

TEST_F(GroupedMemoryTest, GroupsAreReleasedApart) {
  const std::uint32_t one = NewGroupId();
  const std::uint32_t other = NewGroupId();
  ASSERT_NE(one, other);
  void* owners[150];  // beyond the list's first capacity
  for (std::size_t i = 0; i < std::size(owners); ++i) {
    ASSERT_EQ(Alloc(owners[i], i % 3 == 0 ? other : one), 0);
  }
  FreeGroup(one);
  EXPECT_EQ(LiveBlockCount(), std::size(owners) / 3);
  for (std::size_t i = 0; i < std::size(owners); ++i) EXPECT_EQ(owners[i] != nullptr, i % 3 == 0);
  FreeGroup(other);
  EXPECT_EQ(LiveBlockCount(), 0u);
  FreeGroup(other);
}

TEST_F(GroupedMemoryTest, SingleBlocksAndStrangers) {
  void* owner = nullptr;
  ASSERT_EQ(Alloc(owner, NewGroupId()), 0);
  void* stranger = AllocMem(1, 1, "stranger");
  void* strangerOwner = stranger;
  FreeGrouped(&strangerOwner);
  EXPECT_EQ(strangerOwner, stranger) << "not registered: nothing happens";
  FreeMem(stranger);
  FreeGrouped(&owner);
  EXPECT_EQ(owner, nullptr);

  owner = &owner;
  const AllocationFailure failure(0);
  EXPECT_EQ(Alloc(owner, NewGroupId()), 1);
  EXPECT_EQ(owner, nullptr);
}

// Ids that are in use are passed over only once the counter has come round. The first entry escapes
// the comparison whenever the scan starts again.
TEST_F(GroupedMemoryTest, IdsAfterTheCounterCameRound) {
  SetLastGroupId(0xFFFFFFFE);
  EXPECT_EQ(NewGroupId(), 0xFFFFFFFFu);
  EXPECT_EQ(NewGroupId(), 0u);

  void* owners[3];
  ASSERT_EQ(Alloc(owners[0], 3), 0);
  ASSERT_EQ(Alloc(owners[1], 1), 0);
  ASSERT_EQ(Alloc(owners[2], 2), 0);
  EXPECT_EQ(NewGroupId(), 3u) << "1 and 2 are taken; 3 is the first entry, not looked at again";
  FreeGroup(1);
  FreeGroup(2);
  SetLastGroupId(2);
  EXPECT_EQ(NewGroupId(), 4u) << "the first scan does look at the first entry";
  FreeGroup(3);
}

}  // namespace
}  // namespace imx::test
