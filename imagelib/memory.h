/// Tracked memory: every block the library and the shell take, with guards, labels and counters.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace imx {

/// Counters of the tracked allocator since the process started.
struct MemoryCounters {
  std::int32_t maxptrlist;  ///< highest capacity of the live list, in entries
  std::int32_t maxptrs;     ///< highest number of live blocks seen
  std::int32_t allocs;      ///< blocks handed out
  std::int32_t deallocs;    ///< blocks released
  std::uint32_t peak;       ///< highest `now` seen, in bytes
  std::uint32_t now;        ///< bytes live, user areas only
  std::int32_t refused;     ///< requests that could not be met, also those of NoteRefusedMemory
  std::int32_t faults;      ///< found in the program: damaged guards, unknown pointers, leaks
};

/// Takes a zero-filled block of count * size bytes, to be released with FreeMem. `label` is a
/// static text naming the allocation; a null or empty one draws a warning through LibError.
/// Null when memory runs out, when the product does not fit 32 bits together with the guards, or
/// when it would lift the live total above the memory ceiling.
void* AllocMem(std::uint32_t count, std::uint32_t size, const char* label);

/// Releases a block of AllocMem, reporting damaged guards through LibError. An unknown pointer is
/// reported and left alone.
void FreeMem(void* pointer);

/// AllocMem of `size` bytes under the label "allocptr"; null without allocating when size is 0.
void* AllocPtr(std::uint32_t size, std::uint32_t unused = 0);

/// Sends the statistics line through LibMessage.
void MemStats();

/// Reports and releases every live block, then the list itself.
void MemCleanup();

/// Has LibraryShutdown release the block that *owner points at (when non-null) and null it.
/// Registering the same owner again does nothing. At most 8 owners; false beyond that.
bool RegisterPersistentBuffer(void** owner);

/// Releases the persistent work buffers, then runs MemCleanup. Called once on every exit path.
void LibraryShutdown();

MemoryCounters GetMemoryCounters();

/// Counts a request for memory that was refused elsewhere than in AllocMem.
void NoteRefusedMemory();

/// Tells whether a request for memory was refused since it was made.
class RefusalWatch {
 public:
  bool Refused() const { return GetMemoryCounters().refused != before_; }

 private:
  std::int32_t before_ = GetMemoryCounters().refused;
};

/// Number of blocks that are live now.
std::size_t LiveBlockCount();

/// Size of the live block that was handed out as `pointer`; none when it is not such a pointer.
std::optional<std::uint32_t> LiveBlockSize(const void* pointer);

/// AllocMem refuses what would lift the live total above this many bytes. Unlimited at start.
void SetMemoryCeiling(std::uint64_t bytes);

/// A share of memory for one piece of work: while it lives, AllocMem refuses what would lift the
/// live total more than `bytes` above where it stood, or above the ceiling that was set before.
class MemoryBudget {
 public:
  explicit MemoryBudget(std::uint64_t bytes);
  ~MemoryBudget();
  MemoryBudget(const MemoryBudget&) = delete;
  MemoryBudget& operator=(const MemoryBudget&) = delete;

  /// Whether a request was refused for a ceiling since it was made.
  bool Exceeded() const;

 private:
  std::uint64_t ceilingBefore_;
  std::int32_t refusalsBefore_;
};

/// Asked before each allocation when set (null switches it off); false makes that allocation fail
/// as if memory had run out. For fault injection.
using AllocationGate = bool (*)();
void SetAllocationGate(AllocationGate gate);

// Blocks that a codec frees together.

/// A group id for AllocGrouped: 1, 2, 3 ... After 2^32 of them ids come again, and those that a
/// registered block carries are passed over; never the same twice among live groups.
std::uint32_t NewGroupId();

/// AllocMem into *owner, registered under `group`. 0 when done; 1 on failure, *owner null.
std::int32_t AllocGrouped(void** owner, std::uint32_t count, std::uint32_t size, const char* label,
                          std::uint32_t group);

/// Releases every block of the group and nulls each owner.
void FreeGroup(std::uint32_t group);

/// Releases the one registered block that *owner points at and nulls *owner; else does nothing.
void FreeGrouped(void** owner);

/// Makes NewGroupId go on from `value`, as if that id had just been given out.
void SetLastGroupId(std::uint32_t value);

}  // namespace imx
