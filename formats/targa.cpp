#include "formats/targa.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "formats/bit_masks.h"
#include "formats/pixel_rows.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_time.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"

namespace imx {
namespace {

constexpr std::size_t kHeaderSize = 18;
constexpr std::size_t kFooterSize = 26;
constexpr char kSignature[18] = "TRUEVISION-XFILE.";  // its zero byte belongs to the file
constexpr std::size_t kMapSlots = 256;
constexpr std::uint32_t kRowSlack = 1024;

constexpr std::uint8_t kAttributeBits = 0x0F, kRightToLeftBit = 0x10, kTopDownBit = 0x20;
constexpr std::uint8_t kMapped = 1, kTrueColour = 2, kGrey = 3;
constexpr std::uint8_t kMappedRle = 9, kTrueColourRle = 10, kGreyRle = 11;
constexpr std::uint8_t kPlainAlpha = 3, kPremultipliedAlpha = 4;  // attributes types

// Readers and writers in the field expect these values as they are.
constexpr std::uint16_t kWrittenMapStart = 59;         // though no map is written
constexpr std::uint16_t kWrittenExtensionSize = 2558;  // the area itself takes 495 bytes
constexpr std::uint16_t kWrittenAspect[2] = {72, 1};
constexpr std::uint16_t kWrittenGamma[2] = {1, 1};
constexpr std::uint16_t kSoftwareVersion = 101;
constexpr char kSoftwareLetter = '1';
constexpr std::string_view kSoftwareId = "IMX by Quillmark";

constexpr std::size_t kAuthorSize = 41;
constexpr std::size_t kCommentSize = 324;
constexpr std::size_t kNameSize = 41;
constexpr std::uint64_t kAttributesTypeAt = 494;  // in the extension area
constexpr std::size_t kMostAuthor = 40;
constexpr std::size_t kMostComment = 255;

// A packet closes once it has gathered this many bytes. The 32-bit packer shares the repeat limit
// of the 24-bit one, so its repeat packets stop at 97 pixels.
constexpr std::size_t kRepeatLimit = 381;
constexpr std::size_t kLiteralLimit24 = 381;
constexpr std::size_t kLiteralLimit32 = 508;

struct TargaHeader {
  std::uint8_t idLength, mapType, imageType;
  std::uint16_t mapStart, mapLength;
  std::uint8_t mapEntryBits;
  std::uint16_t xOrigin, yOrigin, width, height;
  std::uint8_t depth, descriptor;

  // How other programs read what the library reads otherwise.
  bool greyRuns = false;
  bool greyAlpha = false;  // two bytes
  bool wordAlpha = false;  // the top bit of 16
  bool rightToLeft = false;
  bool mapAsStated = false;

  std::size_t MapEntryBytes() const { return (mapEntryBits + (mapAsStated ? 7u : 0u)) / 8; }
  std::uint64_t MapOffset() const { return kHeaderSize + std::uint64_t{idLength}; }
  /// The map's room is passed over whatever the map type.
  std::uint64_t PixelOffset() const {
    return MapOffset() + std::uint64_t{MapEntryBytes()} * mapLength;
  }
  bool IsMapped() const { return imageType == kMapped || imageType == kMappedRle; }
  bool IsGrey() const { return imageType == kGrey || imageType == kGreyRle; }
  /// The library reads run-length grey as raw rows.
  bool IsRunLength() const {
    return imageType == kMappedRle || imageType == kTrueColourRle || greyRuns;
  }
  /// Run-length packets are of whole bytes.
  bool DepthIsRead() const {
    switch (depth) {
      case 1:
        return !IsRunLength();
      case 8:
      case 15:
      case 16:
      case 24:
      case 32:
        return true;
      default:
        return false;
    }
  }
  std::size_t RowBytes() const {
    return depth == 1 ? (std::size_t{width} + 7) / 8 : BytesPerPixel() * width;
  }
  std::size_t BytesPerPixel() const {
    switch (depth) {
      case 15:
      case 16:
        return 2;
      case 24:
        return 3;
      case 32:
        return 4;
      default:
        return 1;
    }
  }
};

/// Visits the header's fields in file order, with a callable for bytes and one for words.
template <typename Header, typename Byte, typename Word>
void HeaderFields(Header& h, Byte byte, Word word) {
  byte(h.idLength), byte(h.mapType), byte(h.imageType);
  word(h.mapStart), word(h.mapLength), byte(h.mapEntryBits);
  word(h.xOrigin), word(h.yOrigin), word(h.width), word(h.height);
  byte(h.depth), byte(h.descriptor);
}

bool ReadHeader(FileReader& in, TargaHeader* header) {
  if (in.remaining() < kHeaderSize) {
    NoteFileEndedEarly();
    return false;
  }
  HeaderFields(
      *header, [&in](std::uint8_t& field) { field = in.U8(); },
      [&in](std::uint16_t& field) { field = in.U16(); });
  return true;
}

bool WriteHeader(FileWriter& out, const TargaHeader& header) {
  HeaderFields(
      header, [&out](const std::uint8_t& field) { out.U8(field); },
      [&out](const std::uint16_t& field) { out.U16(field); });
  return out.ok();
}

/// 5-bit red, green and blue of a little-endian word, each through `expand`.
template <typename Expand>
void SetFromWord(std::uint8_t* pixel, unsigned word, Expand expand) {
  pixel[0] = static_cast<std::uint8_t>(expand(word >> 10 & 31));
  pixel[1] = static_cast<std::uint8_t>(expand(word >> 5 & 31));
  pixel[2] = static_cast<std::uint8_t>(expand(word & 31));
}

// Three ways to widen 5 bits, one for each place: they differ on purpose.
unsigned ExpandMap(unsigned c) {
  return c * 8;
}
unsigned Expand16(unsigned c) {
  return c * 8 + c / 4;
}
unsigned Expand15(unsigned c) {
  return c * 8 + c % 8;
}

/// Whether the file is one that other programs read otherwise, and how.
void AskQuirks(TargaHeader* header) {
  TargaHeader& h = *header;
  const bool twoBytes = h.depth == 16;
  const bool attributes = (h.descriptor & kAttributeBits) != 0;
  if (h.imageType == kGreyRle || (h.imageType == kGrey && twoBytes)) {
    const bool asGrey = QuirkShown(kTargaGrey);
    h.greyRuns = asGrey && h.imageType == kGreyRle;
    h.greyAlpha = asGrey && twoBytes;
  }
  const bool words = twoBytes && !h.IsGrey() && !h.IsMapped();
  h.wordAlpha = words && attributes && QuirkShown(kTargaAttributes);
  h.rightToLeft = (h.descriptor & kRightToLeftBit) != 0 && QuirkShown(kTargaRightToLeft);
  const bool oddMap = h.mapStart != 0 || h.mapEntryBits == 15;
  h.mapAsStated = h.IsMapped() && oddMap && QuirkShown(kTargaMap);
}

/// Entries go to slots 0, 1, 2 ... whatever the map's first index; those past the table are
/// dropped.
void ReadMap(FileReader& in, const TargaHeader& header, PixelTable* map, ImageRecord* image) {
  in.Seek(header.MapOffset());
  const std::size_t entryBytes = header.MapEntryBytes();
  const std::size_t first =
      header.mapAsStated ? std::min<std::size_t>(header.mapStart, kMapSlots) : 0;
  const std::size_t end = std::min<std::size_t>(first + header.mapLength, kMapSlots);
  for (std::size_t i = first; i < end; ++i) {
    std::uint8_t entry[4] = {};
    std::uint8_t colour[4] = {};
    if (header.mapEntryBits == 15 && header.mapAsStated) {
      in.Read(entry, entryBytes);
      RowFromMasks(entry, entryBytes, kMasks555, colour, 1);
      map->Set(i, colour[0], colour[1], colour[2]);
    } else if (header.mapEntryBits == 24 || header.mapEntryBits == 32) {
      in.Read(entry, entryBytes);
      map->Set(i, entry[2], entry[1], entry[0]);
    } else if (header.mapEntryBits == 16) {
      SetFromWord(colour, in.U16(), ExpandMap);
      map->Set(i, colour[0], colour[1], colour[2]);
    }
  }
  KeepPalette(*map, end, image);
}

template <typename Expand>
void ConvertWords(const std::uint8_t* in, std::uint8_t* pixels, std::int32_t width, Expand expand) {
  for (std::int32_t x = 0; x < width; ++x, in += 2, pixels += 4) {
    SetFromWord(pixels, LoadU16(in, ByteOrder::little), expand);
  }
}

void ConvertGreyAlpha(const TargaHeader& header, const std::uint8_t* in, std::uint8_t* pixels) {
  const bool alpha = (header.descriptor & kAttributeBits) != 0;
  for (std::size_t x = 0; x < header.width; ++x, in += 2, pixels += 4) {
    pixels[0] = pixels[1] = pixels[2] = in[0];
    pixels[3] = alpha ? in[1] : 0;
  }
}

void ConvertWords16(const TargaHeader& header, const std::uint8_t* in, std::uint8_t* pixels) {
  constexpr BitMasks kMasks1555 = {0x7C00, 0x03E0, 0x001F, 0x8000};
  if (header.greyAlpha) return ConvertGreyAlpha(header, in, pixels);
  if (header.wordAlpha) return RowFromMasks(in, 2, kMasks1555, pixels, header.width);
  ConvertWords(in, pixels, header.width, Expand16);
}

void ConvertRow(const TargaHeader& header, const PixelTable& map, const std::uint8_t* in,
                std::uint8_t* pixels) {
  const std::size_t width = header.width;
  switch (header.depth) {
    case 1:
      return RowFromBits(in, map, pixels, width);
    case 8:
      return header.IsMapped() ? RowFromIndices(in, map, pixels, width)
                               : RowFromGrey(in, pixels, width);
    case 15:
      return ConvertWords(in, pixels, header.width, Expand15);
    case 16:
      return ConvertWords16(header, in, pixels);
    case 24:
      return RowFromBgr(in, pixels, width);
    case 32:
      return RowFromBgra(in, pixels, width);
    default:
      return;
  }
}

void Mirror(std::uint8_t* pixels, std::size_t width) {
  for (std::size_t left = 0, right = width; left + 1 < right; ++left) {
    --right;
    std::swap_ranges(pixels + 4 * left, pixels + 4 * left + 4, pixels + 4 * right);
  }
}

/// Where alpha is stated, and how it lies in the colours.
void ApplyAttributes(const TargaHeader& header, std::uint8_t type, ImageRecord* image) {
  const bool stated = (header.descriptor & kAttributeBits) != 0 || type == kPlainAlpha;
  if (header.depth != 32 || header.IsMapped() || (stated && type != kPremultipliedAlpha)) return;
  const bool divide = type == kPremultipliedAlpha;
  if (divide ? !QuirkShown(kTargaAttributes) : !Quirk(kTargaAttributes)) return;
  if (!divide) image->flags &= ~kFlagAlpha;
  if (HeaderOnly()) return;
  if (divide) return DivideByAlpha(image);
  for (std::size_t i = 0; i < image->pixelCount; ++i) image->pixels[4 * i + 3] = 0;
}

/// Gathers pixels into packets. `same` compares two pixels of the row.
template <std::size_t bytesPerPixel, std::size_t literalLimit, typename Same, typename Emit>
std::size_t PackRow(std::uint8_t* out, std::size_t width, Same same, Emit emit) {
  const std::uint8_t* const start = out;
  std::size_t at = 0;
  while (at < width) {
    const std::size_t first = at;
    std::size_t gathered = 0;
    if (at + 1 < width && same(at, at + 1)) {
      while (at + 1 < width && same(at, at + 1) && gathered < kRepeatLimit) {
        ++at;
        gathered += bytesPerPixel;
      }
      ++at;
      *out++ = static_cast<std::uint8_t>(0x80 | (at - first - 1));
      out = emit(out, first, 1);
      continue;
    }
    while (at + 1 < width && gathered < literalLimit &&
           !(at + 2 < width && same(at, at + 1) && same(at, at + 2))) {
      ++at;
      gathered += bytesPerPixel;
    }
    if (at + 1 == width) ++at;  // the last pixel closes the open packet
    *out++ = static_cast<std::uint8_t>(at - first - 1);
    out = emit(out, first, at - first);
  }
  return static_cast<std::size_t>(out - start);
}

std::uint32_t PixelWord(const std::uint8_t* row, std::size_t x) {
  std::uint32_t word;
  std::memcpy(&word, row + 4 * x, sizeof word);
  return word;
}

template <std::size_t bytesPerPixel>
void Fill(std::uint8_t* out, const std::uint8_t* pixel, std::size_t count) {
  for (std::size_t i = 0; i < count; i += bytesPerPixel) {
    std::memcpy(out + i, pixel, bytesPerPixel);
  }
}

/// `count` bytes of one pixel over and over.
void FillPixels(std::uint8_t* out, const std::uint8_t* pixel, std::size_t count,
                std::size_t bytesPerPixel) {
  switch (bytesPerPixel) {
    case 2:
      return Fill<2>(out, pixel, count);
    case 3:
      return Fill<3>(out, pixel, count);
    case 4:
      return Fill<4>(out, pixel, count);
    default:
      return Fill<1>(out, pixel, count);
  }
}

/// Builds and writes the rows, last record row first.
Rows WriteRows(FileWriter& out, const ImageRecord& image, bool alpha, bool compress,
               TrackedBytes& buffer) {
  const auto width = static_cast<std::size_t>(image.width);
  return ForEachRow(image.height, 4, [&](std::int32_t y) {
    const std::uint8_t* row = PixelRow(image, image.height - 1 - y);
    if (compress) {
      return out.Write(buffer.data(), alpha ? PackTargaRow32(buffer.data(), row, image.width)
                                            : PackTargaRow24(buffer.data(), row, image.width));
    }
    if (alpha) {
      RowToBgra(row, buffer.data(), width);
    } else {
      RowToBgr(row, buffer.data(), width);
    }
    return out.Write(buffer.data(), width * (alpha ? 4 : 3));
  });
}

void WriteStamp(FileWriter& out, const ImageRecord& image) {
  const bool alpha = (image.flags & kFlagAlpha) != 0;
  out.U8(kThumbnailWidth);
  out.U8(kThumbnailHeight);
  std::uint8_t row[4 * kThumbnailWidth];
  std::uint8_t packed[4 * kThumbnailWidth];
  for (std::int64_t sy = 0; sy < kThumbnailHeight; ++sy) {
    const std::uint8_t* source =
        PixelRow(image, static_cast<std::int32_t>(sy * image.height / kThumbnailHeight));
    for (std::int64_t sx = 0; sx < kThumbnailWidth; ++sx) {
      std::memcpy(row + 4 * sx, source + 4 * (sx * image.width / kThumbnailWidth), 4);
    }
    (alpha ? RowToBgra : RowToBgr)(row, packed, kThumbnailWidth);
    out.Write(packed, std::size_t{alpha ? 4u : 3u} * kThumbnailWidth);
  }
}

void WriteExtensionArea(FileWriter& out, const ImageRecord& image, std::uint32_t stampOffset,
                        std::uint8_t attributesType) {
  const std::tm now = FileTime();
  out.U16(kWrittenExtensionSize);
  out.Text(std::string_view(image.author).substr(0, kMostAuthor), kAuthorSize);
  out.Text(std::string_view(image.comment).substr(0, kMostComment), kCommentSize);
  out.Words({now.tm_mon + 1, now.tm_mday, now.tm_year + 1900, now.tm_hour, now.tm_min, now.tm_sec});
  out.Text("", kNameSize);  // job name
  out.Words({0, 0, 0});     // job time
  out.Text(kSoftwareId, kNameSize);
  out.U16(kSoftwareVersion);
  out.U8(kSoftwareLetter);
  out.U32(0);  // key colour
  out.Words({kWrittenAspect[0], kWrittenAspect[1], kWrittenGamma[0], kWrittenGamma[1]});
  out.U32(0);  // colour correction table
  out.U32(stampOffset);
  out.U32(0);  // scan-line table
  out.U8(attributesType);
}

}  // namespace

void ReadTargaRle(std::uint8_t* buffer, std::size_t count, FileReader& file,
                  std::size_t bytesPerPixel, TargaRle* state) {
  while (count > 0) {
    if (state->due == 0) {
      const std::uint8_t packet = file.U8();
      state->repeat = (packet & 0x80) != 0;
      state->due = ((packet & 0x7Fu) + 1) * bytesPerPixel;
      if (state->repeat) file.Read(state->pixel, bytesPerPixel);
    }
    const std::size_t part = std::min(count, state->due);
    if (state->repeat) {
      FillPixels(buffer, state->pixel, part, bytesPerPixel);
    } else {
      file.Read(buffer, part);
    }
    buffer += part;
    count -= part;
    state->due -= part;
  }
}

std::size_t PackTargaRow24(std::uint8_t* out, const std::uint8_t* row, std::int32_t width) {
  return PackRow<3, kLiteralLimit24>(
      out, static_cast<std::size_t>(width),
      [row](std::size_t a, std::size_t b) {
        return ((PixelWord(row, a) ^ PixelWord(row, b)) & 0x00FFFFFF) == 0;
      },
      [row](std::uint8_t* to, std::size_t first, std::size_t count) {
        RowToBgr(row + 4 * first, to, count);
        return to + 3 * count;
      });
}

std::size_t PackTargaRow32(std::uint8_t* out, const std::uint8_t* row, std::int32_t width) {
  return PackRow<4, kLiteralLimit32>(
      out, static_cast<std::size_t>(width),
      [row](std::size_t a, std::size_t b) { return PixelWord(row, a) == PixelWord(row, b); },
      [row](std::uint8_t* to, std::size_t first, std::size_t count) {
        RowToBgra(row + 4 * first, to, count);
        return to + 4 * count;
      });
}

std::uint8_t ReadTargaExtension(FileReader& file, ImageRecord* image) {
  SetFileByteOrder(ByteOrder::little);
  if (file.size() < kFooterSize) return 0;
  file.Seek(file.size() - kFooterSize);
  const std::uint32_t extensionOffset = file.U32();
  file.U32();  // developer directory
  char signature[sizeof kSignature];
  file.Read(signature, sizeof signature);
  if (std::memcmp(signature, kSignature, sizeof kSignature) != 0 || extensionOffset == 0) {
    return 0;
  }
  file.Seek(extensionOffset);
  file.U16();  // the size it claims
  char author[kAuthorSize];
  char comment[kCommentSize];
  file.Read(author, sizeof author);
  file.Read(comment, sizeof comment);
  CopyTextCut(image->author, {author, sizeof author}, kMostAuthor);
  CopyTextCut(image->comment, {comment, sizeof comment}, kMostComment);
  const std::uint64_t typeAt = extensionOffset + kAttributesTypeAt;
  if (typeAt >= file.size()) return 0;
  file.Seek(typeAt);
  return file.U8();
}

bool WriteTargaExtension(FileWriter& file, const ImageRecord* image, std::uint8_t attributesType) {
  SetFileByteOrder(ByteOrder::little);
  const auto stampOffset = static_cast<std::uint32_t>(file.position());
  WriteStamp(file, *image);
  const auto extensionOffset = static_cast<std::uint32_t>(file.position());
  WriteExtensionArea(file, *image, stampOffset, attributesType);
  file.U32(extensionOffset);
  file.U32(0);  // no developer directory
  return file.Write(kSignature, sizeof kSignature);
}

ImageRecord* LoadTarga(std::FILE* file) {
  FileReader in(file);
  SetFileByteOrder(ByteOrder::little);
  TargaHeader header{};
  if (!ReadHeader(in, &header)) return nullptr;
  AskQuirks(&header);
  if (!header.DepthIsRead()) {
    LibError(("Targa loader: " + std::to_string(header.depth) + " bits to a pixel are not read")
                 .c_str());
    return nullptr;
  }
  ImageGuard image(AllocImage(header.width, header.height, "itga", nullptr));
  if (!image) return nullptr;
  CopyText(image->formatLabel, "TARGA");
  image->depth = header.depth;
  const bool attributes = (header.descriptor & kAttributeBits) != 0;
  if (header.depth == 32 || header.wordAlpha || (header.greyAlpha && attributes)) {
    image->flags |= kFlagAlpha;
  }

  ProgressScope progress("Reading TGA", header.height, 5);
  PixelTable map{};
  if (header.IsMapped()) {
    ReadMap(in, header, &map, image.get());
  } else {
    map.Set(1, 255, 255, 255);  // of single bits
  }
  if (HeaderOnly()) {
    // Whether the second byte is alpha shows where the data end.
    if (header.IsGrey() && header.depth == 16 && attributes) NoteAlphaUntold();
    ApplyAttributes(header, ReadTargaExtension(in, image.get()), image.get());
    return image.release();
  }
  in.Seek(header.PixelOffset());
  const std::size_t bytesPerPixel = header.BytesPerPixel();
  const std::size_t rowBytes = header.RowBytes();
  TrackedBytes row(std::uint64_t{rowBytes} + kRowSlack, "targa1.1");
  if (!row) return nullptr;
  TargaRle rle;
  const bool bottomUp = (header.descriptor & kTopDownBit) == 0;
  const Rows end = ForEachRow(header.height, 1, [&](std::int32_t y) {
    if (header.IsRunLength()) {
      ReadTargaRle(row.data(), rowBytes, in, bytesPerPixel, &rle);
    } else {
      in.Read(row.data(), rowBytes);
    }
    std::uint8_t* const pixels = PixelRow(*image, bottomUp ? header.height - 1 - y : y);
    ConvertRow(header, map, row.data(), pixels);
    if (header.rightToLeft) Mirror(pixels, header.width);
    return !in.ended();
  });
  if (end == Rows::ended) NoteFileEndedEarly();
  if (end != Rows::stopped) {
    ApplyAttributes(header, ReadTargaExtension(in, image.get()), image.get());
  }
  return image.release();
}

std::int32_t SaveTarga(const ImageRecord* image, const char* path, std::int32_t depth,
                       std::int32_t compress) {
  FileWriter out(path);
  if (!out.ok()) return 1;
  if (image->width > UINT16_MAX || image->height > UINT16_MAX) {
    LibError("A Targa file holds at most 65535 x 65535 pixels");
    return 1;
  }
  SetFileByteOrder(ByteOrder::little);
  const bool alpha = depth == 32 && (image->flags & kFlagAlpha) != 0;
  TargaHeader header{};
  header.imageType = compress ? kTrueColourRle : kTrueColour;
  header.mapStart = kWrittenMapStart;
  header.width = static_cast<std::uint16_t>(image->width);
  header.height = static_cast<std::uint16_t>(image->height);
  header.depth = alpha ? 32 : 24;
  const bool stated = alpha && Quirk(kTargaAttributes);
  if (stated) header.descriptor = 8;
  if (!WriteHeader(out, header)) return 0;
  TrackedBytes buffer(std::uint64_t{4} * header.width + kRowSlack, "allocptr");
  if (!buffer) return 0;  // the success code, with only the header written

  ProgressScope progress(alpha ? "Saving 32-bit Targa" : "Saving 24-bit Targa", image->height, 4);
  if (WriteRows(out, *image, alpha, compress != 0, buffer) != Rows::done) return 1;
  if (!WriteTargaExtension(out, image, stated ? kPlainAlpha : std::uint8_t{0})) return 1;
  return out.Finish() ? 0 : 1;
}

}  // namespace imx
