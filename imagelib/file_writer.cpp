#include "imagelib/file_writer.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>

#include "imagelib/byte_order.h"
#include "imagelib/save_outcome.h"

namespace imx {
namespace {

WriteGate writeGate = nullptr;

}  // namespace

void SetWriteGate(WriteGate gate) {
  writeGate = gate;
}

FileWriter::FileWriter(const char* path) : file_(std::fopen(path, "wb")) {
  if (!file_) {
    Fail();
    return;
  }
  std::setvbuf(file_, nullptr, _IONBF, 0);  // the buffer is ours
}

FileWriter::~FileWriter() {
  if (!file_) return;
  Drain();  // what was written so far stays on disk, as with any stopped save
  std::fclose(file_);
  NoteSaveFailed(nullptr);
}

void FileWriter::Fail() {
  failed_ = incomplete_ = true;
  NoteSaveFailed(std::strerror(errno));
}

void FileWriter::GoOn() {
  failed_ = false;
}

bool FileWriter::Emit(const void* data, std::size_t count) {
  if (!ok()) return false;
  errno = ENOSPC;  // kept when the gate refuses
  if ((writeGate && !writeGate()) || std::fwrite(data, 1, count, file_) != count) {
    Fail();
    return false;
  }
  flushed_ += count;
  return true;
}

bool FileWriter::Drain() {
  const std::size_t count = used_;
  used_ = 0;
  return count == 0 ? ok() : Emit(buffer_, count);
}

bool FileWriter::Write(const void* data, std::size_t count) {
  if (count > sizeof buffer_ - used_) {
    if (!Drain()) return false;
    if (count >= sizeof buffer_) return Emit(data, count);
  }
  std::memcpy(buffer_ + used_, data, count);
  used_ += count;
  return ok();
}

bool FileWriter::U16(std::uint16_t value) {
  std::uint8_t bytes[2];
  StoreU16(bytes, value, FileByteOrder());
  return Write(bytes, sizeof bytes);
}

bool FileWriter::U32(std::uint32_t value) {
  std::uint8_t bytes[4];
  StoreU32(bytes, value, FileByteOrder());
  return Write(bytes, sizeof bytes);
}

bool FileWriter::F32(float value) {
  return U32(std::bit_cast<std::uint32_t>(value));
}

bool FileWriter::Zeros(std::size_t count) {
  const std::uint8_t zeros[256] = {};
  while (count > 0) {
    const std::size_t part = std::min(count, sizeof zeros);
    if (!Write(zeros, part)) return false;
    count -= part;
  }
  return ok();
}

bool FileWriter::Words(std::initializer_list<int> words) {
  for (const int word : words) U16(static_cast<std::uint16_t>(word));
  return ok();
}

bool FileWriter::Text(std::string_view text, std::size_t size) {
  text = text.substr(0, size - 1);
  return Write(text.data(), text.size()) && Zeros(size - text.size());
}

bool FileWriter::Patch(std::uint64_t offset, const void* data, std::size_t count) {
  if (!Drain()) return false;
  const std::uint64_t end = flushed_;
  if (fseeko(file_, static_cast<off_t>(offset), SEEK_SET) != 0 || !Emit(data, count) ||
      fseeko(file_, static_cast<off_t>(end), SEEK_SET) != 0) {
    Fail();
    return false;
  }
  flushed_ = end;
  return true;
}

bool FileWriter::PatchU32(std::uint64_t offset, std::uint32_t value) {
  std::uint8_t bytes[4];
  StoreU32(bytes, value, FileByteOrder());
  return Patch(offset, bytes, sizeof bytes);
}

bool FileWriter::Finish() {
  if (!file_) return false;
  Drain();
  std::FILE* const file = file_;
  file_ = nullptr;
  if (std::fclose(file) != 0) Fail();
  if (incomplete_) return false;
  NoteSaveWhole();
  return true;
}

}  // namespace imx
