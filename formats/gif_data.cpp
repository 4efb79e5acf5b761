#include "formats/gif_data.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/host.h"

namespace imx {
namespace {

constexpr std::int32_t kPasses = 4;
constexpr std::int32_t kPassStep[kPasses] = {8, 8, 4, 2};
constexpr std::int32_t kNextPassStart[kPasses] = {4, 2, 1, 0};
constexpr std::int32_t kLargestCodeSize = 11;  // its clear code still fits 12 bits
constexpr std::int32_t kMostWidth = 12;
/// Of those that are only counted.
constexpr std::uint32_t kStringsBetweenStops = 1 << 16;

/// Codes from the data sub-blocks, least significant bit first.
class CodeReader {
 public:
  explicit CodeReader(FileReader& in) : in_(in) {}

  /// The next code of `width` bits, or -1 at the end of the data.
  std::int32_t Next(std::int32_t width) {
    while (held_ < width) {
      if (at_ == size_ && !NextBlock()) return -1;
      const bool several = size_ - at_ >= sizeof(std::uint32_t);
      const std::uint64_t more =
          several ? LoadU32(block_ + at_, ByteOrder::little) : std::uint32_t{block_[at_]};
      bits_ |= more << held_;
      at_ += several ? sizeof(std::uint32_t) : 1;
      held_ += several ? 32 : 8;
    }
    const auto code = static_cast<std::int32_t>(bits_ & ((1u << width) - 1));
    bits_ >>= width;
    held_ -= width;
    return code;
  }

  /// Passes over the sub-blocks that are left.
  void Finish() {
    while (NextBlock()) {
    }
  }

 private:
  bool NextBlock() {
    if (ended_) return false;
    at_ = 0;
    const std::size_t count = in_.U8();
    size_ = in_.Read(block_, count);
    ended_ = size_ == 0;
    return !ended_;
  }

  FileReader& in_;
  std::uint64_t bits_ = 0;
  std::int32_t held_ = 0;
  std::size_t at_ = 0, size_ = 0;
  bool ended_ = false;
  std::uint8_t block_[255];
};

/// Cuts decoded indices into the rows of their frame.
class RowWriter {
 public:
  RowWriter(const GifFrame& frame, const GifSink& sink)
      : sink_(sink), width_(static_cast<std::size_t>(frame.width)) {
    order_.height = frame.height;
    order_.interlaced = (frame.flags & kGifInterlaceBit) != 0;
  }

  /// Pixels of the whole frame, after which it starts over.
  std::uint64_t Size() const { return static_cast<std::uint64_t>(order_.height) * width_; }

  /// Goes to pixel number `index` of the frame in the order in which the data hold them.
  void GoTo(std::uint64_t index) {
    order_ = {order_.height, order_.interlaced};
    for (std::uint64_t rows = index / width_; rows > 0; --rows) order_.Advance();
    x_ = static_cast<std::size_t>(index % width_);
  }

  /// Whether the next `count` pixels lie past the rows that are wanted, within a row.
  bool Drops(std::size_t count) const { return order_.row >= sink_.rows && x_ + count <= width_; }

  bool Stopped() const { return ProgressUpdateAbort(order_.row) != 0; }

  /// Stores indices, row by row; passes over as many pixels when `indices` is null. False on a
  /// stop.
  bool Put(const std::uint8_t* indices, std::size_t count) {
    while (count > 0) {
      const std::size_t part = std::min(count, width_ - x_);
      if (indices) {
        if (order_.row < sink_.rows) sink_.store(sink_.context, order_.row, x_, indices, part);
        indices += part;
      }
      count -= part;
      x_ += part;
      if (x_ < width_) return true;
      if (Stopped()) return false;
      x_ = 0;
      order_.Advance();
    }
    return true;
  }

 private:
  const GifSink& sink_;
  std::size_t width_;
  std::size_t x_ = 0;
  GifRowOrder order_;
};

/// Visits the codes that have a string, in order, until the data end or the visit returns false.
template <typename Visit>
void ForEachString(CodeReader& codes, LzwStrings& strings, std::int32_t codeSize, Visit visit) {
  const std::int32_t clear = 1 << codeSize;
  std::int32_t width = codeSize + 1;
  std::int32_t limit = 2 * clear;
  std::int32_t previous = LzwStrings::kNone;
  strings.Reset(codeSize);
  for (std::int32_t code; (code = codes.Next(width)) >= 0;) {
    if (code == clear) {
      strings.Reset(codeSize);
      width = codeSize + 1;
      limit = 2 * clear;
      previous = LzwStrings::kNone;
      continue;
    }
    if (code == clear + 1) break;
    const bool known = strings.IsDefined(code);
    if (previous == LzwStrings::kNone) {
      if (!known) break;  // no string to grow from: the data are damaged
    } else {
      const std::int32_t added = strings.Next();
      strings.Add(previous, strings.First(known ? code : previous));
      if (!known) code = added;
      if (!strings.IsDefined(code)) break;
      if (strings.Next() == limit && width < kMostWidth) {
        width += 1;
        limit *= 2;
      }
    }
    if (!visit(code)) return;
    previous = code;
  }
}

/// Collects strings, which are short, most of them, and puts many into the frame at once.
class StringWriter {
 public:
  StringWriter(const LzwStrings& strings, RowWriter& frame) : strings_(strings), frame_(frame) {}

  /// The string of this length without its first `left` pixels. False on a stop.
  bool Put(std::int32_t code, std::size_t length, std::size_t left) {
    if (frame_.Drops(held_ + length)) {
      return frame_.Put(nullptr, length - left + std::exchange(held_, 0));
    }
    strings_.Copy(code, text_ + held_);
    if (left > 0) std::memmove(text_ + held_, text_ + held_ + left, length - left);
    held_ += length - left;
    return held_ < LzwStrings::kMostCodes || Flush();
  }
  bool Flush() { return frame_.Put(text_, std::exchange(held_, 0)); }

 private:
  const LzwStrings& strings_;
  RowWriter& frame_;
  std::size_t held_ = 0;
  std::uint8_t text_[2 * LzwStrings::kMostCodes];
};

/// Puts the strings at the position into the frame, from pixel `first` of the data on, until the
/// frame is full; counts all pixels of the data. False on a stop.
bool PutStrings(FileReader& in, LzwStrings& strings, std::int32_t codeSize, std::uint64_t first,
                RowWriter& frame, std::uint64_t* total) {
  CodeReader codes(in);
  StringWriter writer(strings, frame);
  frame.GoTo(first % frame.Size());
  const std::uint64_t last = first + frame.Size();
  std::uint32_t passedOver = 0;
  bool stopped = false;
  std::uint64_t pixels = 0;
  ForEachString(codes, strings, codeSize, [&](std::int32_t code) {
    const std::size_t length = strings.Length(code);
    const std::uint64_t start = pixels;
    pixels += length;
    if (pixels > first && start < last) {
      const std::uint64_t left = start < first ? first - start : 0;
      stopped = !writer.Put(code, length, static_cast<std::size_t>(left));
    } else {
      stopped = ++passedOver % kStringsBetweenStops == 0 && frame.Stopped();
    }
    return !stopped;
  });
  *total = pixels;
  if (stopped || !writer.Flush()) return false;
  codes.Finish();
  return true;
}

/// Decodes one image's data. False on a stop.
bool DecodeImage(FileReader& in, LzwStrings& strings, RowWriter& frame, GifSink& sink) {
  const std::int32_t codeSize = in.U8();
  if (codeSize < 1 || codeSize > kLargestCodeSize) {
    CodeReader(in).Finish();
    return true;
  }
  const std::uint64_t start = in.position();
  std::uint64_t total = 0;
  const bool done = PutStrings(in, strings, codeSize, 0, frame, &total);
  sink.whole = total >= frame.Size();
  if (!done || total <= frame.Size() || !sink.startsOver) return done;
  // What follows a full frame starts over at its first row: of all the pixels only the last count.
  in.Seek(start);
  return PutStrings(in, strings, codeSize, total - frame.Size(), frame, &total);
}

}  // namespace

void GifRowOrder::Advance() {
  row += interlaced ? kPassStep[pass] : 1;
  while (row >= height) {
    row = interlaced ? kNextPassStart[pass] : 0;
    pass = (pass + 1) % kPasses;
  }
}

GifFrame ReadGifFrame(FileReader& in) {
  GifFrame frame;
  frame.left = in.U16();
  frame.top = in.U16();
  frame.width = in.U16();
  frame.height = in.U16();
  frame.flags = in.U8();
  return frame;
}

std::int32_t ReadGifColours(FileReader& in, std::uint8_t flags, PixelTable* colours) {
  const std::size_t count = std::size_t{2} << (flags & kGifTableBits);
  for (std::size_t i = 0; i < count; ++i) {
    std::uint8_t entry[3];
    in.Read(entry, sizeof entry);
    colours->Set(i, entry[0], entry[1], entry[2]);
  }
  return static_cast<std::int32_t>(count);
}

void SkipGifBlocks(FileReader& in) {
  CodeReader(in).Finish();
}

void SkipGifData(FileReader& in) {
  in.U8();  // code size
  SkipGifBlocks(in);
}

bool DecodeGifFrame(FileReader& in, LzwStrings& strings, const GifFrame& frame, GifSink& sink) {
  sink.whole = frame.width == 0 || frame.height == 0;
  if (sink.whole) {
    in.U8();
    SkipGifBlocks(in);
    return true;
  }
  RowWriter rows(frame, sink);
  return DecodeImage(in, strings, rows, sink);
}

}  // namespace imx
