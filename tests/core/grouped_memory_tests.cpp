#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"

namespace imx::test {
namespace {

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
