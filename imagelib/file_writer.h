/// Buffered writing that keeps the first failure and tells the host of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string_view>

namespace imx {

/// Writes a new file. A writer that goes out of scope without a successful Finish() notes a failed
/// save (save_outcome.h), so a saver that returns early needs no clean-up of its own.
class FileWriter {
 public:
  /// Creates `path`, replacing what was there.
  explicit FileWriter(const char* path);
  ~FileWriter();
  FileWriter(const FileWriter&) = delete;
  FileWriter& operator=(const FileWriter&) = delete;

  /// Open, and nothing has failed so far. Once false, writes do nothing until GoOn().
  bool ok() const { return file_ != nullptr && !failed_; }
  std::uint64_t position() const { return flushed_ + used_; }

  /// Every write returns ok().
  bool Write(const void* data, std::size_t count);
  bool U8(std::uint8_t value) {
    if (used_ < sizeof buffer_) {
      buffer_[used_++] = value;
      return ok();
    }
    return Write(&value, 1);
  }
  /// Numbers in the file byte order.
  bool U16(std::uint16_t value);
  bool U32(std::uint32_t value);
  bool F32(float value);
  /// `count` zero bytes.
  bool Zeros(std::size_t count);
  /// 16-bit numbers in the file byte order, by their low bits.
  bool Words(std::initializer_list<int> words);
  /// A text field of `size` bytes: as much of `text` as leaves room for a zero, and zeros.
  bool Text(std::string_view text, std::size_t size);

  /// Goes on after a failure, without what was in the buffer then. The save stays a failed one: the
  /// writer can no longer be finished with success.
  void GoOn();

  /// Overwrites bytes from `offset` on, all of which have been written before.
  bool Patch(std::uint64_t offset, const void* data, std::size_t count);
  /// The same for a number in the file byte order.
  bool PatchU32(std::uint64_t offset, std::uint32_t value);

  /// Flushes and closes. True when the whole file is written.
  bool Finish();

 private:
  bool Drain();
  bool Emit(const void* data, std::size_t count);
  void Fail();

  std::FILE* file_;
  bool failed_ = false;
  bool incomplete_ = false;    // something failed at any time
  std::uint64_t flushed_ = 0;  // bytes handed to the system
  std::size_t used_ = 0;
  std::uint8_t buffer_[32768];
};

/// Asked before each write to the system when set (null switches it off); false makes that write
/// fail as if the disk were full. For fault injection.
using WriteGate = bool (*)();
void SetWriteGate(WriteGate gate);

}  // namespace imx
