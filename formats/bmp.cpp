#include "formats/bmp.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "formats/bit_masks.h"
#include "formats/indexed.h"
#include "formats/pixel_rows.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"

namespace imx {
namespace {

constexpr std::uint32_t kFileHeaderSize = 14;
constexpr std::uint32_t kOs2HeaderSize = 12;
constexpr std::uint32_t kWindowsHeaderSize = 40;
constexpr std::uint32_t kHeadersSize = kFileHeaderSize + kWindowsHeaderSize;
constexpr std::int32_t kLargestSide = 40000;
constexpr std::uint32_t kArrayHeaderSize = 14;
constexpr std::uint32_t kMasksAt = 40;  // in the header, or behind one that has no room for them
constexpr std::uint32_t kBitFields = 3, kAlphaBitFields = 6;
constexpr std::uint32_t kOs2LongestHeader = 64;

struct BmpHeader {
  std::uint32_t fileSize = 0, reserved = 0, dataOffset = 0;
  std::uint32_t headerSize = 0;
  std::int32_t width = 0, height = 0;
  std::uint16_t planes = 0, bits = 0;
  std::uint32_t compression = 0, imageSize = 0, xPerMetre = 0, yPerMetre = 0;
  std::uint32_t coloursUsed = 0, coloursImportant = 0;

  std::uint64_t start = 0;  // of the file header; behind that of the array, where there is one
  bool topDown = false;
  bool masked = false;  // the pixels lie as `masks` say
  BitMasks masks;

  bool IsOs2() const { return headerSize == kOs2HeaderSize; }
  bool IsRunLength() const { return compression != 0 && (bits == 4 || bits == 8); }
  /// Compression 3 of the second OS/2 header is another thing.
  bool HasMasks() const {
    return (bits == 16 || bits == 32) && headerSize != kOs2LongestHeader &&
           (compression == kBitFields || compression == kAlphaBitFields);
  }
  std::uint64_t InfoOffset() const { return start + kFileHeaderSize; }
  std::int32_t Row(std::int32_t fromStart) const {
    return topDown ? fromStart : height - 1 - fromStart;
  }
  std::uint64_t RowBytes() const {
    return (std::uint64_t{bits} * static_cast<std::uint32_t>(width) + 31) / 8 & ~std::uint64_t{3};
  }
};

/// Goes to the file header: at the start, or behind the header of a bitmap array.
bool FindFileHeader(FileReader& in, BmpHeader* h) {
  for (in.Seek(0);; in.Seek(h->start)) {
    char magic[2];
    if (!in.ReadAll(magic, 2)) return false;
    if (std::memcmp(magic, "BM", 2) == 0) return true;
    if (h->start > 0 || std::memcmp(magic, "BA", 2) != 0 || !Quirk(kBmpHeaders)) return false;
    h->start = kArrayHeaderSize;
  }
}

bool ReadHeader(FileReader& in, BmpHeader* h) {
  if (!FindFileHeader(in, h)) return false;
  h->fileSize = in.U32();
  h->reserved = in.U32();
  h->dataOffset = in.U32();
  h->headerSize = in.U32();
  if (h->IsOs2()) {
    h->width = static_cast<std::int16_t>(in.U16());
    h->height = static_cast<std::int16_t>(in.U16());
    h->planes = in.U16();
    h->bits = in.U16();
    return true;
  }
  h->width = static_cast<std::int32_t>(in.U32());
  h->height = static_cast<std::int32_t>(in.U32());
  h->planes = in.U16();
  h->bits = in.U16();
  // OS/2 headers may end behind any field; what is not there is 0.
  const bool isShort = h->headerSize < kWindowsHeaderSize && Quirk(kBmpHeaders);
  std::uint32_t at = 16;
  for (std::uint32_t* field : {&h->compression, &h->imageSize, &h->xPerMetre, &h->yPerMetre,
                               &h->coloursUsed, &h->coloursImportant}) {
    at += 4;
    if (!isShort || at <= h->headerSize) *field = in.U32();
  }
  return true;
}

/// Whether the pixels lie otherwise than the library takes them, and how.
void ReadMasks(FileReader& in, BmpHeader* h) {
  if (h->bits == 16 && !h->HasMasks()) {
    h->masked = QuirkShown(kBmpMasks);
    h->masks = kMasks555;
  }
  if (!h->HasMasks() || in.size() < h->InfoOffset() + kMasksAt + sizeof h->masks) return;
  in.Seek(h->InfoOffset() + kMasksAt);
  const bool alpha = h->compression == kAlphaBitFields || h->headerSize >= kMasksAt + 16;
  h->masks = {in.U32(), in.U32(), in.U32(), 0};
  if (alpha) h->masks.alpha = in.U32();
  BitMasks opaque = kMasks8888;
  opaque.alpha = 0;
  if (h->bits == 32 && h->masks == kMasks8888) return;
  h->masked = h->bits == 32 && h->masks == opaque ? Quirk(kBmpMasks) : QuirkShown(kBmpMasks);
}

bool SizeIsRefused(BmpHeader* h) {
  if (h->height < 0 && h->height >= -kLargestSide && Quirk(kBmpTopDown)) {
    h->height = -h->height;
    h->topDown = true;
  }
  const auto outside = [](std::int32_t side) { return side < 1 || side > kLargestSide; };
  return outside(h->width) || outside(h->height) || h->bits == 0 || h->bits > 32;
}

void ReadPalette(FileReader& in, const BmpHeader& h, PixelTable* table, ImageRecord* image) {
  if (h.bits > 8) return;
  std::uint32_t count = h.IsOs2() || h.coloursUsed == 0 ? 1u << h.bits : h.coloursUsed;
  count = std::min(count, 256u);
  in.Seek(h.InfoOffset() + h.headerSize);
  for (std::uint32_t i = 0; i < count; ++i) {
    std::uint8_t entry[4] = {};
    in.Read(entry, h.IsOs2() ? 3 : 4);
    table->Set(i, entry[2], entry[1], entry[0]);
  }
  KeepPalette(*table, count, image);
  if (count == 2) table->pixel[255] = table->pixel[1];
}

/// Red comes from the 5-6-5 position, green and blue from the 5-5-5 one; masks do not count.
void RowFrom16(const std::uint8_t* in, std::uint8_t* pixels, std::int32_t width) {
  for (std::int32_t x = 0; x < width; ++x, in += 2, pixels += 4) {
    const unsigned word = LoadU16(in, ByteOrder::little);
    pixels[0] = static_cast<std::uint8_t>(word >> 8 & 0xF8);
    pixels[1] = static_cast<std::uint8_t>((word >> 5 & 31) * 8);
    pixels[2] = static_cast<std::uint8_t>((word & 31) * 8);
  }
}

bool BitsAreRead(unsigned bits) {
  return bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
}

void ConvertRow(const BmpHeader& h, const PixelTable& table, const std::uint8_t* in,
                std::uint8_t* pixels) {
  const auto width = static_cast<std::size_t>(h.width);
  if (h.masked) return RowFromMasks(in, h.bits / 8u, h.masks, pixels, width);
  switch (h.bits) {
    case 1:
      return RowFromBits(in, table, pixels, width);
    case 2:
      return RowFromPairs(in, table, pixels, width);
    case 4:
      return RowFromNibbles(in, table, pixels, width);
    case 8:
      return RowFromIndices(in, table, pixels, width);
    case 16:
      return RowFrom16(in, pixels, h.width);
    case 24:
      return RowFromBgr(in, pixels, width);
    case 32:
      return RowFromBgra(in, pixels, width);
    default:
      return;
  }
}

/// The fourth byte of 32-bit files is alpha when any pixel uses it; many writers leave it 0.
bool AnyAlpha(const std::uint8_t* row, std::int32_t width) {
  unsigned seen = 0;
  for (std::int32_t x = 0; x < width; ++x) seen |= row[4 * x + 3];
  return seen != 0;
}

void ReadRawRows(FileReader& in, const BmpHeader& h, const PixelTable& table, ImageRecord* image) {
  const std::uint64_t rowBytes = h.RowBytes();
  TrackedBytes row(rowBytes, "allocptr");
  if (!row) return;
  const std::int32_t step = h.bits == 16 || h.bits == 24 ? 8 : 1;
  ForEachRow(h.height, step, [&](std::int32_t y) {
    std::uint8_t* pixels = PixelRow(*image, h.Row(y));
    in.Read(row.data(), row.size());
    ConvertRow(h, table, row.data(), pixels);
    const bool alphaKnown = h.bits != 32 || h.masked || (image->flags & kFlagAlpha) != 0;
    if (!alphaKnown && AnyAlpha(pixels, h.width)) image->flags |= kFlagAlpha;
    return !in.ended();
  });
  if (in.ended()) NoteFileEndedEarly();
}

/// Walks run-length data; the pen never leaves the image.
class RunLengthDecoder {
 public:
  RunLengthDecoder(std::span<const std::uint8_t> data, const BmpHeader& header,
                   const PixelTable& table, ImageRecord* image)
      : data_(data), header_(header), table_(table), image_(image) {
    if (!Quirk(kBmpRunLength)) return;
    alternating_ = true;
    for (std::int32_t y = 0; y < header.height; ++y) {
      std::uint8_t* pixels = PixelRow(*image, y);
      for (std::int32_t x = 0; x < header.width; ++x) {
        std::memcpy(pixels + 4 * x, &table.pixel[0], 4);
      }
    }
  }

  /// False when the data end before the last row is full, without the mark of the bitmap's end.
  bool Run() {
    while (at_ + 1 < data_.size() && y_ < header_.height) {
      const unsigned count = data_[at_];
      const unsigned value = data_[at_ + 1];
      at_ += 2;
      if (count > 0) {
        header_.bits == 8 ? Run8(count, value) : Run4(count, value);
      } else if (!Escape(value)) {
        return true;
      }
    }
    const bool full = y_ >= header_.height || (y_ == header_.height - 1 && x_ >= header_.width);
    return full && at_ <= data_.size();
  }

 private:
  /// What passes the row's end is dropped.
  void Run8(unsigned count, unsigned value) {
    for (; count > 0 && x_ < header_.width; --count) Put(value);
  }

  /// Both pixels of a pair take the low nibble; the run goes on in the row above.
  void Run4(unsigned count, unsigned value) {
    if (value >> 4 != (value & 15) && !alternating_) QuirkShown(kBmpRunLength);
    if (alternating_) return RunAlternating(count, value);
    for (; count > 0; --count) PutWrapped(value & 15);
  }

  void RunAlternating(unsigned count, unsigned value) {
    for (unsigned i = 0; i < count && x_ < header_.width; ++i) {
      Put(i % 2 == 0 ? value >> 4 : value & 15);
    }
  }

  /// False at the end of the bitmap or on a stop.
  bool Escape(unsigned code) {
    switch (code) {
      case 0:
        y_ = std::min(y_ + 1, header_.height - 1);
        x_ = 0;
        return ProgressUpdateAbort(y_) == 0;
      case 1:
        return false;
      case 2:
        if (at_ + 1 < data_.size()) {
          x_ = std::min<std::int32_t>(x_ + data_[at_], header_.width);
          y_ = std::min<std::int32_t>(y_ + data_[at_ + 1], header_.height);
        }
        at_ += 2;
        return true;
      default:
        header_.bits == 8 ? Literals8(code) : Literals4(code);
        return true;
    }
  }

  void Literals8(unsigned count) {
    for (unsigned i = 0; i < count; ++i) PutWrapped(Byte(at_ + i));
    at_ += (count + 1) & ~1u;
  }

  void Literals4(unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
      PutWrapped(Byte(at_ + i / 2) >> (i % 2 == 0 ? 4 : 0) & 15u);
    }
    at_ += (count + 3) / 4 * 2;
  }

  unsigned Byte(std::size_t at) const { return at < data_.size() ? data_[at] : 0; }

  void Put(unsigned index) {
    std::memcpy(PixelRow(*image_, header_.Row(y_)) + 4 * x_, &table_.pixel[index], 4);
    ++x_;
  }

  /// A full row is left only when one more pixel comes, so that an end of line still belongs to it.
  void PutWrapped(unsigned index) {
    if (x_ >= header_.width) {
      x_ = 0;
      ++y_;
    }
    if (y_ < header_.height) Put(index);
  }

  std::span<const std::uint8_t> data_;
  const BmpHeader& header_;
  const PixelTable& table_;
  ImageRecord* image_;
  std::size_t at_ = 0;
  std::int32_t x_ = 0;
  std::int32_t y_ = 0;  // in the file's order
  bool alternating_ = false;
};

void ReadRunLength(FileReader& in, const BmpHeader& h, const PixelTable& table,
                   ImageRecord* image) {
  const std::uint64_t claimed = h.imageSize ? h.imageSize : in.remaining();
  TrackedBytes data(std::min(claimed, in.remaining()), "allocptr");
  if (!data) return;
  in.Read(data.data(), data.size());
  const bool whole = RunLengthDecoder(data.span(), h, table, image).Run();
  if (!whole && in.remaining() == 0) NoteFileEndedEarly();
}

// Saving.

bool WriteHeader(FileWriter& out, const BmpHeader& h) {
  out.Write("BM", 2);
  for (const std::uint32_t value :
       {h.fileSize, h.reserved, h.dataOffset, h.headerSize, static_cast<std::uint32_t>(h.width),
        static_cast<std::uint32_t>(h.height)}) {
    out.U32(value);
  }
  out.U16(h.planes);
  out.U16(h.bits);
  for (const std::uint32_t value :
       {h.compression, h.imageSize, h.xPerMetre, h.yPerMetre, h.coloursUsed, h.coloursImportant}) {
    out.U32(value);
  }
  return out.ok();
}

bool MakeHeader(const ImageRecord& image, std::int32_t bits, BmpHeader* h) {
  h->headerSize = kWindowsHeaderSize;
  h->width = image.width;
  h->height = image.height;
  h->planes = 1;
  h->bits = static_cast<std::uint16_t>(bits);
  const std::uint32_t colours = bits <= 8 ? 1u << bits : 0;
  h->coloursUsed = h->coloursImportant = colours;
  h->dataOffset = kHeadersSize + 4 * colours;
  const std::uint64_t imageSize = h->RowBytes() * static_cast<std::uint32_t>(image.height);
  const std::uint64_t fileSize = imageSize + h->dataOffset;
  if (fileSize > UINT32_MAX) return false;
  h->imageSize = static_cast<std::uint32_t>(imageSize);
  h->fileSize = static_cast<std::uint32_t>(fileSize);
  return true;
}

bool WriteTrueColourRows(FileWriter& out, const ImageRecord& image, bool alpha, TrackedBytes& row) {
  const auto width = static_cast<std::size_t>(image.width);
  return ForEachRow(image.height, 8, [&](std::int32_t y) {
           const std::uint8_t* pixels = PixelRow(image, image.height - 1 - y);
           (alpha ? RowToBgra : RowToBgr)(pixels, row.data(), width);
           return out.Write(row.data(), row.size());
         }) == Rows::done;
}

bool WritePalette(FileWriter& out, const Palette& palette, std::uint32_t count) {
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint8_t entry[4] = {palette.blue[i], palette.green[i], palette.red[i], 0};
    out.Write(entry, sizeof entry);
  }
  return out.ok();
}

void PackIndices(const std::uint8_t* indices, std::int32_t width, std::int32_t bits,
                 std::uint8_t* row) {
  switch (bits) {
    case 8:
      std::memcpy(row, indices, static_cast<std::size_t>(width));
      return;
    case 4:
      return PackNibbles(indices, row, static_cast<std::size_t>(width));
    default:
      return PackBits(indices, row, static_cast<std::size_t>(width));
  }
}

bool WriteIndexedRows(FileWriter& out, const ImageRecord& image, std::int32_t bits,
                      const IndexedImage& indexed, TrackedBytes& row) {
  return ForEachRow(image.height, 8, [&](std::int32_t y) {
           PackIndices(indexed.Row(image.height - 1 - y), image.width, bits, row.data());
           return out.Write(row.data(), row.size());
         }) == Rows::done;
}

}  // namespace

ImageRecord* LoadBmp(std::FILE* file) {
  FileReader in(file);
  SetFileByteOrder(ByteOrder::little);
  BmpHeader header;
  if (!ReadHeader(in, &header) || SizeIsRefused(&header)) return nullptr;
  if (!BitsAreRead(header.bits)) {
    LibError(
        ("BMP loader: " + std::to_string(header.bits) + " bits to a pixel are not read").c_str());
    return nullptr;
  }
  ImageGuard image(AllocImage(header.width, header.height, "ibmp", nullptr));
  if (!image) return nullptr;
  ProgressScope progress("Reading BMP", header.height, 5);
  PixelTable table{};
  ReadPalette(in, header, &table, image.get());
  ReadMasks(in, &header);
  image->depth = header.bits;
  CopyText(image->formatLabel, "BMP");
  if (header.masked && header.masks.alpha != 0 && !header.IsRunLength()) {
    image->flags |= kFlagAlpha;
  }
  if (HeaderOnly()) {
    if (header.bits == 32 && !header.masked) NoteAlphaUntold();
    return image.release();
  }
  in.Seek(header.dataOffset);
  if (header.IsRunLength()) {
    ReadRunLength(in, header, table, image.get());
  } else {
    ReadRawRows(in, header, table, image.get());
  }
  return image.release();
}

std::int32_t SaveBmp(const ImageRecord* image, const char* path, std::int32_t depth) {
  if (depth == 32 && !(image->flags & kFlagAlpha)) depth = 24;
  const bool reduced = depth == 8 || depth == 4 || depth == 1;
  const std::int32_t rowDepth = reduced || depth == 32 ? depth : 24;
  SetFileByteOrder(ByteOrder::little);
  FileWriter out(path);
  if (!out.ok()) return 1;
  BmpHeader header;
  if (!MakeHeader(*image, rowDepth, &header)) {
    LibError("The image is too large for a bitmap file");
    return 1;
  }
  header.bits = static_cast<std::uint16_t>(depth);  // as asked for, also where 24 is written
  if (!WriteHeader(out, header)) return 0;
  TrackedBytes row(header.imageSize / static_cast<std::uint32_t>(image->height), "allocptr");
  if (!row) return 1;
  IndexedImage indexed;
  // Rendering has a progress display of its own, whose end would be that of an open one.
  if (reduced && !RenderIndexed(*image, RenderCodeForDepth(depth), &indexed)) return 1;
  ProgressScope progress("Saving BMP", image->height, 5);
  if (reduced) {
    if (!WritePalette(out, indexed.palette, header.coloursUsed)) return 1;
    if (!WriteIndexedRows(out, *image, depth, indexed, row)) return 1;
  } else if (!WriteTrueColourRows(out, *image, depth == 32, row)) {
    return 1;
  }
  return out.Finish() ? 0 : 1;
}

}  // namespace imx
