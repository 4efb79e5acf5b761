#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

#include "imagelib/large_pages.h"

namespace imx {

void AskForLargePages(void* start, std::size_t size) {
  // The call wants whole pages; those that the block shares with others keep their size.
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t before = (page - reinterpret_cast<std::uintptr_t>(start) % page) % page;
  if (size > before) {
    madvise(static_cast<char*>(start) + before, (size - before) / page * page, MADV_HUGEPAGE);
  }
}

}  // namespace imx
