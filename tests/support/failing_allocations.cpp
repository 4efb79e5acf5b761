// A library to be preloaded into a program: one of its allocations fails, or all from one on.
//
// FAIL_ALLOCATION=N   the N-th allocation fails, counted from 1
// FAIL_ALLOCATION=N+  so do all that follow
// COUNT_ALLOCATIONS=FILE  at its end the program writes their number into FILE
//
// Counted is what the C library is asked for: what `new` takes comes from there as well.

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// The allocator's own names.
// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)

namespace {

std::atomic<long> asked = 0;

/// Read from the environment without any allocation.
struct Plan {
  long failing = 0;
  bool onwards = false;

  Plan() {
    const char* text = std::getenv("FAIL_ALLOCATION");
    if (!text) return;
    failing = std::strtol(text, nullptr, 10);
    onwards = std::strchr(text, '+') != nullptr;
  }
};

bool IsRefused() {
  static const Plan plan;
  const long number = ++asked;
  const bool refused =
      plan.failing > 0 && (number == plan.failing || (plan.onwards && number > plan.failing));
  if (refused) errno = ENOMEM;
  return refused;
}

__attribute__((destructor)) void WriteCount() {
  const char* path = std::getenv("COUNT_ALLOCATIONS");
  const int file = path ? open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600) : -1;
  if (file < 0) return;
  dprintf(file, "%ld\n", asked.load());
  close(file);
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  return IsRefused() ? nullptr : __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
  return IsRefused() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size) {
  return IsRefused() ? nullptr : __libc_realloc(block, size);
}

void* memalign(std::size_t alignment,  // NOLINT(readability-identifier-naming)
               std::size_t size) {
  return IsRefused() ? nullptr : __libc_memalign(alignment, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  *block = memalign(alignment, size);
  return *block ? 0 : ENOMEM;
}
}
