#include <cstdlib>
#include <cstring>

#include "imagelib/memory.h"

namespace imx {
namespace {

constexpr std::uint32_t kListGrowth = 100;

struct GroupedBlock {
  void* pointer;
  void** owner;
  std::uint32_t group;
};

GroupedBlock* list = nullptr;
std::uint32_t listCapacity = 0;
std::uint32_t listCount = 0;
std::uint32_t lastGroup = 0;
bool groupsWrapped = false;

bool GrowList() {
  const std::uint32_t capacity = listCapacity + kListGrowth;
  auto* grown = static_cast<GroupedBlock*>(std::calloc(capacity, sizeof(GroupedBlock)));
  if (!grown) return false;
  if (list) std::memcpy(grown, list, listCount * sizeof(GroupedBlock));
  std::free(list);
  list = grown;
  listCapacity = capacity;
  return true;
}

bool Register(const GroupedBlock& block) {
  if (listCount == listCapacity && !GrowList()) return false;
  list[listCount++] = block;
  return true;
}

/// Releases entry `index`; the last entry fills its slot, and an empty list gives its array back.
void Remove(std::uint32_t index) {
  const GroupedBlock block = list[index];
  list[index] = list[--listCount];
  if (listCount == 0) {
    std::free(list);
    list = nullptr;
    listCapacity = 0;
  }
  FreeMem(block.pointer);
  *block.owner = nullptr;
}

}  // namespace

std::uint32_t NewGroupId() {
  lastGroup += 1;
  if (lastGroup == 0) groupsWrapped = true;
  if (!groupsWrapped) return lastGroup;
  for (std::uint32_t i = 0; i < listCount; ++i) {
    if (list[i].group == lastGroup) {
      lastGroup += 1;
      i = 0;  // the loop's step then skips the first entry; wanted
    }
  }
  return lastGroup;
}

std::int32_t AllocGrouped(void** owner, std::uint32_t count, std::uint32_t size, const char* label,
                          std::uint32_t group) {
  *owner = nullptr;
  void* block = AllocMem(count, size, label);
  if (!block) return 1;
  if (!Register({block, owner, group})) {
    FreeMem(block);
    return 1;
  }
  *owner = block;
  return 0;
}

void FreeGroup(std::uint32_t group) {
  for (std::uint32_t i = 0; i < listCount;) {
    if (list[i].group == group) {
      Remove(i);
    } else {
      ++i;
    }
  }
}

void FreeGrouped(void** owner) {
  for (std::uint32_t i = 0; i < listCount; ++i) {
    if (list[i].pointer == *owner) {
      Remove(i);
      *owner = nullptr;
      return;
    }
  }
}

void SetLastGroupId(std::uint32_t value) {
  lastGroup = value;
}

}  // namespace imx
