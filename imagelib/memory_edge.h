/// Where exceptions end: the one kind that the library can meet is memory that ran out.
#pragma once

#include <new>

#include "imagelib/memory.h"

namespace imx {

/// What became of a request in words. Short enough for a std::string to need no memory for it.
inline constexpr char kOutOfMemory[] = "out of memory";

/// What `work` gives. When memory runs out in it, that is counted (RefusalWatch tells) and
/// `otherwise` is given.
template <typename Work>
auto WithinMemory(Work&& work, decltype(work()) otherwise) -> decltype(work()) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    NoteRefusedMemory();
    return otherwise;
  }
}

}  // namespace imx
