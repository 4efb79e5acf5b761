#include "formats/pcx.h"

#include <algorithm>
#include <cstring>
#include <string>

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

constexpr std::size_t kHeaderSize = 128;
constexpr std::size_t kFillerSize = 58;
constexpr std::uint8_t kManufacturer = 10;
constexpr std::uint8_t kRunBits = 0xC0;
constexpr std::uint8_t kCountBits = 0x3F;
constexpr std::size_t kLongestRun = 63;
constexpr std::uint8_t kTrailerMark = 0x0C;
constexpr std::size_t kTrailerSize = 769;
constexpr std::size_t kHeaderColours = 16;

struct PcxHeader {
  std::uint8_t manufacturer = kManufacturer, version = 5, encoding = 1, bitsPerPixel = 0;
  std::uint16_t xMin = 0, yMin = 0, xMax = 0, yMax = 0;
  std::uint16_t xResolution = 1024, yResolution = 768;
  std::uint8_t palette[3 * kHeaderColours] = {};
  std::uint8_t reserved = 0, planes = 0;
  std::uint16_t bytesPerLine = 0, paletteInfo = 0;

  std::int32_t Width() const { return xMax - xMin + 1; }
  std::int32_t Height() const { return yMax - yMin + 1; }
  std::uint32_t Depth() const {
    if (bitsPerPixel == 0 || planes == 0) return std::max(bitsPerPixel, planes);
    return std::uint32_t{bitsPerPixel} * planes;
  }
};

/// Visits the header's fields in file order, with callables for a byte, a word and the palette.
template <typename Header, typename Byte, typename Word, typename Bytes>
void HeaderFields(Header& h, Byte byte, Word word, Bytes bytes) {
  byte(h.manufacturer), byte(h.version), byte(h.encoding), byte(h.bitsPerPixel);
  word(h.xMin), word(h.yMin), word(h.xMax), word(h.yMax);
  word(h.xResolution), word(h.yResolution);
  bytes(h.palette);
  byte(h.reserved), byte(h.planes);
  word(h.bytesPerLine), word(h.paletteInfo);
}

bool ReadHeader(FileReader& in, PcxHeader* header) {
  in.Seek(0);
  if (in.remaining() < kHeaderSize) {
    NoteFileEndedEarly();
    return false;
  }
  HeaderFields(
      *header, [&in](std::uint8_t& field) { field = in.U8(); },
      [&in](std::uint16_t& field) { field = in.U16(); },
      [&in](auto& field) { in.Read(field, sizeof field); });
  in.Seek(kHeaderSize);
  return header->manufacturer == kManufacturer;
}

bool WriteHeader(FileWriter& out, const PcxHeader& header) {
  HeaderFields(
      header, [&out](const std::uint8_t& field) { out.U8(field); },
      [&out](const std::uint16_t& field) { out.U16(field); },
      [&out](const auto& field) { out.Write(field, sizeof field); });
  return out.Zeros(kFillerSize);
}

/// The data of the rows, and what the last run holds beyond its line.
struct PcxData {
  FileReader& in;
  bool stored = false;  // as plain bytes
  std::size_t due = 0;
  std::uint8_t value = 0;

  /// Fills the start of a line of `count` bytes with the rest of the run, and answers how far.
  std::size_t GoOn(std::uint8_t* line, std::size_t count) {
    if (due == 0) return 0;
    if (!QuirkShown(kPcxLongRuns)) due = 0;
    const std::size_t part = std::min(due, count);
    std::memset(line, value, part);
    due -= part;
    return part;
  }
};

/// Decodes one line of `count` bytes. Missing data read as zeros.
void DecodeLine(PcxData& data, std::uint8_t* line, std::size_t count) {
  FileReader& in = data.in;
  if (data.stored) {
    in.Read(line, count);
    return;
  }
  std::size_t at = data.GoOn(line, count);
  while (at < count) {
    const FileReader::View view = in.Peek(FileReader::kBufferSize / 2);
    std::size_t used = 0;
    while (at < count && used < view.size) {
      const std::uint8_t byte = view.data[used];
      if (byte < kRunBits) {
        line[at++] = byte;
        used += 1;
        continue;
      }
      if (used + 1 == view.size) break;
      std::size_t run = byte & kCountBits;
      if (run > count - at) {
        data.due = run - (count - at);
        data.value = view.data[used + 1];
        run = count - at;
      }
      std::memset(line + at, view.data[used + 1], run);
      at += run;
      used += 2;
    }
    in.Skip(static_cast<std::uint32_t>(used));
    if (used == 0) {  // the file ends here, perhaps within a run
      in.Seek(in.size() + 1);
      std::memset(line + at, 0, count - at);
      return;
    }
  }
}

/// Runs of at most 63; a single byte below 0xC0 stands bare. `out` has room for 2 * count bytes.
std::size_t EncodeLine(const std::uint8_t* line, std::size_t count, std::uint8_t* out) {
  const std::uint8_t* const start = out;
  for (std::size_t at = 0; at < count;) {
    const std::uint8_t value = line[at];
    std::size_t run = 1;
    while (run < kLongestRun && at + run < count && line[at + run] == value) ++run;
    if (run > 1 || value >= kRunBits) *out++ = static_cast<std::uint8_t>(kRunBits | run);
    *out++ = value;
    at += run;
  }
  return static_cast<std::size_t>(out - start);
}

PixelTable TableFrom(const std::uint8_t* triples, std::size_t count) {
  PixelTable table{};
  for (std::size_t i = 0; i < count; ++i, triples += 3) {
    table.Set(i, triples[0], triples[1], triples[2]);
  }
  return table;
}

/// Everything that reading rows needs.
struct PcxRows {
  PcxData data;
  const PcxHeader& header;
  PixelTable table;   // the header's colours
  TrackedBytes line;  // one plane, or four for 16 colours
  ImageRecord* image;

  /// Pixels that both the image and a plane of the line hold.
  std::size_t Pixels(std::size_t perByte) const {
    return std::min(static_cast<std::size_t>(image->width), header.bytesPerLine * perByte);
  }
};

void ReadBitRow(PcxRows& rows, std::uint8_t* pixels) {
  DecodeLine(rows.data, rows.line.data(), rows.header.bytesPerLine);
  RowFromBits(rows.line.data(), rows.table, pixels, rows.Pixels(8));
}

/// `planes` planes of one bit each.
template <std::size_t planes>
void ReadPlaneRow(PcxRows& rows, std::uint8_t* pixels) {
  const std::size_t planeBytes = rows.header.bytesPerLine;
  DecodeLine(rows.data, rows.line.data(), planes * planeBytes);
  const std::uint8_t* line = rows.line.data();
  const std::size_t count = rows.Pixels(8);
  for (std::size_t x = 0; x < count; ++x) {
    unsigned index = 0;
    for (std::size_t plane = 0; plane < planes; ++plane) {
      index |= (unsigned{line[plane * planeBytes + x / 8]} >> (7 - x % 8) & 1u) << plane;
    }
    std::memcpy(pixels + 4 * x, &rows.table.pixel[index], 4);
  }
}

/// The colours come after the rows: until then a pixel holds its index.
void ReadIndexRow(PcxRows& rows, std::uint8_t* pixels) {
  DecodeLine(rows.data, rows.line.data(), rows.header.bytesPerLine);
  const std::size_t count = rows.Pixels(1);
  for (std::size_t x = 0; x < count; ++x) pixels[4 * x] = rows.line[x];
}

/// Two bits a pixel in one plane.
void ReadPairRow(PcxRows& rows, std::uint8_t* pixels) {
  DecodeLine(rows.data, rows.line.data(), rows.header.bytesPerLine);
  RowFromPairs(rows.line.data(), rows.table, pixels, rows.Pixels(4));
}

/// Four bits a pixel in one plane.
void ReadNibbleRow(PcxRows& rows, std::uint8_t* pixels) {
  DecodeLine(rows.data, rows.line.data(), rows.header.bytesPerLine);
  RowFromNibbles(rows.line.data(), rows.table, pixels, rows.Pixels(2));
}

template <std::size_t channels>
void ReadTrueColourRow(PcxRows& rows, std::uint8_t* pixels) {
  const std::size_t count = rows.Pixels(1);
  for (std::size_t channel = 0; channel < channels; ++channel) {
    DecodeLine(rows.data, rows.line.data(), rows.header.bytesPerLine);
    for (std::size_t x = 0; x < count; ++x) pixels[4 * x + channel] = rows.line[x];
  }
}

/// The fourth plane counts as alpha when any pixel uses it.
void ReadAlphaRow(PcxRows& rows, std::uint8_t* pixels) {
  ReadTrueColourRow<4>(rows, pixels);
  const std::span<const std::uint8_t> alphas(rows.line.data(), rows.Pixels(1));
  const auto used = [](std::uint8_t alpha) { return alpha != 0; };
  if (std::any_of(alphas.begin(), alphas.end(), used)) rows.image->flags |= kFlagAlpha;
}

using RowReader = void (*)(PcxRows& rows, std::uint8_t* pixels);

/// Null for kinds that are not read.
RowReader ReaderFor(const PcxHeader& header) {
  switch (header.Depth()) {
    case 1:
      return ReadBitRow;
    case 2:
      return header.planes == 2 ? ReadPlaneRow<2> : ReadPairRow;
    case 3:
      return header.planes == 3 ? ReadPlaneRow<3> : nullptr;
    case 4:
      if (header.planes == 1 && QuirkShown(kPcxPacked16)) return ReadNibbleRow;
      return ReadPlaneRow<4>;
    case 8:
      return ReadIndexRow;
    case 24:
      return ReadTrueColourRow<3>;
    case 32:
      return header.planes == 4 ? ReadAlphaRow : nullptr;
    default:
      return nullptr;
  }
}

/// The header's colours. Where a 1-bit file names none, its two are the same.
PixelTable HeaderTable(const PcxHeader& header) {
  PixelTable table = TableFrom(header.palette, kHeaderColours);
  if (header.Depth() == 1 && table.pixel[0] == table.pixel[1] && QuirkShown(kPcxBilevel)) {
    table.Set(0, 0, 0, 0);
    table.Set(1, 255, 255, 255);
  }
  return table;
}

/// Takes the 256-colour trailer from the file's end.
void KeepTrailer(FileReader& in, ImageRecord* image) {
  std::uint8_t trailer[kTrailerSize];
  if (in.size() < sizeof trailer) return;
  in.Seek(in.size() - sizeof trailer);
  in.Read(trailer, sizeof trailer);
  KeepPalette(TableFrom(trailer + 1, 256), 256, image);
}

/// Reads the 256-colour trailer and turns the stored indices of the first `rows` rows into colours.
void MapIndices(FileReader& in, std::int32_t rows, ImageRecord* image) {
  std::uint8_t trailer[kTrailerSize];
  in.Read(trailer, sizeof trailer);  // the mark before the colours is not checked
  const PixelTable table = TableFrom(trailer + 1, 256);
  KeepPalette(table, 256, image);
  for (std::int32_t y = 0; y < rows; ++y) {
    if (ProgressStepAbort() != 0) return;
    std::uint8_t* pixels = PixelRow(*image, y);
    for (std::int32_t x = 0; x < image->width; ++x, pixels += 4) {
      std::memcpy(pixels, &table.pixel[pixels[0]], 4);
    }
  }
}

// Saving.

PcxHeader MakeHeader(const ImageRecord& image, std::int32_t depth, const Palette* palette) {
  PcxHeader header;
  const bool bytes = depth == 24 || depth == 8;
  header.bitsPerPixel = bytes ? 8 : 1;
  header.planes = depth == 24 ? 3 : depth == 4 ? 4 : 1;
  header.xMax = static_cast<std::uint16_t>(image.width - 1);
  header.yMax = static_cast<std::uint16_t>(image.height - 1);
  // Not rounded up to an even number.
  header.bytesPerLine = static_cast<std::uint16_t>(bytes ? image.width : (image.width + 7) / 8);
  for (std::size_t i = 0; palette && i < kHeaderColours; ++i) {
    header.palette[3 * i] = palette->red[i];
    header.palette[3 * i + 1] = palette->green[i];
    header.palette[3 * i + 2] = palette->blue[i];
  }
  return header;
}

/// Splits the row into `planes` lines of `lineBytes` bytes, one behind the other.
void SplitRow(const ImageRecord& image, const IndexedImage& indexed, std::int32_t depth,
              std::int32_t y, std::size_t lineBytes, std::uint8_t* lines) {
  const auto width = static_cast<std::size_t>(image.width);
  if (depth == 24) {
    const std::uint8_t* pixels = PixelRow(image, y);
    for (std::size_t x = 0; x < width; ++x, pixels += 4) {
      lines[x] = pixels[0];
      lines[width + x] = pixels[1];
      lines[2 * width + x] = pixels[2];
    }
    return;
  }
  const std::uint8_t* indices = indexed.Row(y);
  if (depth == 8) {
    std::memcpy(lines, indices, width);
    return;
  }
  const std::size_t planes = depth == 4 ? 4 : 1;
  std::memset(lines, 0, planes * lineBytes);
  for (std::size_t x = 0; x < width; ++x) {
    for (std::size_t plane = 0; plane < planes; ++plane) {
      const unsigned bit = indices[x] >> plane & 1u;
      lines[plane * lineBytes + x / 8] |= static_cast<std::uint8_t>(bit << (7 - x % 8));
    }
  }
}

bool WriteRows(FileWriter& out, const ImageRecord& image, const IndexedImage& indexed,
               const PcxHeader& header, std::int32_t depth) {
  const std::size_t lineBytes = header.bytesPerLine;
  TrackedBytes lines(std::uint64_t{lineBytes} * header.planes, "allocptr");
  TrackedBytes packed(std::uint64_t{2} * lineBytes, "allocptr");
  if (!lines || !packed) return false;
  return ForEachRow(image.height, 8, [&](std::int32_t y) {
           SplitRow(image, indexed, depth, y, lineBytes, lines.data());
           for (std::size_t plane = 0; plane < header.planes; ++plane) {
             const std::uint8_t* line = lines.data() + plane * lineBytes;
             out.Write(packed.data(), EncodeLine(line, lineBytes, packed.data()));
           }
           return out.ok();
         }) == Rows::done;
}

bool WriteTrailer(FileWriter& out, const Palette& palette) {
  out.U8(kTrailerMark);
  for (int i = 0; i < kPaletteSize; ++i) {
    out.U8(palette.red[i]);
    out.U8(palette.green[i]);
    out.U8(palette.blue[i]);
  }
  return out.ok();
}

}  // namespace

ImageRecord* LoadPcx(std::FILE* file) {
  FileReader in(file);
  SetFileByteOrder(ByteOrder::little);
  PcxHeader header;
  if (!ReadHeader(in, &header)) return nullptr;
  const std::uint32_t depth = header.Depth();
  const RowReader readRow = ReaderFor(header);
  if (!readRow) {
    LibError(("PCX loader: " + std::to_string(header.planes) + " planes of " +
              std::to_string(header.bitsPerPixel) + " bits are not read")
                 .c_str());
    return nullptr;
  }
  TrackedBytes line(std::uint64_t{header.bytesPerLine} * (depth <= 4 ? 4 : 1), "allocptr");
  if (!line) return nullptr;
  ImageGuard image(AllocImage(header.Width(), header.Height(), "ipcx", nullptr));
  if (!image) return nullptr;
  CopyText(image->formatLabel, "PCX");
  image->depth = depth;

  ProgressScope progress("Reading PCX", header.Height() * (depth == 8 ? 2 : 1), 5);
  PcxRows rows{{in}, header, HeaderTable(header), std::move(line), image.get()};
  rows.data.stored = header.encoding == 0 && QuirkShown(kPcxStored);
  if (depth <= 4) KeepPalette(rows.table, std::size_t{1} << depth, image.get());
  if (HeaderOnly()) {
    if (depth == 8) KeepTrailer(in, image.get());
    if (depth == 32) NoteAlphaUntold();
    return image.release();
  }
  std::int32_t rowsRead = 0;
  const Rows end = ForEachRow(header.Height(), 8, [&](std::int32_t y) {
    readRow(rows, PixelRow(*image, y));
    rowsRead = y + 1;
    return !in.ended();
  });
  if (depth == 8 && end != Rows::stopped) MapIndices(in, rowsRead, image.get());
  if (in.ended()) NoteFileEndedEarly();
  return image.release();
}

std::int32_t SavePcx(const ImageRecord* image, const char* path, std::int32_t depth) {
  const bool reduced = depth == 8 || depth == 4 || depth == 1;
  if (!reduced) depth = 24;
  IndexedImage indexed;
  if (reduced && !RenderIndexed(*image, RenderCodeForDepth(depth), &indexed)) return 1;
  FileWriter out(path);
  if (image->width > UINT16_MAX || image->height > UINT16_MAX) {
    LibError("A PCX file holds at most 65535 x 65535 pixels");
    return 1;
  }
  SetFileByteOrder(ByteOrder::little);
  const PcxHeader header = MakeHeader(*image, depth, reduced ? &indexed.palette : nullptr);
  if (!WriteHeader(out, header)) return 1;
  {
    ProgressScope progress("- Writing PCX File -", image->height, 5);
    if (!WriteRows(out, *image, indexed, header, depth)) return 1;
  }
  if (depth == 8 && !WriteTrailer(out, indexed.palette)) return 1;
  return out.Finish() ? 0 : 1;
}

}  // namespace imx
