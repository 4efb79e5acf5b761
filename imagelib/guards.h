/// Owners that release a block, an image or the progress display once, on every exit path. A C file
/// is an OpenFile (imagelib/open_file.h), what a codec reads and writes a FileReader and a
/// FileWriter.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>

#include "imagelib/host.h"
#include "imagelib/image.h"
#include "imagelib/memory.h"

namespace imx {

/// A zero-filled tracked array of plain elements. False when it could not be had.
template <typename T>
class TrackedArray {
  static_assert(std::is_trivial_v<T>);

 public:
  TrackedArray() = default;
  TrackedArray(std::uint64_t count, const char* label)
      : data_(Take(count, label)), size_(data_ ? static_cast<std::size_t>(count) : 0) {}
  TrackedArray(TrackedArray&& other) noexcept
      : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  TrackedArray& operator=(TrackedArray&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~TrackedArray() {
    if (data_) FreeMem(data_);
  }

  explicit operator bool() const { return data_ != nullptr; }
  T* data() { return data_; }
  const T* data() const { return data_; }
  std::size_t size() const { return size_; }
  std::span<T> span() { return {data_, size_}; }
  std::span<const T> span() const { return {data_, size_}; }
  T& operator[](std::size_t i) { return data_[i]; }
  const T& operator[](std::size_t i) const { return data_[i]; }
  /// Hands the block over to the caller, who releases it with FreeMem.
  T* release() {
    size_ = 0;
    return std::exchange(data_, nullptr);
  }

 private:
  static T* Take(std::uint64_t count, const char* label) {
    if (count <= UINT32_MAX) {
      return static_cast<T*>(AllocMem(static_cast<std::uint32_t>(count), sizeof(T), label));
    }
    NoteRefusedMemory();
    return nullptr;
  }

  T* data_ = nullptr;
  std::size_t size_ = 0;
};

using TrackedBytes = TrackedArray<std::uint8_t>;

struct ImageFreer {
  void operator()(ImageRecord* image) const { FreeImage(image); }
};

/// An image record that is freed unless it is released.
using ImageGuard = std::unique_ptr<ImageRecord, ImageFreer>;

enum class StopButton { shown, none };

/// A progress display, ended on every path.
class ProgressScope {
 public:
  ProgressScope(const char* title, std::int32_t total, std::int32_t extra,
                StopButton stop = StopButton::shown) {
    (stop == StopButton::shown ? ProgressBeginAbortable : ProgressBegin)(title, total, extra);
  }
  ~ProgressScope() { ProgressEnd(); }
  ProgressScope(const ProgressScope&) = delete;
  ProgressScope& operator=(const ProgressScope&) = delete;
};

/// How a walk over rows came to its end.
enum class Rows {
  done,     ///< every row was visited
  stopped,  ///< the user asked to stop
  ended,    ///< the row function had no more data
};

/// Visits rows 0 .. height-1. Before every row that `step` divides, the position is reported and a
/// stop request ends the walk. The row function takes the row number and returns false to end it.
template <typename RowFunction>
Rows ForEachRow(std::int32_t height, std::int32_t step, RowFunction&& visit) {
  for (std::int32_t y = 0; y < height; ++y) {
    if (y % step == 0 && ProgressUpdateAbort(y) != 0) return Rows::stopped;
    if (!visit(y)) return Rows::ended;
  }
  return Rows::done;
}

}  // namespace imx
