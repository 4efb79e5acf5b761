#include "formats/iff.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "formats/bitplanes.h"
#include "formats/byterun.h"
#include "formats/pixel_rows.h"
#include "formats/trim.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/host.h"
#include "imagelib/image.h"
#include "imagelib/load_outcome.h"
#include "imagelib/registry.h"
#include "imagelib/save_outcome.h"
#include "imagelib/text.h"

namespace imx {
namespace {

/// A chunk id as the big-endian number that it is read as.
constexpr std::uint32_t Id(std::string_view name) {
  std::uint32_t id = 0;
  for (const char c : name) id = id << 8 | static_cast<std::uint8_t>(c);
  return id;
}

constexpr std::uint32_t kForm = Id("FORM");
constexpr std::uint32_t kList = Id("LIST");
constexpr std::uint32_t kIlbm = Id("ILBM");
constexpr std::uint32_t kTrim = Id("TRIM");
constexpr std::uint32_t kThumbnail = Id("THUM");
constexpr std::uint32_t kHeader = Id("BMHD");
constexpr std::uint32_t kViewMode = Id("CAMG");
constexpr std::uint32_t kColourMap = Id("CMAP");
constexpr std::uint32_t kBody = Id("BODY");
constexpr std::uint32_t kTrimRgb = Id("RGBT");
constexpr std::uint32_t kTrimGrey = Id("MONO");
constexpr std::uint32_t kTrimRgba = Id("RGBA");
constexpr std::uint32_t kAuthor = Id("AUTH");
constexpr std::uint32_t kNotice = Id("(c) ");
constexpr std::uint32_t kComment = Id("ANNO");
constexpr std::uint32_t kKnownChunks[] = {kThumbnail, kHeader,    kViewMode,  kColourMap, kBody,
                                          kTrimRgb,   kTrimGrey,  kTrimRgba,  kAuthor,    kNotice,
                                          kComment,   Id("DPI "), Id("CLUT"), Id("PLTP")};

constexpr std::size_t kChunkStart = 8;  ///< id and length
constexpr std::size_t kHeaderSize = 20;
constexpr std::uint8_t kHasMask = 1;
constexpr std::uint8_t kByteRun = 1;
constexpr std::uint32_t kHalfBrite = 0x80;
constexpr std::uint32_t kHoldAndModify = 0x800;
/// Author and notice are cut to this many characters when they are read, not when written.
constexpr std::size_t kMostCredit = 98;

constexpr std::int32_t kProgressExtra = 1;
constexpr std::int32_t kRowsBetweenStops = 8;  ///< while writing
constexpr std::size_t kChannels = 3;
constexpr std::size_t kDeepPlanes = 8 * kChannels;

/// The fields of "BMHD" that matter.
struct BitmapHeader {
  std::uint16_t width;
  std::uint16_t height;
  std::uint8_t planes;
  std::uint8_t masking;
  std::uint8_t compression;

  bool IsDeep() const { return planes > 8; }
  std::size_t PlaneBytes() const { return (std::size_t{width} + 15) / 16 * 2; }
  /// Plane rows of one pixel row, the mask included.
  std::size_t PlaneRows() const { return std::size_t{planes} + (masking == kHasMask ? 1 : 0); }
};

// Reading

struct BodyPlace {
  std::uint32_t id;  ///< 0 while none was found
  std::uint64_t offset;
  std::uint32_t size;  ///< no more than there is
  bool cut;            ///< the file has less than the chunk states
};

/// What the chunks of a file say, whatever their order. The first header and the first body count,
/// of all others the last.
struct IffFile {
  bool hasHeader;
  BitmapHeader header;
  std::uint32_t viewMode;
  std::size_t colourCount;
  std::uint8_t colours[3 * kPaletteSize];
  TextField author;
  TextField notice;
  TextField comment;
  BodyPlace body;
};

/// Reads the start of the file. False when it is no picture; else `*end` is the end of the form.
bool ReadForm(FileReader& in, std::uint64_t* end) {
  in.Seek(0);
  const std::uint32_t tag = in.U32();
  if (tag != kForm && tag != kList) return false;
  *end = kChunkStart + std::uint64_t{in.U32()};
  const std::uint32_t type = in.U32();
  return type == kIlbm || type == kTrim;
}

void ReadHeader(FileReader& in, std::size_t size, BitmapHeader* header) {
  std::uint8_t bytes[kHeaderSize] = {};
  in.Read(bytes, std::min(size, sizeof bytes));
  header->width = LoadU16(bytes, ByteOrder::big);
  header->height = LoadU16(bytes + 2, ByteOrder::big);
  header->planes = bytes[8];
  header->masking = bytes[9];
  header->compression = bytes[10];
}

void ReadText(FileReader& in, std::size_t size, std::size_t most, TextField& text) {
  char characters[kTextSize];
  const std::size_t count = in.Read(characters, std::min(size, sizeof characters));
  CopyTextCut(text, {characters, count}, most);
}

/// Takes over one chunk, of which `size` of `length` bytes stand in the file.
void ReadChunk(FileReader& in, std::uint32_t id, std::uint32_t size, std::uint32_t length,
               IffFile* file) {
  switch (id) {
    case kHeader:
      if (!file->hasHeader) ReadHeader(in, size, &file->header);
      file->hasHeader = true;
      break;
    case kViewMode:
      file->viewMode = in.U32();
      break;
    case kColourMap:
      file->colourCount = std::min<std::size_t>(size / 3, kPaletteSize);
      in.Read(file->colours, 3 * file->colourCount);
      break;
    case kBody:
    case kTrimRgb:
    case kTrimGrey:
    case kTrimRgba:
      if (file->body.id == 0) file->body = {id, in.position(), size, size < length};
      break;
    case kAuthor:
      ReadText(in, size, kMostCredit, file->author);
      break;
    case kNotice:
      ReadText(in, size, kMostCredit, file->notice);
      break;
    case kComment:
      ReadText(in, size, kTextSize - 1, file->comment);
      break;
    default:
      break;
  }
}

/// A chunk of odd length has a pad byte behind it. Some writers leave it out, TRIM's behind odd
/// thumbnails: then the next chunk's id stands where the pad byte should be.
bool PadByteFollows(FileReader& in) {
  const FileReader::View view = in.Peek(4);
  if (view.size < 4) return true;
  const std::uint32_t id = LoadU32(view.data, ByteOrder::big);
  return std::find(std::begin(kKnownChunks), std::end(kKnownChunks), id) == std::end(kKnownChunks);
}

void ReadChunks(FileReader& in, std::uint64_t formEnd, IffFile* file) {
  const std::uint64_t end = std::min(formEnd, in.size());
  while (in.position() + kChunkStart <= end) {
    const std::uint32_t id = in.U32();
    const std::uint32_t length = in.U32();
    const std::uint64_t next = in.position() + length;
    const auto size = static_cast<std::uint32_t>(std::min<std::uint64_t>(length, in.remaining()));
    ReadChunk(in, id, size, length, file);
    in.Seek(next);
    if (length % 2 != 0 && PadByteFollows(in)) in.Skip(1);
  }
  if (formEnd > in.size() && file->body.id == 0) NoteFileEndedEarly();
}

/// Whether pixels may change one component of their left neighbour's colour. The size of the
/// colour map tells it, for files without a view mode too.
bool IsHoldAndModify(const IffFile& file) {
  const std::uint8_t planes = file.header.planes;
  if (planes != 6 && planes != 8) return false;
  return (file.viewMode & kHoldAndModify) != 0 || file.colourCount == (planes == 6 ? 16 : 64);
}

/// Puts the lower half of the colours, at half brightness, into the upper half. A map of up to 32
/// colours holds the lower half alone.
void AddHalfBrite(Palette& palette, std::int32_t* count) {
  if (*count <= 32) *count = 64;
  const auto half = static_cast<std::size_t>(*count) / 2;
  for (std::size_t i = half; i < static_cast<std::size_t>(*count); ++i) {
    for (auto* plane : {palette.red, palette.green, palette.blue}) {
      plane[i] = static_cast<std::uint8_t>(plane[i - half] >> 1);
    }
  }
}

void TakeColours(const IffFile& file, ImageRecord& image) {
  if (file.colourCount == 0) return;
  Palette& palette = image.palette;
  for (std::size_t i = 0; i < file.colourCount; ++i) {
    palette.red[i] = file.colours[3 * i];
    palette.green[i] = file.colours[3 * i + 1];
    palette.blue[i] = file.colours[3 * i + 2];
  }
  image.paletteCount = static_cast<std::int32_t>(file.colourCount);
  if ((file.viewMode & kHalfBrite) != 0 && !IsHoldAndModify(file)) {
    AddHalfBrite(palette, &image.paletteCount);
  }
}

void TakeTexts(const IffFile& file, ImageRecord& image) {
  CopyTextCut(image.author, file.author);
  CopyTextCut(image.notice, file.notice);
  CopyTextCut(image.comment, file.comment);
}

/// What each value does to the colour on its left: the bytes that stay, and those put in.
struct HoldTable {
  std::uint32_t kept[256];
  std::uint32_t put[256];
};

HoldTable MakeHoldTable(const PixelTable& colours, std::uint8_t planes) {
  const unsigned bits = planes - 2u;
  HoldTable table{};
  for (unsigned byte = 0; byte < 1u << planes; ++byte) {
    const unsigned value = byte & ((1u << bits) - 1);
    const unsigned wide = bits == 4 ? value * 17 : value * 4 + (value >> 4);
    const unsigned control = byte >> bits;
    if (control == 0) {
      table.put[byte] = colours.pixel[value];
      continue;
    }
    const unsigned shift = control == 1 ? 16 : control == 2 ? 0 : 8;  // blue, red, green
    table.kept[byte] = ~(0xFFu << shift);
    table.put[byte] = wide << shift;
  }
  return table;
}

void HoldAndModifyRow(const std::uint8_t* values, const HoldTable& table, std::uint32_t held,
                      std::uint8_t* pixels, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    held = (held & table.kept[values[i]]) | table.put[values[i]];
    std::memcpy(pixels + 4 * i, &held, sizeof held);
  }
}

void TrueColourRow(const std::uint8_t* red, const std::uint8_t* green, const std::uint8_t* blue,
                   std::uint8_t* pixels, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t pixel =
        red[i] | std::uint32_t{green[i]} << 8 | std::uint32_t{blue[i]} << 16;
    std::memcpy(pixels + 4 * i, &pixel, sizeof pixel);
  }
}

/// One row of an ILBM body at a time.
struct PlanarRow {
  BitmapHeader header;
  bool holdAndModify;
  PixelTable colours;
  HoldTable hold;
  TrackedBytes planes;  ///< the plane rows as they are in the file, mask included
  TrackedBytes bytes;   ///< the planes put together: one row of values, or of each channel

  /// False when the data ended before the row did; the rest of it is then 0.
  bool Read(FileReader& in, std::uint64_t* left) {
    if (header.compression != kByteRun) {
      const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(*left, planes.size()));
      const std::size_t got = in.Read(planes.data(), count);
      std::memset(planes.data() + got, 0, planes.size() - got);
      *left -= got;
      return got == planes.size();
    }
    bool whole = true;
    const std::size_t planeBytes = header.PlaneBytes();
    for (std::size_t k = 0; k < header.PlaneRows(); ++k) {
      whole = ReadByteRun(in, left, planes.data() + k * planeBytes, planeBytes) && whole;
    }
    return whole;
  }

  void Convert(std::uint8_t* pixels) {
    const std::size_t planeBytes = header.PlaneBytes();
    if (!header.IsDeep()) {
      BytesFromPlanes(planes.data(), planeBytes, header.planes, bytes.data());
      if (holdAndModify) {
        HoldAndModifyRow(bytes.data(), hold, colours.pixel[0], pixels, header.width);
      } else {
        RowFromIndices(bytes.data(), colours, pixels, header.width);
      }
      return;
    }
    // Planes 0-7 red, 8-15 green, 16-23 blue. Missing ones are 0, more are passed over.
    std::uint8_t* channel[kChannels];
    for (std::size_t c = 0; c < kChannels; ++c) {
      channel[c] = bytes.data() + 8 * planeBytes * c;
      const std::size_t first = std::min<std::size_t>(8 * c, header.planes);
      const std::size_t count = std::min<std::size_t>(8, header.planes - first);
      BytesFromPlanes(planes.data() + first * planeBytes, planeBytes, count, channel[c]);
    }
    TrueColourRow(channel[0], channel[1], channel[2], pixels, header.width);
  }
};

/// False when memory runs out.
bool ReadPlanes(FileReader& in, const IffFile& file, const ImageRecord& image) {
  const BitmapHeader& header = file.header;
  if (header.planes == 0) return true;
  PlanarRow row = {header, IsHoldAndModify(file), {}, {}, {}, {}};
  row.planes = TrackedBytes(header.PlaneRows() * header.PlaneBytes(), "iff3");
  row.bytes = TrackedBytes((header.IsDeep() ? kChannels : 1) * 8 * header.PlaneBytes(), "iff4");
  if (!row.planes || !row.bytes) return false;
  const Palette& palette = image.palette;
  for (std::size_t i = 0; i < kPaletteSize; ++i) {
    row.colours.Set(i, palette.red[i], palette.green[i], palette.blue[i]);
  }
  if (row.holdAndModify) row.hold = MakeHoldTable(row.colours, header.planes);

  ProgressScope progress("Reading IFF", image.height, kProgressExtra);
  std::uint64_t left = file.body.size;
  bool whole = true;
  std::int32_t y = 0;
  for (; y < image.height && left > 0 && whole; ++y) {
    whole = row.Read(in, &left);
    row.Convert(PixelRow(image, y));
    if (whole && ProgressUpdateAbort(y) != 0) return true;
  }
  if (file.body.cut && (!whole || y < image.height)) NoteFileEndedEarly();
  return true;
}

/// False when memory runs out.
bool ReadTrim(FileReader& in, const BodyPlace& body, ImageRecord* image) {
  TrackedBytes data(body.size, "iff5");
  if (!data) return false;
  in.Read(data.data(), data.size());
  const std::int32_t channels = body.id == kTrimRgba ? 4 : body.id == kTrimRgb ? 3 : 1;
  TrimLoadBody(image, data.data(), body.size, channels);
  if (body.cut) NoteFileEndedEarly();
  return true;
}

/// False when memory runs out.
bool ReadBody(FileReader& in, const IffFile& file, ImageRecord* image) {
  if (file.body.id == 0) return true;
  in.Seek(file.body.offset);
  return file.body.id == kBody ? ReadPlanes(in, file, *image) : ReadTrim(in, file.body, image);
}

// Writing

bool WriteChunkStart(FileWriter& out, std::uint32_t id, std::uint32_t length) {
  return out.U32(id) && out.U32(length);
}

/// The thumbnail's size: as wide as allowed, or as high.
void ThumbnailSize(const ImageRecord& image, std::int32_t* width, std::int32_t* height) {
  *width = kThumbnailWidth;
  *height = kThumbnailWidth * image.height / image.width;
  if (*height > kThumbnailHeight) {
    *height = kThumbnailHeight;
    *width = kThumbnailHeight * image.width / image.height;
  }
}

/// Place in 0 .. size-1 of sample `index` of `count`.
std::int32_t SamplePlace(std::int32_t size, std::int32_t index, std::int32_t count) {
  return count == 1 ? 0 : (size - 1) * index / (count - 1);
}

/// Nearest samples of the picture. One side is of even size, so the length is even too.
bool WriteThumbnail(FileWriter& out, const ImageRecord& image) {
  const std::size_t pixelSize = (image.flags & kFlagAlpha) != 0 ? 4 : 3;
  std::int32_t width, height;
  ThumbnailSize(image, &width, &height);
  std::uint8_t data[4 + 4 * kThumbnailWidth * kThumbnailHeight];
  data[0] = static_cast<std::uint8_t>(width);
  data[1] = static_cast<std::uint8_t>(height);
  data[2] = static_cast<std::uint8_t>(pixelSize);
  data[3] = 0;
  std::size_t size = 4;
  for (std::int32_t y = 0; y < height; ++y) {
    const std::uint8_t* row = PixelRow(image, SamplePlace(image.height, y, height));
    for (std::int32_t x = 0; x < width; ++x) {
      std::memcpy(data + size, row + 4 * SamplePlace(image.width, x, width), pixelSize);
      size += pixelSize;
    }
  }
  return WriteChunkStart(out, kThumbnail, static_cast<std::uint32_t>(size)) &&
         out.Write(data, size);
}

bool WriteHeader(FileWriter& out, const ImageRecord& image, std::int32_t compression) {
  std::uint8_t bytes[kHeaderSize] = {};
  const auto width = static_cast<std::uint16_t>(image.width);
  const auto height = static_cast<std::uint16_t>(image.height);
  StoreU16(bytes, width, ByteOrder::big);
  StoreU16(bytes + 2, height, ByteOrder::big);
  bytes[8] = kDeepPlanes;
  bytes[10] = static_cast<std::uint8_t>(compression);
  StoreU16(bytes + 16, width, ByteOrder::big);
  StoreU16(bytes + 18, height, ByteOrder::big);
  return WriteChunkStart(out, kHeader, kHeaderSize) && out.Write(bytes, sizeof bytes);
}

/// The eight plane rows of one channel.
bool WritePlanes(FileWriter& out, const TrackedBytes& planes, std::size_t planeBytes,
                 std::uint8_t* packed) {
  if (!packed) return out.Write(planes.data(), planes.size());
  std::size_t size = 0;
  for (std::size_t k = 0; k < 8; ++k) {
    size += PackByteRun(planes.data() + k * planeBytes, planeBytes, packed + size);
  }
  return out.Write(packed, size);
}

/// False when it was not written whole; `*stopped` tells whether the user stopped.
bool WriteIlbmBody(FileWriter& out, const ImageRecord& image, bool pack, bool* stopped) {
  const auto width = static_cast<std::size_t>(image.width);
  const std::size_t planeBytes = (width + 15) / 16 * 2;
  TrackedBytes bytes(8 * planeBytes, "iff6");  // of one channel; 0 behind the last pixel
  TrackedBytes planes(8 * planeBytes, "iff7");
  TrackedBytes packed(8 * MostByteRun(planeBytes), "iff8");
  if (!bytes || !planes || !packed) {
    NoteSaveFailed("Not enough memory");
    return false;
  }
  ProgressScope progress("Writing IFF", image.height, kProgressExtra);
  const Rows end = ForEachRow(image.height, kRowsBetweenStops, [&](std::int32_t y) {
    for (std::size_t channel = 0; channel < kChannels; ++channel) {
      const std::uint8_t* pixels = PixelRow(image, y) + channel;
      for (std::size_t x = 0; x < width; ++x) bytes[x] = pixels[4 * x];
      PlanesFromBytes(bytes.data(), planes.data(), planeBytes);
      if (!WritePlanes(out, planes, planeBytes, pack ? packed.data() : nullptr)) return false;
    }
    return true;
  });
  *stopped = end == Rows::stopped;
  return end == Rows::done;
}

std::uint32_t BodyId(const ImageRecord& image, bool trim) {
  if (!trim) return kBody;
  if ((image.flags & kFlagAlpha) != 0) return kTrimRgba;
  return IsGrey(image) ? kTrimGrey : kTrimRgb;
}

/// The text, with its terminator where that makes the length even.
void WriteText(FileWriter& out, std::uint32_t id, const TextField& text) {
  if (text[0] == 0) return;
  const std::size_t length = (std::strlen(text) + 1) / 2 * 2;
  WriteChunkStart(out, id, static_cast<std::uint32_t>(length));
  out.Write(text, length);
}

}  // namespace

ImageRecord* LoadIff(std::FILE* file, const char* path) {
  FileReader in(file);
  SetFileByteOrder(ByteOrder::big);
  std::uint64_t formEnd = 0;
  if (!ReadForm(in, &formEnd)) return nullptr;
  IffFile contents{};
  ReadChunks(in, formEnd, &contents);
  if (!contents.hasHeader) return nullptr;
  const BitmapHeader& header = contents.header;
  ImageGuard image(AllocImage(header.width, header.height, "IFF", path));
  if (!image) return nullptr;
  image->fileType = kTypeIff;
  image->depth = header.planes;
  CopyText(image->formatLabel, "IFF/ILBM");
  TakeColours(contents, *image);
  TakeTexts(contents, *image);
  if (!ReadBody(in, contents, image.get())) return nullptr;
  return image.release();
}

std::int32_t SaveIff(const ImageRecord* image, const char* path, std::int32_t trimMode,
                     std::int32_t compression) {
  FileWriter out(path);
  if (!out.ok()) return 1;
  if (image->width > UINT16_MAX || image->height > UINT16_MAX) {
    LibError("An IFF file holds at most 65535 x 65535 pixels");
    return 1;
  }
  SetFileByteOrder(ByteOrder::big);
  const bool trim = trimMode != 0;
  WriteChunkStart(out, kForm, 0);
  out.U32(trim ? kTrim : kIlbm);
  if (trim) WriteThumbnail(out, *image);
  WriteHeader(out, *image, compression);

  const std::uint32_t body = BodyId(*image, trim);
  WriteChunkStart(out, body, 0);
  const std::uint64_t bodyStart = out.position();
  bool stopped = false;
  if (trim) {
    const std::int32_t channels = body == kTrimRgba ? 4 : body == kTrimRgb ? 3 : 1;
    if (TrimSaveBody(out, image, channels, &stopped) == 0) return stopped ? 1 : 0;
  } else if (!WriteIlbmBody(out, *image, compression != 0, &stopped)) {
    return stopped ? 1 : 0;
  }
  const std::uint64_t bodySize = out.position() - bodyStart;
  if (bodySize % 2 != 0) out.U8(0);
  WriteText(out, kAuthor, image->author);
  WriteText(out, kNotice, image->notice);
  WriteText(out, kComment, image->comment);
  out.PatchU32(bodyStart - 4, static_cast<std::uint32_t>(bodySize));
  out.PatchU32(4, static_cast<std::uint32_t>(out.position() - kChunkStart));
  // Stopped in a later TRIM channel: the file reads back without it, but nobody asked for that. The
  // writer stays unfinished.
  if (stopped) return 1;
  out.Finish();
  return 0;
}

}  // namespace imx
