#include "formats/chunky_pixels.h"

#include <algorithm>
#include <cstring>

#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/guards.h"
#include "imagelib/host.h"
#include "imagelib/image.h"

namespace imx {
namespace {

constexpr std::uint16_t kPlain = 0, kRunLength = 1, kDifferences = 5;
constexpr std::size_t kElementSize = 4;  ///< in "DPEL"
constexpr std::size_t kMostElements = 16;
constexpr std::int32_t kProgressExtra = 1;

/// Gives the rows of a body one after the other; what is missing is 0.
class ChunkyRows {
 public:
  ChunkyRows(FileReader& in, std::uint64_t left, const ChunkyLayout& layout, std::size_t width)
      : in_(in),
        left_(left),
        layout_(layout),
        width_(width),
        row_(std::uint64_t{width} * layout.pixelBytes, "iff13") {}

  bool ok() const { return static_cast<bool>(row_); }
  const std::uint8_t* data() const { return row_.data(); }

  /// False when the data ended before the row did.
  bool Next() {
    std::memset(row_.data(), 0, row_.size());
    switch (layout_.compression) {
      case kPlain:
        return Take(row_.data(), row_.size());
      case kRunLength:
        return NextRuns();
      default:
        return NextDifferences();
    }
  }

 private:
  bool Take(std::uint8_t* to, std::size_t count) {
    const auto there = static_cast<std::size_t>(std::min<std::uint64_t>(count, left_));
    const std::size_t got = in_.Read(to, there);
    left_ -= got;
    return got == count;
  }

  bool NextRuns() {
    const std::size_t size = layout_.pixelBytes;
    for (std::size_t x = 0; x < width_;) {
      std::uint8_t control = 0;
      if (copies_ == 0 && repeats_ == 0) {
        if (!Take(&control, 1)) return false;
        const bool repeats = control > 127;
        if (repeats && !Take(pixel_, size)) return false;
        (repeats ? repeats_ : copies_) = (repeats ? 256u - control : control) + 1u;
      }
      std::uint8_t* const to = row_.data() + x * size;
      const std::size_t count = std::min<std::size_t>(copies_ + repeats_, width_ - x);
      if (copies_ > 0) {
        if (!Take(to, count * size)) return false;
        copies_ -= count;
      } else {
        for (std::size_t i = 0; i < count; ++i) std::memcpy(to + i * size, pixel_, size);
        repeats_ -= count;
      }
      x += count;
    }
    return true;
  }

  bool NextDifferences() {
    for (std::size_t element = 0; element < layout_.pixelBytes; ++element) {
      std::uint8_t* const to = row_.data() + element;
      half_ = false;
      unsigned value = 0, code = 0;
      for (std::size_t x = 0; x < width_;) {
        if (!TakeCode(&code)) return false;
        const int difference = layout_.difference[code];
        value += static_cast<unsigned>(difference);
        if (difference == 0 && !TakeCode(&code)) return false;
        const std::size_t count =
            difference == 0 ? std::min<std::size_t>(code + 1, width_ - x) : std::size_t{1};
        for (const std::size_t end = x + count; x < end; ++x) {
          to[x * layout_.pixelBytes] = static_cast<std::uint8_t>(value);
        }
      }
    }
    return true;
  }

  /// The next 4 bits.
  bool TakeCode(unsigned* code) {
    half_ = !half_;
    if (half_ && !Take(&codes_, 1)) return false;
    *code = half_ ? codes_ >> 4u : codes_ & 15u;
    return true;
  }

  FileReader& in_;
  std::uint64_t left_;  // bytes of the body
  const ChunkyLayout& layout_;
  std::size_t width_;
  TrackedBytes row_;
  std::size_t copies_ = 0, repeats_ = 0;  // left of a run
  std::uint8_t pixel_[4 * kMostElements] = {};
  std::uint8_t codes_ = 0;
  bool half_ = false;  // of codes_ is used
};

}  // namespace

void ReadChunkyElements(std::span<const std::uint8_t> chunk, ChunkyLayout* layout) {
  layout->pixelBytes = 0;
  if (chunk.size() < kElementSize) return;
  const std::uint32_t count = LoadU32(chunk.data(), ByteOrder::big);
  if (count > kMostElements || chunk.size() < kElementSize * (count + 1)) return;
  std::size_t place = 0;
  for (std::uint32_t i = 1; i <= count; ++i) {
    const std::uint32_t meaning = LoadU16(chunk.data() + kElementSize * i, ByteOrder::big);
    const std::uint32_t bits = LoadU16(chunk.data() + kElementSize * i + 2, ByteOrder::big);
    if (bits == 0 || bits > 32 || bits % 8 != 0) return;
    if (meaning >= 1 && meaning <= 4) {
      layout->place[meaning - 1] = static_cast<std::uint8_t>(place);  // its highest byte
      layout->has[meaning - 1] = true;
    }
    place += bits / 8;
  }
  layout->pixelBytes = place;
}

bool CanReadChunky(const ChunkyLayout& layout) {
  const std::uint16_t code = layout.compression;
  return layout.pixelBytes > 0 && layout.has[0] && layout.has[1] && layout.has[2] &&
         (code == kPlain || code == kRunLength || code == kDifferences);
}

bool ReadChunkyPixels(FileReader& in, std::uint64_t left, const ChunkyLayout& layout,
                      ImageRecord& image, bool* whole) {
  const auto width = static_cast<std::size_t>(image.width);
  ChunkyRows rows(in, left, layout, width);
  if (!rows.ok()) return false;
  ProgressScope progress("Reading IFF", image.height, kProgressExtra);
  *whole = true;
  for (std::int32_t y = 0; y < image.height && *whole; ++y) {
    *whole = rows.Next();
    std::uint8_t* const to = PixelRow(image, y);
    for (std::size_t c = 0; c < 4; ++c) {
      if (!layout.has[c]) continue;
      const std::uint8_t* const from = rows.data() + layout.place[c];
      for (std::size_t x = 0; x < width; ++x) to[4 * x + c] = from[x * layout.pixelBytes];
    }
    if (ProgressUpdateAbort(y) != 0) break;
  }
  return true;
}

}  // namespace imx
