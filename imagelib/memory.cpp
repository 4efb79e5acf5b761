#include "imagelib/memory.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "imagelib/host.h"
#include "imagelib/large_pages.h"

namespace imx {
namespace {

constexpr unsigned char kGuard[4] = {0xDE, 0xAD, 0xBE, 0xEF};
constexpr std::size_t kHeaderSize = 8;  // u32 size, then the front guard
constexpr std::uint32_t kListGrowth = 100;
constexpr std::uint32_t kLargeBlock = 1 << 22;  // from here on large pages pay
// The block is taken as (n + 16) >> 2 words; n + 16 must still fit 32 bits.
constexpr std::uint64_t kLargestBlock = 0xFFFFFFFFull - 16;

struct LiveBlock {
  unsigned char* start;
  std::uint32_t size;
  const char* label;
};

LiveBlock* list = nullptr;
std::uint32_t listCapacity = 0;
std::uint32_t listCount = 0;
LiveBlock lastRemoved = {};
MemoryCounters counters = {};
std::uint64_t ceiling = UINT64_MAX;
std::int32_t ceilingRefusals = 0;
AllocationGate allocationGate = nullptr;

constexpr std::size_t kMostPersistentBuffers = 8;
void** persistentBuffers[kMostPersistentBuffers] = {};
std::size_t persistentCount = 0;

bool GrowList() {
  const std::uint32_t capacity = listCapacity + kListGrowth;
  auto* grown = static_cast<LiveBlock*>(std::calloc(capacity, sizeof(LiveBlock)));
  if (!grown) return false;
  if (list) std::memcpy(grown, list, listCount * sizeof(LiveBlock));
  std::free(list);
  list = grown;
  listCapacity = capacity;
  return true;
}

bool Register(unsigned char* start, std::uint32_t size, const char* label) {
  if (listCount == listCapacity && !GrowList()) return false;
  list[listCount++] = {start, size, label};
  counters.now += size;
  if (counters.now > counters.peak) counters.peak = counters.now;
  const auto live = static_cast<std::int32_t>(listCount);
  if (live > counters.maxptrs) counters.maxptrs = live;
  const auto capacity = static_cast<std::int32_t>(listCapacity);
  if (capacity > counters.maxptrlist) counters.maxptrlist = capacity;
  return true;
}

/// Index of the block that was handed out as `pointer`; listCount when it is not live.
std::uint32_t FindBlock(const void* pointer) {
  // Compared as a number: an unknown pointer must not even be moved back by the header's size.
  const auto start = reinterpret_cast<std::uintptr_t>(pointer) - kHeaderSize;
  std::uint32_t i = pointer ? 0 : listCount;
  while (i < listCount && reinterpret_cast<std::uintptr_t>(list[i].start) != start) ++i;
  return i;
}

/// A fault that no file can bring about. It is counted before the host hears of it.
void ReportFault(const char* text) {
  counters.faults += 1;
  LibError(text);
}

void ReportDamage(const char* what) {
  char text[512];
  std::snprintf(text, sizeof text, "%s ChunkName=\"%.300s\", %d Bytes, ptr=$%08x", what,
                lastRemoved.label, static_cast<int>(lastRemoved.size),
                static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(lastRemoved.start)));
  ReportFault(text);
}

/// Takes a block out of the list (the last entry fills its slot), tests its guards, releases it.
void RemoveBlock(std::uint32_t index) {
  lastRemoved = list[index];
  list[index] = list[--listCount];
  counters.now -= lastRemoved.size;
  const unsigned char* user = lastRemoved.start + kHeaderSize;
  if (std::memcmp(user + lastRemoved.size, kGuard, sizeof kGuard) != 0) {
    ReportDamage("Memory Over-run!!!");
  }
  if (std::memcmp(user - sizeof kGuard, kGuard, sizeof kGuard) != 0) {
    ReportDamage("Memory Under-run!!!");
  }
  counters.deallocs += 1;
  std::free(lastRemoved.start);
}

/// AllocMem without its warnings and without counting what is refused.
void* TakeBlock(std::uint32_t count, std::uint32_t size, const char* label) {
  const std::uint64_t product = std::uint64_t{count} * size;
  if (counters.now + product > ceiling) {
    ceilingRefusals += 1;
    return nullptr;
  }
  if (product > kLargestBlock) return nullptr;
  if (counters.now + product > UINT32_MAX) return nullptr;  // the counters are 32-bit
  if (allocationGate && !allocationGate()) return nullptr;

  const auto n = static_cast<std::uint32_t>(product);
  auto* start = static_cast<unsigned char*>(std::calloc((n + 16) >> 2, 4));
  if (!start) return nullptr;
  if (n >= kLargeBlock) AskForLargePages(start, n);
  if (!Register(start, n, label)) {
    std::free(start);
    return nullptr;
  }
  std::memcpy(start, &n, sizeof n);
  std::memcpy(start + 4, kGuard, sizeof kGuard);
  std::memcpy(start + kHeaderSize + n, kGuard, sizeof kGuard);
  counters.allocs += 1;
  return start + kHeaderSize;
}

}  // namespace

void* AllocMem(std::uint32_t count, std::uint32_t size, const char* label) {
  if (!label) {
    ReportFault("Warning - memory allocation without label! (desc==NULL)");
    label = "";
  }
  if (label[0] == 0) ReportFault("Warning - memory allocation with empty label! (desc[0]==0)");
  void* block = TakeBlock(count, size, label);
  if (!block) NoteRefusedMemory();
  return block;
}

void NoteRefusedMemory() {
  counters.refused += 1;
}

void FreeMem(void* pointer) {
  const std::uint32_t index = FindBlock(pointer);
  if (index == listCount) {
    ReportFault("attempted free of unknown pointer!");
    return;
  }
  RemoveBlock(index);
}

void* AllocPtr(std::uint32_t size, std::uint32_t /*unused*/) {
  return size == 0 ? nullptr : AllocMem(size, 1, "allocptr");
}

void MemStats() {
  char text[160];
  std::snprintf(text, sizeof text,
                "maxptrlist=%d, maxptrs=%d, allocs=%d, deallocs=%d, peak=%d now=%d",
                counters.maxptrlist, counters.maxptrs, counters.allocs, counters.deallocs,
                static_cast<int>(counters.peak), static_cast<int>(counters.now));
  LibMessage(text);
}

void MemCleanup() {
  if (listCount > 0) {
    MemStats();
    LibError("memtot nonzero - commencing autocleanup");
    while (listCount > 0) {
      const LiveBlock& block = list[listCount - 1];
      char text[384];
      std::snprintf(text, sizeof text, "unfreed pointer: \"%.300s\" of size %d", block.label,
                    static_cast<int>(block.size));
      ReportFault(text);
      RemoveBlock(listCount - 1);
    }
    MemStats();
  }
  std::free(list);
  list = nullptr;
  listCapacity = 0;
}

bool RegisterPersistentBuffer(void** owner) {
  for (std::size_t i = 0; i < persistentCount; ++i) {
    if (persistentBuffers[i] == owner) return true;
  }
  if (persistentCount == kMostPersistentBuffers) return false;
  persistentBuffers[persistentCount++] = owner;
  return true;
}

void LibraryShutdown() {
  for (std::size_t i = 0; i < persistentCount; ++i) {
    void*& buffer = *persistentBuffers[i];
    if (buffer) FreeMem(buffer);
    buffer = nullptr;
  }
  MemCleanup();
}

MemoryCounters GetMemoryCounters() {
  return counters;
}

std::size_t LiveBlockCount() {
  return listCount;
}

std::optional<std::uint32_t> LiveBlockSize(const void* pointer) {
  const std::uint32_t index = FindBlock(pointer);
  if (index == listCount) return std::nullopt;
  return list[index].size;
}

void SetMemoryCeiling(std::uint64_t bytes) {
  ceiling = bytes;
}

MemoryBudget::MemoryBudget(std::uint64_t bytes)
    : ceilingBefore_(ceiling), refusalsBefore_(ceilingRefusals) {
  if (bytes < UINT64_MAX - counters.now) ceiling = std::min(ceiling, counters.now + bytes);
}

MemoryBudget::~MemoryBudget() {
  ceiling = ceilingBefore_;
}

bool MemoryBudget::Exceeded() const {
  return ceilingRefusals != refusalsBefore_;
}

void SetAllocationGate(AllocationGate gate) {
  allocationGate = gate;
}

}  // namespace imx
