/// A buffer that lives from one render to the next and is released when the library shuts down.
#pragma once

#include <cstdint>

#include "imagelib/memory.h"

namespace imx {

template <typename T>
class PersistentBuffer {
 public:
  T* get() const { return static_cast<T*>(block_); }
  explicit operator bool() const { return block_ != nullptr; }

  /// Makes sure of `count` elements, zero-filled when they are new. False when memory runs out.
  bool Ensure(std::uint32_t count, const char* label) {
    if (!block_ && RegisterPersistentBuffer(&block_)) block_ = AllocMem(count, sizeof(T), label);
    return block_ != nullptr;
  }
  void Free() {
    if (block_) FreeMem(block_);
    block_ = nullptr;
  }

 private:
  void* block_ = nullptr;
};

}  // namespace imx
