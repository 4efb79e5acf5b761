/// Bounded, buffered reading: the one place that knows what a short read is.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace imx {

/// Opens `path` for binary reading. Null when it cannot be opened; where memory is what is missing,
/// that is counted (memory.h).
std::FILE* OpenForReading(const char* path);

/// Reads a seekable file from its current position. Owns the file and closes it.
/// Past the end every read gives zeros and ended() says so, and when the reader is done
/// load_outcome.h is told; nothing reads beyond the real size.
class FileReader {
 public:
  /// Takes over `file` (may be null: then ok() is false and everything reads as zero).
  explicit FileReader(std::FILE* file);
  /// Opens `path` for binary reading.
  explicit FileReader(const char* path);
  ~FileReader();
  FileReader(const FileReader&) = delete;
  FileReader& operator=(const FileReader&) = delete;

  bool ok() const { return file_ != nullptr; }
  /// Size of the whole file in bytes, as far as it can be read.
  std::uint64_t size() const { return size_; }
  std::uint64_t position() const { return bufferStart_ + bufferAt_; }
  /// Bytes between the position and the end of the file.
  std::uint64_t remaining() const { return position() < size_ ? size_ - position() : 0; }
  /// Whether a read or seek went past the end, or a read failed, since the file was taken over.
  bool ended() const { return ended_; }

  /// Goes to `offset` from the start. Past the end is allowed: reads there give zeros.
  void Seek(std::uint64_t offset);
  void Skip(std::uint64_t count) { Seek(position() + count); }

  /// Reads up to `count` bytes; what is missing is zero-filled. Returns the bytes really read.
  std::size_t Read(void* to, std::size_t count);
  /// Read that tells whether all was there.
  bool ReadAll(void* to, std::size_t count) { return Read(to, count) == count; }

  /// A view of the bytes at the position without moving it: at most `wanted` (up to kBufferSize)
  /// of them, fewer at the end of the file. Valid until the next call on the reader.
  struct View {
    const std::uint8_t* data;
    std::size_t size;
  };
  View Peek(std::size_t wanted);

  std::uint8_t U8() {
    if (bufferAt_ < bufferSize_) return buffer_[bufferAt_++];
    return SlowU8();
  }
  /// Numbers in the file byte order.
  std::uint16_t U16();
  std::uint32_t U32();
  float F32();

  static constexpr std::size_t kBufferSize = 32768;

 private:
  std::size_t Fetch(void* to, std::size_t count, std::uint64_t offset);
  void Fill();
  std::uint8_t SlowU8();

  std::FILE* file_;
  std::uint64_t size_ = 0;
  std::uint64_t bufferStart_ = 0;  // file offset of buffer_[0]
  std::size_t bufferAt_ = 0;
  std::size_t bufferSize_ = 0;
  bool ended_ = false;
  std::uint8_t buffer_[kBufferSize];
};

}  // namespace imx
