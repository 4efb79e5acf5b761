#include "imagelib/file_reader.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>

#include "imagelib/byte_order.h"
#include "imagelib/load_outcome.h"
#include "imagelib/memory.h"

namespace imx {

std::FILE* OpenForReading(const char* path) {
  std::FILE* file = std::fopen(path, "rb");
  if (!file && errno == ENOMEM) NoteRefusedMemory();
  return file;
}

FileReader::FileReader(std::FILE* file) : file_(file) {
  if (!file_) return;
  const off_t start = ftello(file_);
  const off_t end = start >= 0 && fseeko(file_, 0, SEEK_END) == 0 ? ftello(file_) : -1;
  if (end < 0 || fseeko(file_, start, SEEK_SET) != 0) {
    ended_ = true;
    return;
  }
  size_ = static_cast<std::uint64_t>(end);
  bufferStart_ = static_cast<std::uint64_t>(start);
  std::setvbuf(file_, nullptr, _IONBF, 0);  // the buffer is ours
  Fill();  // what cannot be read at all (a folder) has no size either
}

FileReader::FileReader(const char* path) : FileReader(OpenForReading(path)) {}

FileReader::~FileReader() {
  if (ended_) NoteReadPastEnd();
  if (file_) std::fclose(file_);
}

void FileReader::Seek(std::uint64_t offset) {
  if (offset >= bufferStart_ && offset - bufferStart_ <= bufferSize_) {
    bufferAt_ = static_cast<std::size_t>(offset - bufferStart_);
    return;
  }
  bufferStart_ = offset;
  bufferAt_ = bufferSize_ = 0;
  if (offset > size_) {
    ended_ = true;
  } else if (file_) {
    ended_ = fseeko(file_, static_cast<off_t>(offset), SEEK_SET) != 0 || ended_;
  }
}

/// Reads from the system's position, which is that of `offset`. What is missing shortens the file.
std::size_t FileReader::Fetch(void* to, std::size_t count, std::uint64_t offset) {
  if (!file_ || offset >= size_) return 0;
  const std::size_t got = std::fread(to, 1, count, file_);
  if (got < count) size_ = std::min(size_, offset + got);
  return got;
}

/// Refills an exhausted buffer from the position on.
void FileReader::Fill() {
  bufferStart_ += bufferAt_;
  bufferAt_ = 0;
  bufferSize_ = Fetch(buffer_, sizeof buffer_, bufferStart_);
}

std::size_t FileReader::Read(void* to, std::size_t count) {
  auto* out = static_cast<std::uint8_t*>(to);
  std::size_t done = 0;
  while (done < count) {
    if (bufferAt_ == bufferSize_) {
      const std::size_t left = count - done;
      if (left >= sizeof buffer_) {
        // Large reads pass the buffer by.
        const std::size_t got = Fetch(out + done, left, position());
        bufferStart_ += bufferAt_ + got;
        bufferAt_ = bufferSize_ = 0;
        done += got;
        if (got < left) break;
        continue;
      }
      Fill();
      if (bufferSize_ == 0) break;
    }
    const std::size_t part = std::min(count - done, bufferSize_ - bufferAt_);
    std::memcpy(out + done, buffer_ + bufferAt_, part);
    bufferAt_ += part;
    done += part;
  }
  if (done < count) {
    ended_ = true;
    std::memset(out + done, 0, count - done);
  }
  return done;
}

FileReader::View FileReader::Peek(std::size_t wanted) {
  wanted = std::min(wanted, sizeof buffer_);
  if (bufferSize_ - bufferAt_ < wanted) {
    // Move what is left to the front and read on behind it.
    const std::size_t kept = bufferSize_ - bufferAt_;
    std::memmove(buffer_, buffer_ + bufferAt_, kept);
    bufferStart_ += bufferAt_;
    bufferAt_ = 0;
    bufferSize_ = kept;
    bufferSize_ += Fetch(buffer_ + kept, sizeof buffer_ - kept, bufferStart_ + kept);
  }
  return {buffer_ + bufferAt_, std::min(wanted, bufferSize_ - bufferAt_)};
}

std::uint8_t FileReader::SlowU8() {
  std::uint8_t value = 0;
  Read(&value, 1);
  return value;
}

std::uint16_t FileReader::U16() {
  std::uint8_t bytes[2];
  return ReadAll(bytes, sizeof bytes) ? LoadU16(bytes, FileByteOrder()) : std::uint16_t{0};
}

std::uint32_t FileReader::U32() {
  std::uint8_t bytes[4];
  return ReadAll(bytes, sizeof bytes) ? LoadU32(bytes, FileByteOrder()) : 0;
}

float FileReader::F32() {
  return std::bit_cast<float>(U32());
}

}  // namespace imx
