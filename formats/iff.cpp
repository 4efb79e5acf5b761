#include "formats/iff.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>

#include "formats/bitplanes.h"
#include "formats/byterun.h"
#include "formats/chunky_pixels.h"
#include "formats/line_palettes.h"
#include "formats/pixel_rows.h"
#include "formats/trim.h"
#include "formats/vertical_runs.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/host.h"
#include "imagelib/image.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"
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
constexpr std::uint32_t kCat = Id("CAT ");
constexpr std::uint32_t kProperties = Id("PROP");
constexpr std::uint32_t kIlbm = Id("ILBM");
constexpr std::uint32_t kPbm = Id("PBM ");
constexpr std::uint32_t kDeep = Id("DEEP");
constexpr std::uint32_t kTrim = Id("TRIM");
constexpr std::uint32_t kThumbnail = Id("THUM");
constexpr std::uint32_t kHeader = Id("BMHD");
constexpr std::uint32_t kViewMode = Id("CAMG");
constexpr std::uint32_t kColourMap = Id("CMAP");
constexpr std::uint32_t kBody = Id("BODY");
constexpr std::uint32_t kSliced = Id("SHAM");
constexpr std::uint32_t kChanges = Id("PCHG");
constexpr std::uint32_t kTrimRgb = Id("RGBT");
constexpr std::uint32_t kTrimGrey = Id("MONO");
constexpr std::uint32_t kTrimRgba = Id("RGBA");
constexpr std::uint32_t kDeepHeader = Id("DGBL");
constexpr std::uint32_t kDeepElements = Id("DPEL");
constexpr std::uint32_t kDeepDifferences = Id("TVDC");
constexpr std::uint32_t kDeepBody = Id("DBOD");
constexpr std::uint32_t kAuthor = Id("AUTH");
constexpr std::uint32_t kNotice = Id("(c) ");
constexpr std::uint32_t kComment = Id("ANNO");
constexpr std::uint32_t kKnownChunks[] = {kThumbnail, kHeader,    kViewMode,  kColourMap, kBody,
                                          kTrimRgb,   kTrimGrey,  kTrimRgba,  kAuthor,    kNotice,
                                          kComment,   Id("DPI "), Id("CLUT"), Id("PLTP")};

constexpr std::size_t kChunkStart = 8;  ///< id and length
constexpr std::size_t kHeaderSize = 20;
constexpr std::uint8_t kHasMask = 1;
constexpr std::uint8_t kHasTransparentColour = 2;
constexpr std::uint8_t kByteRun = 1;
constexpr std::uint8_t kVertical = 2;
constexpr std::uint32_t kInterlaced = 0x4;
constexpr std::uint32_t kHalfBrite = 0x80;
constexpr std::uint32_t kHoldAndModify = 0x800;
/// Author and notice are cut to this many characters when they are read, not when written.
constexpr std::size_t kMostCredit = 98;

constexpr std::int32_t kProgressExtra = 1;
constexpr std::int32_t kRowsBetweenStops = 8;  ///< while writing
constexpr std::size_t kChannels = 3;
constexpr std::size_t kAlpha = 3;  ///< the channel behind them
constexpr std::size_t kDeepPlanes = 8 * kChannels;

/// The fields of "BMHD" that matter.
struct BitmapHeader {
  std::uint16_t width;
  std::uint16_t height;
  std::uint8_t planes;
  std::uint8_t masking;
  std::uint8_t compression;
  std::uint16_t transparent;  ///< number of the transparent colour

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
  BodyPlace lines;  ///< palette changes by line
  bool isPbm;       ///< pixels are bytes
  bool isChunky;    ///< pixels are stored whole
  ChunkyLayout chunky;
};

bool IsPicture(std::uint32_t type) {
  return type == kIlbm || type == kTrim;
}

/// Reads the start of the file as that of a form. False when it is no picture; else `*end` is the
/// end of the form.
bool ReadForm(FileReader& in, std::uint64_t* end, IffFile* file) {
  in.Seek(0);
  const std::uint32_t tag = in.U32();
  if (tag != kForm && tag != kList) return false;
  *end = kChunkStart + std::uint64_t{in.U32()};
  const std::uint32_t type = in.U32();
  file->isPbm = type == kPbm && Quirk(kIlbmContainers);
  file->isChunky = type == kDeep && tag == kForm && Quirk(kIlbmChunky);
  return IsPicture(type) || file->isPbm || file->isChunky;
}

void ReadHeader(FileReader& in, std::size_t size, BitmapHeader* header) {
  std::uint8_t bytes[kHeaderSize] = {};
  in.Read(bytes, std::min(size, sizeof bytes));
  header->width = LoadU16(bytes, ByteOrder::big);
  header->height = LoadU16(bytes + 2, ByteOrder::big);
  header->planes = bytes[8];
  header->masking = bytes[9];
  header->compression = bytes[10];
  header->transparent = LoadU16(bytes + 12, ByteOrder::big);
}

void ReadText(FileReader& in, std::size_t size, std::size_t most, TextField& text) {
  char characters[kTextSize];
  const std::size_t count = in.Read(characters, std::min(size, sizeof characters));
  CopyTextCut(text, {characters, count}, most);
}

/// Takes over one chunk of a chunky picture.
void ReadChunkyChunk(FileReader& in, std::uint32_t id, std::uint32_t size, std::uint32_t length,
                     IffFile* file) {
  std::uint8_t bytes[256] = {};
  switch (id) {
    case kDeepHeader:
      in.Read(bytes, std::min<std::size_t>(size, sizeof bytes));
      file->header.width = LoadU16(bytes, ByteOrder::big);
      file->header.height = LoadU16(bytes + 2, ByteOrder::big);
      file->chunky.compression = LoadU16(bytes + 4, ByteOrder::big);
      file->hasHeader = true;
      break;
    case kDeepElements:
      ReadChunkyElements({bytes, in.Read(bytes, std::min<std::size_t>(size, sizeof bytes))},
                         &file->chunky);
      break;
    case kDeepDifferences:
      for (std::int16_t& difference : file->chunky.difference) {
        difference = static_cast<std::int16_t>(in.U16());
      }
      break;
    case kDeepBody:
      if (file->body.id == 0) file->body = {id, in.position(), size, size < length};
      break;
    default:
      break;
  }
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
    case kSliced:
    case kChanges:
      file->lines = {id, in.position(), size, size < length};
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
    if (file->isChunky) ReadChunkyChunk(in, id, size, length, file);
    ReadChunk(in, id, size, length, file);
    in.Seek(next);
    if (length % 2 != 0 && PadByteFollows(in)) in.Skip(1);
  }
  if (formEnd > in.size() && file->body.id == 0) NoteFileEndedEarly();
}

/// Goes through the chunks of a list, and of the lists in it, to the first picture, behind whose
/// type the reader then stands; takes over what is shared on the way. False when none is there.
bool FindPicture(FileReader& in, std::uint64_t* end, IffFile* file) {
  in.Seek(0);
  while (in.remaining() >= kChunkStart + 4) {
    const std::uint32_t id = in.U32();
    const std::uint32_t length = in.U32();
    const std::uint64_t next = in.position() + length + length % 2;
    const std::uint32_t type = in.U32();
    if (id == kList || id == kCat) continue;
    file->isPbm = type == kPbm;
    if (IsPicture(type) || file->isPbm) {
      *end = next;
      if (id == kForm) return true;
      if (id == kProperties) ReadChunks(in, next, file);
    }
    in.Seek(next);
  }
  return false;
}

/// Whether the file is a list that forms stand in, not one with a form's chunks.
bool HoldsForms(FileReader& in) {
  in.Seek(0);
  const std::uint32_t tag = in.U32();
  if (tag != kList && tag != kCat) return false;
  in.Seek(kChunkStart + 4);
  const std::uint32_t first = in.U32();
  return first == kForm || first == kProperties || first == kList || first == kCat;
}

/// Everything but the pixels. False when the file is no picture.
bool ReadContents(FileReader& in, IffFile* file) {
  std::uint64_t end = 0;
  if (HoldsForms(in) && Quirk(kIlbmContainers)) {
    if (!FindPicture(in, &end, file)) return false;
    // A header of its own counts before a shared one.
    const bool shared = std::exchange(file->hasHeader, false);
    ReadChunks(in, end, file);
    file->hasHeader = file->hasHeader || shared;
    return file->hasHeader;
  }
  if (!ReadForm(in, &end, file)) return false;
  ReadChunks(in, end, file);
  if (file->isChunky && !CanReadChunky(file->chunky)) return false;
  return file->hasHeader;
}

/// Whether pixels may change one component of their left neighbour's colour. The size of the
/// colour map tells it, for files without a view mode too.
bool IsHoldAndModify(const IffFile& file) {
  const std::uint8_t planes = file.header.planes;
  if (planes == 5 || planes == 7) {
    return (file.viewMode & kHoldAndModify) != 0 && QuirkShown(kIlbmHam);
  }
  if (planes != 6 && planes != 8) return false;
  return (file.viewMode & kHoldAndModify) != 0 || file.colourCount == (planes == 6 ? 16 : 64);
}

bool IsHalfBrite(const IffFile& file) {
  return (file.viewMode & kHalfBrite) != 0 && !IsHoldAndModify(file);
}

/// Puts the lower half of the `count` colours, at half brightness, into the upper half.
void AddHalfBrite(Palette& palette, std::int32_t count) {
  const auto half = static_cast<std::size_t>(count) / 2;
  for (std::size_t i = half; i < static_cast<std::size_t>(count); ++i) {
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
  if (IsHalfBrite(file)) {
    // A map of up to 32 colours holds the lower half alone.
    if (image.paletteCount <= 32) image.paletteCount = 64;
    AddHalfBrite(palette, image.paletteCount);
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
  const unsigned bits = planes <= 6 ? 4 : 6;  // of an odd number the upper control bit is missing
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

/// Where the alpha of a picture is.
enum class AlphaFrom { nothing, planes, mask, transparentColour };

/// How a body is read beyond what its header tells.
struct BodyLayout {
  bool holdAndModify;
  bool isPbm;
  bool vertical;
  std::size_t channels;       ///< of more than 8 planes
  std::size_t channelPlanes;  ///< planes of each channel, of which the upper 8 count
  AlphaFrom alpha;
};

BodyLayout LayoutOf(const IffFile& file) {
  const BitmapHeader& header = file.header;
  BodyLayout layout = {IsHoldAndModify(file), file.isPbm, false, kChannels, 8, AlphaFrom::nothing};
  const std::uint8_t planes = header.planes;
  if ((planes == 32 || planes == 48 || planes == 64) && QuirkShown(kIlbmAlphaPlanes)) {
    layout.channels = planes == 48 ? 3 : 4;
    layout.channelPlanes = planes / layout.channels;
    if (layout.channels == 4) layout.alpha = AlphaFrom::planes;
  }
  layout.vertical = header.compression == kVertical && !file.isPbm && QuirkShown(kIlbmVertical);
  if (layout.alpha != AlphaFrom::nothing) return layout;
  if (header.masking == kHasMask && !file.isPbm) {
    if (QuirkShown(kIlbmMask)) layout.alpha = AlphaFrom::mask;
  } else if (header.masking == kHasTransparentColour && !header.IsDeep()) {
    if (QuirkShown(kIlbmMask)) layout.alpha = AlphaFrom::transparentColour;
  }
  return layout;
}

/// One row of an ILBM body at a time.
struct PlanarRow {
  BitmapHeader header;
  BodyLayout layout;
  PixelTable colours;
  HoldTable hold;
  TrackedBytes planes;  ///< the plane rows as they are in the file, mask included; or bytes of PBM
  TrackedBytes bytes;   ///< the planes put together: one row of values, or of each channel

  /// False when memory runs out.
  bool Prepare() {
    const std::size_t channels = header.IsDeep() ? layout.channels : 1;
    planes = TrackedBytes(PieceSize() * Pieces(), "iff3");
    bytes = TrackedBytes(channels * 8 * header.PlaneBytes(), "iff4");
    return planes && bytes;
  }

  void SetColours(const Palette& palette) {
    for (std::size_t i = 0; i < kPaletteSize; ++i) {
      colours.Set(i, palette.red[i], palette.green[i], palette.blue[i]);
    }
    if (layout.holdAndModify) hold = MakeHoldTable(colours, header.planes);
  }

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
    const std::size_t size = PieceSize();
    for (std::size_t k = 0; k < Pieces(); ++k) {
      whole = ReadByteRun(in, left, planes.data() + k * size, size) && whole;
    }
    return whole;
  }

  void Convert(const std::uint8_t* rows, std::uint8_t* pixels) {
    if (header.IsDeep()) {
      ConvertDeep(rows, pixels);
    } else {
      ConvertIndexed(rows, pixels);
    }
    if (layout.alpha == AlphaFrom::nothing) return;
    const std::size_t planeBytes = header.PlaneBytes();
    const std::uint8_t* const mask = rows + header.planes * planeBytes;
    const std::uint8_t* const deep = bytes.data() + kChannels * 8 * planeBytes;
    for (std::size_t x = 0; x < header.width; ++x) {
      std::uint8_t& alpha = pixels[4 * x + 3];
      if (layout.alpha == AlphaFrom::planes) {
        alpha = deep[x];
      } else {
        const bool opaque = layout.alpha == AlphaFrom::mask ? (mask[x / 8] << x % 8 & 0x80) != 0
                                                            : bytes[x] != header.transparent;
        alpha = opaque ? 255 : 0;
      }
    }
  }

 private:
  /// What is packed by itself: a row of one plane, or one of bytes.
  std::size_t PieceSize() const {
    return layout.isPbm ? (std::size_t{header.width} + 1) / 2 * 2 : header.PlaneBytes();
  }
  std::size_t Pieces() const { return layout.isPbm ? 1 : header.PlaneRows(); }

  void ConvertIndexed(const std::uint8_t* rows, std::uint8_t* pixels) {
    if (layout.isPbm) {
      std::memcpy(bytes.data(), rows, header.width);
    } else {
      BytesFromPlanes(rows, header.PlaneBytes(), header.planes, bytes.data());
    }
    if (layout.holdAndModify) {
      HoldAndModifyRow(bytes.data(), hold, colours.pixel[0], pixels, header.width);
    } else {
      RowFromIndices(bytes.data(), colours, pixels, header.width);
    }
  }

  /// Red planes first, then green and blue. Missing ones are 0, more are passed over.
  void ConvertDeep(const std::uint8_t* rows, std::uint8_t* pixels) {
    const std::size_t planeBytes = header.PlaneBytes();
    std::uint8_t* channel[4];
    for (std::size_t c = 0; c < layout.channels; ++c) {
      channel[c] = bytes.data() + 8 * planeBytes * c;
      const std::size_t place = (c + 1) * layout.channelPlanes - 8;
      const std::size_t first = std::min<std::size_t>(place, header.planes);
      const std::size_t count = std::min<std::size_t>(8, header.planes - first);
      BytesFromPlanes(rows + first * planeBytes, planeBytes, count, channel[c]);
    }
    TrueColourRow(channel[0], channel[1], channel[2], pixels, header.width);
  }
};

/// The colours by line, where other programs' way holds. False when memory runs out.
bool ReadLines(FileReader& in, const IffFile& file, LinePalettes* lines) {
  if (file.lines.id == 0 || file.header.IsDeep() || !QuirkShown(kIlbmLinePalettes)) return true;
  in.Seek(file.lines.offset);
  const bool interlaced = (file.viewMode & kInterlaced) != 0;
  return file.lines.id == kSliced ? ReadSlicedPalettes(in, file.lines.size, interlaced, lines)
                                  : ReadPaletteChanges(in, file.lines.size, lines);
}

/// The rows of a body that runs down the columns. False when memory runs out.
bool ReadVertical(FileReader& in, const IffFile& file, TrackedBytes* rows) {
  const BitmapHeader& header = file.header;
  TrackedBytes body(file.body.size, "iff11");
  const std::size_t planeBytes = header.PlaneBytes(), stride = header.PlaneRows() * planeBytes;
  *rows = TrackedBytes(std::uint64_t{stride} * header.height, "iff12");
  if (!body || !*rows) return false;
  in.Read(body.data(), body.size());
  std::span<const std::uint8_t> left = body.span();
  for (std::size_t k = 0; k < header.PlaneRows(); ++k) {
    if (!DecodeVerticalPlane(left, rows->data() + k * planeBytes, planeBytes, stride,
                             header.height)) {
      NoteFileEndedEarly();
      break;
    }
  }
  return true;
}

/// False when memory runs out.
bool ReadPlanes(FileReader& in, const IffFile& file, ImageRecord& image) {
  const BitmapHeader& header = file.header;
  if (header.planes == 0) return true;
  PlanarRow row = {header, LayoutOf(file), {}, {}, {}, {}};
  LinePalettes lines;
  TrackedBytes rows;
  if (!row.Prepare() || !ReadLines(in, file, &lines)) return false;
  in.Seek(file.body.offset);
  if (row.layout.vertical && !ReadVertical(in, file, &rows)) return false;
  Palette palette = image.palette;
  row.SetColours(palette);
  if (row.layout.alpha != AlphaFrom::nothing) image.flags |= kFlagAlpha;

  ProgressScope progress("Reading IFF", image.height, kProgressExtra);
  std::uint64_t left = file.body.size;
  bool whole = true;
  std::int32_t y = 0;
  for (; y < image.height && left > 0 && whole; ++y) {
    if (ChangeColours(lines, y, palette)) {
      if (IsHalfBrite(file)) AddHalfBrite(palette, image.paletteCount);
      row.SetColours(palette);
    }
    if (!row.layout.vertical) whole = row.Read(in, &left);
    const std::size_t at = static_cast<std::size_t>(y) * row.planes.size();
    row.Convert(row.layout.vertical ? rows.data() + at : row.planes.data(), PixelRow(image, y));
    if (whole && ProgressUpdateAbort(y) != 0) return true;
  }
  if (file.body.cut && (!whole || y < image.height)) NoteFileEndedEarly();
  return true;
}

/// False when memory runs out.
bool ReadChunky(FileReader& in, const IffFile& file, ImageRecord& image) {
  if (file.chunky.has[kAlpha]) image.flags |= kFlagAlpha;
  bool whole = true;
  if (!ReadChunkyPixels(in, file.body.size, file.chunky, image, &whole)) return false;
  if (!whole) file.body.cut ? NoteFileEndedEarly() : NoteDamagedPixels();
  return true;
}

std::int32_t TrimChannels(const BodyPlace& body) {
  return body.id == kTrimRgba ? 4 : body.id == kTrimRgb ? 3 : 1;
}

/// False when memory runs out.
bool ReadTrim(FileReader& in, const BodyPlace& body, ImageRecord* image) {
  TrackedBytes data(body.size, "iff5");
  if (!data) return false;
  in.Read(data.data(), data.size());
  TrimLoadBody(image, data.data(), body.size, TrimChannels(body));
  if (body.cut) NoteFileEndedEarly();
  return true;
}

/// What ReadBody sets beside the pixels.
void TellBody(const IffFile& file, ImageRecord* image) {
  if (file.isChunky) {
    if (file.chunky.has[kAlpha]) image->flags |= kFlagAlpha;
  } else if (file.body.id == kBody) {
    const bool alpha = file.header.planes > 0 && LayoutOf(file).alpha != AlphaFrom::nothing;
    if (alpha) image->flags |= kFlagAlpha;
  } else if (file.body.id != 0) {
    TrimDescribe(image, TrimChannels(file.body));
  }
}

/// False when memory runs out.
bool ReadBody(FileReader& in, const IffFile& file, ImageRecord* image) {
  if (file.body.id == 0) return true;
  in.Seek(file.body.offset);
  if (file.body.id == kDeepBody) return ReadChunky(in, file, *image);
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

bool WriteHeader(FileWriter& out, const ImageRecord& image, bool mask, std::int32_t compression) {
  std::uint8_t bytes[kHeaderSize] = {};
  const auto width = static_cast<std::uint16_t>(image.width);
  const auto height = static_cast<std::uint16_t>(image.height);
  StoreU16(bytes, width, ByteOrder::big);
  StoreU16(bytes + 2, height, ByteOrder::big);
  bytes[8] = kDeepPlanes;
  bytes[9] = mask ? kHasMask : 0;
  bytes[10] = static_cast<std::uint8_t>(compression);
  StoreU16(bytes + 16, width, ByteOrder::big);
  StoreU16(bytes + 18, height, ByteOrder::big);
  return WriteChunkStart(out, kHeader, kHeaderSize) && out.Write(bytes, sizeof bytes);
}

/// Plane rows, of one channel or the mask's.
bool WritePlanes(FileWriter& out, const std::uint8_t* planes, std::size_t count,
                 std::size_t planeBytes, std::uint8_t* packed) {
  if (!packed) return out.Write(planes, count * planeBytes);
  std::size_t size = 0;
  for (std::size_t k = 0; k < count; ++k) {
    size += PackByteRun(planes + k * planeBytes, planeBytes, packed + size);
  }
  return out.Write(packed, size);
}

/// False when it was not written whole; `*stopped` tells whether the user stopped.
bool WriteIlbmBody(FileWriter& out, const ImageRecord& image, bool mask, bool pack, bool* stopped) {
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
    for (std::size_t channel = 0; channel < (mask ? kAlpha + 1 : kChannels); ++channel) {
      const std::uint8_t* pixels = PixelRow(image, y) + channel;
      for (std::size_t x = 0; x < width; ++x) bytes[x] = pixels[4 * x];
      PlanesFromBytes(bytes.data(), planes.data(), planeBytes);
      // The mask is the highest bit of alpha.
      const bool whole = channel != kAlpha;
      if (!WritePlanes(out, planes.data() + (whole ? 0 : 7 * planeBytes), whole ? 8 : 1, planeBytes,
                       pack ? packed.data() : nullptr)) {
        return false;
      }
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
  IffFile contents{};
  if (!ReadContents(in, &contents)) return nullptr;
  const BitmapHeader& header = contents.header;
  if (contents.isPbm && header.IsDeep()) return nullptr;
  ImageGuard image(AllocImage(header.width, header.height, "IFF", path));
  if (!image) return nullptr;
  image->fileType = kTypeIff;
  image->depth = contents.isChunky ? static_cast<std::uint32_t>(8 * contents.chunky.pixelBytes)
                                   : header.planes;
  CopyText(image->formatLabel, "IFF/ILBM");
  TakeColours(contents, *image);
  TakeTexts(contents, *image);
  if (HeaderOnly()) {
    TellBody(contents, image.get());
    return image.release();
  }
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
  const bool mask = !trim && (image->flags & kFlagAlpha) != 0 && Quirk(kIlbmMask);
  WriteHeader(out, *image, mask, compression);

  const std::uint32_t body = BodyId(*image, trim);
  WriteChunkStart(out, body, 0);
  const std::uint64_t bodyStart = out.position();
  bool stopped = false;
  if (trim) {
    const std::int32_t channels = body == kTrimRgba ? 4 : body == kTrimRgb ? 3 : 1;
    if (TrimSaveBody(out, image, channels, &stopped) == 0) return stopped ? 1 : 0;
  } else if (!WriteIlbmBody(out, *image, mask, compression != 0, &stopped)) {
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
