#include "formats/gif.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "formats/indexed.h"
#include "formats/pixel_rows.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/load_outcome.h"

namespace imx {
namespace {

constexpr std::int32_t kLargestSide = 99999;
constexpr std::uint8_t kImageMark = 0x2C, kExtensionMark = 0x21, kTrailerMark = 0x3B;
constexpr std::uint8_t kTableBit = 0x80, kInterlaceBit = 0x40, kTableBits = 7;
constexpr std::int32_t kPasses = 4;
constexpr std::int32_t kPassStep[kPasses] = {8, 8, 4, 2};
constexpr std::int32_t kNextPassStart[kPasses] = {4, 2, 1, 0};
constexpr std::int32_t kLargestCodeSize = 11;  // its clear code still fits 12 bits
constexpr std::int32_t kMostWidth = 12;
/// Of those that are only counted.
constexpr std::uint32_t kStringsBetweenStops = 1 << 16;
constexpr std::int32_t kWriteError = -3;
constexpr std::int32_t kIndexBits = 8;

/// Row order of a frame, in both directions. Passes that would start below a low frame are skipped.
struct RowOrder {
  std::int32_t height = 0;
  bool interlaced = false;
  std::int32_t row = 0;
  std::int32_t pass = 0;

  void Advance() {
    row += interlaced ? kPassStep[pass] : 1;
    while (row >= height) {
      row = interlaced ? kNextPassStart[pass] : 0;
      pass = (pass + 1) % kPasses;
    }
  }
};

/// Codes from the data sub-blocks, least significant bit first.
class CodeReader {
 public:
  explicit CodeReader(FileReader& in) : in_(in) {}

  /// The next code of `width` bits, or -1 at the end of the data.
  std::int32_t Next(std::int32_t width) {
    while (held_ < width) {
      if (at_ == size_ && !NextBlock()) return -1;
      bits_ |= std::uint32_t{block_[at_++]} << held_;
      held_ += 8;
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
  std::uint32_t bits_ = 0;
  std::int32_t held_ = 0;
  std::size_t at_ = 0, size_ = 0;
  bool ended_ = false;
  std::uint8_t block_[255];
};

/// Where decoded indices go. The frame's own width is the row stride, whatever the image's.
class FrameWriter {
 public:
  FrameWriter(ImageRecord* image, const PixelTable& colours, std::int32_t width,
              std::int32_t height, bool interlaced)
      : image_(image), colours_(colours), width_(static_cast<std::size_t>(width)) {
    order_.height = height;
    order_.interlaced = interlaced;
  }

  /// Pixels of the whole frame, after which it starts over.
  std::uint64_t Size() const { return static_cast<std::uint64_t>(order_.height) * width_; }

  /// Goes to pixel number `index` of the frame in the order in which the data hold them.
  void GoTo(std::uint64_t index) {
    order_ = {order_.height, order_.interlaced};
    for (std::uint64_t rows = index / width_; rows > 0; --rows) order_.Advance();
    x_ = static_cast<std::size_t>(index % width_);
  }

  /// Whether the next `count` pixels lie past the image, within a row.
  bool Drops(std::size_t count) const {
    return First() >= image_->pixelCount && x_ + count <= width_;
  }

  bool Stopped() const { return ProgressUpdateAbort(order_.row) != 0; }

  /// Stores indices, row by row; passes over as many pixels when `indices` is null. False on a
  /// stop.
  bool Put(const std::uint8_t* indices, std::size_t count) {
    while (count > 0) {
      const std::size_t part = std::min(count, width_ - x_);
      if (indices) {
        Store(indices, part);
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
  /// The image's pixel that the next index goes to.
  std::uint64_t First() const { return static_cast<std::uint64_t>(order_.row) * width_ + x_; }

  /// Pixels past the image are dropped.
  void Store(const std::uint8_t* indices, std::size_t count) {
    const std::uint64_t first = First();
    if (first >= image_->pixelCount) return;
    const std::size_t room = image_->pixelCount - static_cast<std::size_t>(first);
    RowFromIndices(indices, colours_, image_->pixels + 4 * static_cast<std::size_t>(first),
                   std::min(count, room));
  }

  ImageRecord* image_;
  const PixelTable& colours_;
  std::size_t width_;
  std::size_t x_ = 0;
  RowOrder order_;
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
  StringWriter(const LzwStrings& strings, FrameWriter& frame) : strings_(strings), frame_(frame) {}

  /// The string without its first `left` pixels. False on a stop.
  bool Put(std::int32_t code, std::size_t left = 0) {
    const std::size_t length = strings_.Length(code);
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
  FrameWriter& frame_;
  std::size_t held_ = 0;
  std::uint8_t text_[2 * LzwStrings::kMostCodes];
};

/// Puts the strings at the position into the frame, from pixel `first` of the data on, until the
/// frame is full; counts all pixels of the data. False on a stop.
bool PutStrings(FileReader& in, LzwStrings& strings, std::int32_t codeSize, std::uint64_t first,
                FrameWriter& frame, std::uint64_t* total) {
  CodeReader codes(in);
  StringWriter writer(strings, frame);
  frame.GoTo(first % frame.Size());
  const std::uint64_t last = first + frame.Size();
  std::uint32_t passedOver = 0;
  bool stopped = false;
  *total = 0;
  ForEachString(codes, strings, codeSize, [&](std::int32_t code) {
    const std::uint64_t start = *total;
    *total += strings.Length(code);
    if (*total > first && start < last) {
      stopped = !writer.Put(code, start < first ? static_cast<std::size_t>(first - start) : 0);
    } else {
      stopped = ++passedOver % kStringsBetweenStops == 0 && frame.Stopped();
    }
    return !stopped;
  });
  if (stopped || !writer.Flush()) return false;
  codes.Finish();
  return true;
}

/// Decodes one image's data. False on a stop.
bool DecodeImage(FileReader& in, LzwStrings& strings, FrameWriter& frame) {
  const std::int32_t codeSize = in.U8();
  if (codeSize < 1 || codeSize > kLargestCodeSize) {
    CodeReader(in).Finish();
    return true;
  }
  const std::uint64_t start = in.position();
  std::uint64_t total = 0;
  if (!PutStrings(in, strings, codeSize, 0, frame, &total)) return false;
  if (total <= frame.Size()) return true;
  // What follows a full frame starts over at its first row: of all the pixels only the last count.
  in.Seek(start);
  return PutStrings(in, strings, codeSize, total - frame.Size(), frame, &total);
}

void ReadColours(FileReader& in, std::uint8_t flags, PixelTable* colours) {
  const std::size_t count = std::size_t{2} << (flags & kTableBits);
  for (std::size_t i = 0; i < count; ++i) {
    std::uint8_t entry[3];
    in.Read(entry, sizeof entry);
    colours->Set(i, entry[0], entry[1], entry[2]);
  }
}

/// Reads an image descriptor and its data. False on a stop.
bool ReadImage(FileReader& in, LzwStrings& strings, PixelTable* colours, ImageRecord* image) {
  in.U16();  // left and top are ignored
  in.U16();
  const std::int32_t width = in.U16();
  const std::int32_t height = in.U16();
  const std::uint8_t flags = in.U8();
  if (flags & kTableBit) ReadColours(in, flags, colours);
  if (width == 0 || height == 0) {
    in.U8();
    CodeReader(in).Finish();
    return true;
  }
  FrameWriter frame(image, *colours, width, height, (flags & kInterlaceBit) != 0);
  return DecodeImage(in, strings, frame);
}

/// Walks the blocks up to the trailer, a stop, or anything unknown.
void ReadBlocks(FileReader& in, LzwStrings& strings, std::uint8_t screenFlags, ImageRecord* image) {
  PixelTable colours{};
  if (screenFlags & kTableBit) ReadColours(in, screenFlags, &colours);
  for (;;) {
    switch (in.U8()) {
      case kImageMark:
        if (!ReadImage(in, strings, &colours, image)) return;
        break;
      case kExtensionMark:
        in.U8();  // label
        CodeReader(in).Finish();
        break;
      default:
        image->depth = (screenFlags & kTableBits) + 1u;
        CopyText(image->formatLabel, "GIF");
        if (in.ended()) NoteFileEndedEarly();  // without the trailer more frames may be missing
        return;
    }
  }
}

std::int32_t PutWord(const GifStream& gif, std::int32_t value) {
  if (const std::int32_t error = gif.putByte(gif.context, static_cast<std::uint8_t>(value))) {
    return error;
  }
  return gif.putByte(gif.context, static_cast<std::uint8_t>(value >> 8));
}

std::int32_t PutBytes(const GifStream& gif, const std::uint8_t* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    if (const std::int32_t error = gif.putByte(gif.context, bytes[i])) return error;
  }
  return 0;
}

/// The rendered rows in output order, and the file they go to.
struct GifSource {
  const IndexedImage* indexed;
  FileWriter* out;
  TrackedArray<std::int32_t> order;  // row of each output row; none when they are written in order
  std::int32_t height;
  std::int32_t row = -1;  // output row that is being read
  const std::uint8_t* at = nullptr;
  const std::uint8_t* end = nullptr;
  bool stopped = false;

  std::int32_t NextPixel() {
    if (at == end && !NextRow()) return -1;
    return *at++;
  }

  bool NextRow() {
    if (stopped || row + 1 == height) return false;
    row += 1;
    stopped = ProgressUpdateAbort(row) != 0;
    if (stopped) return false;
    at = indexed->Row(order ? order[static_cast<std::size_t>(row)] : row);
    end = at + indexed->width;
    return true;
  }
};

/// The interlaced order as a table. The label is the one its twin, the plain order, would carry.
TrackedArray<std::int32_t> InterlacedRows(std::int32_t height) {
  TrackedArray<std::int32_t> rows(static_cast<std::uint32_t>(height), "GIF Interlace src table");
  RowOrder order{height, true};
  for (std::int32_t& row : rows.span()) {
    row = order.row;
    order.Advance();
  }
  return rows;
}

/// Red, green and blue of the 256 entries.
void InterleavePalette(const Palette& palette, std::uint8_t (&table)[3 * kPaletteSize]) {
  for (std::size_t i = 0; i < kPaletteSize; ++i) {
    table[3 * i] = palette.red[i];
    table[3 * i + 1] = palette.green[i];
    table[3 * i + 2] = palette.blue[i];
  }
}

}  // namespace

ImageRecord* LoadGif(std::FILE* file) {
  FileReader in(file);
  SetFileByteOrder(ByteOrder::little);
  if (in.U8() != 'G') return nullptr;
  in.Skip(5);
  const std::int32_t width = in.U16();
  const std::int32_t height = in.U16();
  const auto outside = [](std::int32_t side) { return side < 1 || side > kLargestSide; };
  if (outside(width) || outside(height)) return nullptr;
  LzwStrings strings;
  if (!strings.Allocate()) return nullptr;
  ProgressScope progress("Reading GIF image", height, 5);
  ImageGuard image(AllocImage(width, height, "igif", nullptr));
  if (!image) return nullptr;
  const std::uint8_t screenFlags = in.U8();
  in.U8();  // background
  const std::uint8_t aspect = in.U8();
  // A file that states an aspect gives a blank image.
  if (aspect == 0) ReadBlocks(in, strings, screenFlags, image.get());
  return image.release();
}

std::int32_t WriteGifScreen(const GifStream& gif) {
  static constexpr std::uint8_t kSignature[6] = {'G', 'I', 'F', '8', '7', 'a'};
  if (const std::int32_t error = PutBytes(gif, kSignature, sizeof kSignature)) return error;
  if (const std::int32_t error = PutWord(gif, gif.width)) return error;
  if (const std::int32_t error = PutWord(gif, gif.height)) return error;
  const std::int32_t flags = kTableBit | (gif.colourResolution - 1) << 4 | (gif.bits - 1);
  const std::uint8_t rest[3] = {static_cast<std::uint8_t>(flags), 0, 0};  // background, aspect
  return PutBytes(gif, rest, sizeof rest);
}

std::int32_t WriteGifColourTable(const GifStream& gif) {
  return PutBytes(gif, gif.colourTable, std::size_t{3} << gif.bits);
}

std::int32_t WriteGifImageDescriptor(const GifStream& gif) {
  const std::uint8_t mark[5] = {kImageMark};  // left and top are 0
  if (const std::int32_t error = PutBytes(gif, mark, sizeof mark)) return error;
  if (const std::int32_t error = PutWord(gif, gif.width)) return error;
  if (const std::int32_t error = PutWord(gif, gif.height)) return error;
  return gif.putByte(gif.context, gif.interlace ? kInterlaceBit : std::uint8_t{0});
}

std::int32_t WriteGifFile(const GifStream& gif) {
  if (const std::int32_t error = WriteGifScreen(gif)) return error;
  if (const std::int32_t error = WriteGifColourTable(gif)) return error;
  if (const std::int32_t error = WriteGifImageDescriptor(gif)) return error;
  if (const std::int32_t error = LzwEncode(gif.bits, gif.nextPixel, gif.putByte, gif.context)) {
    return error;
  }
  return gif.putByte(gif.context, kTrailerMark);
}

std::int32_t SaveGif(const ImageRecord* image, const char* path, std::int32_t interlace) {
  if (image->width > UINT16_MAX || image->height > UINT16_MAX) {
    LibError("A GIF file holds at most 65535 x 65535 pixels");
    return 1;
  }
  TrackedArray<std::int32_t> order;
  if (interlace) order = InterlacedRows(image->height);
  if (interlace && !order) return 1;
  IndexedImage indexed;
  if (!RenderIndexed(*image, RenderCode::colour8, &indexed)) return 1;
  std::uint8_t table[3 * kPaletteSize];
  InterleavePalette(indexed.palette, table);
  FileWriter out(path);
  if (!out.ok()) return 1;
  GifSource source{&indexed, &out, std::move(order), image->height};
  PlainProgressScope progress("Saving GIF", image->height, 5);
  GifStream gif{};
  gif.putByte = [](void* context, std::uint8_t byte) -> std::int32_t {
    return static_cast<GifSource*>(context)->out->U8(byte) ? 0 : kWriteError;
  };
  gif.nextPixel = [](void* context) { return static_cast<GifSource*>(context)->NextPixel(); };
  gif.context = &source;
  gif.width = image->width;
  gif.height = image->height;
  gif.colourResolution = gif.bits = kIndexBits;
  gif.interlace = interlace;
  gif.colourTable = table;
  if (WriteGifFile(gif) != 0) return 1;
  // A stopped save ends in a well-formed file, but not in a whole image.
  if (source.stopped) return 0;
  return out.Finish() ? 0 : 1;
}

}  // namespace imx
