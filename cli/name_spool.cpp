#include "cli/name_spool.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace imx {
namespace {

constexpr std::size_t kMostInMemory = 4 * 1024 * 1024;

}  // namespace

void NameSpool::Fail() {
  reason_ = std::strerror(errno);
}

bool NameSpool::Spill() {
  RemoveLeftovers({});
  file_ = std::make_unique<TemporaryFile>(std::string());
  if (!file_->ok()) {
    reason_ = file_->reason();
    return false;
  }
  stream_.reset(std::fopen(file_->path().c_str(), "w+b"));
  if (!stream_ || std::fwrite(text_.data(), 1, text_.size(), stream_.get()) != text_.size()) Fail();
  text_ = {};
  return ok();
}

void NameSpool::Add(std::string_view text) {
  if (!ok()) return;
  if (!stream_ && text_.size() + text.size() >= kMostInMemory && !Spill()) return;
  if (!stream_) {
    text_.append(text).push_back('\0');
  } else if (std::fwrite(text.data(), 1, text.size(), stream_.get()) != text.size() ||
             std::putc('\0', stream_.get()) == EOF) {
    Fail();
  }
}

void NameSpool::Rewind() {
  position_ = 0;
  if (stream_ && std::fseek(stream_.get(), 0, SEEK_SET) != 0) Fail();
}

bool NameSpool::Next(std::string* text) {
  if (!stream_) {
    if (position_ >= text_.size()) return false;
    *text = text_.c_str() + position_;
    position_ += text->size() + 1;
    return true;
  }
  text->clear();
  int c;
  while ((c = std::getc(stream_.get())) > 0) text->push_back(static_cast<char>(c));
  if (c == 0) return true;
  if (std::ferror(stream_.get())) Fail();
  return false;
}

}  // namespace imx
