#include "formats/psd.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "formats/byterun.h"
#include "formats/pixel_rows.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/guards.h"
#include "imagelib/load_outcome.h"

namespace imx {
namespace {

constexpr char kMagic[4] = {'8', 'B', 'P', 'S'};
constexpr std::uint16_t kVersion = 1;
constexpr std::uint32_t kReservedSize = 6;
constexpr std::uint16_t kMostChannels = 56;
constexpr std::uint32_t kMostSide = 30000;
constexpr std::uint16_t kRaw = 0, kPackBits = 1;

enum class Mode : std::uint16_t {
  bitmap = 0,
  grey = 1,
  indexed = 2,
  rgb = 3,
  cmyk = 4,
  duotone = 8,
};

struct PsdHeader {
  std::uint16_t channels = 0;
  std::int32_t width = 0, height = 0;
  std::uint16_t bits = 0;
  Mode mode = Mode::rgb;

  std::int32_t ColourChannels() const { return mode == Mode::rgb ? 3 : mode == Mode::cmyk ? 4 : 1; }
  /// The channel behind the colours is alpha.
  bool HasAlpha() const {
    return bits >= 8 && mode != Mode::indexed && channels > ColourChannels();
  }
  std::int32_t ChannelsRead() const { return ColourChannels() + (HasAlpha() ? 1 : 0); }
  std::size_t RowBytes() const { return (static_cast<std::size_t>(width) * bits + 7) / 8; }
};

bool Fail(const std::string& what) {
  LibError(("Photoshop loader: " + what).c_str());
  return false;
}

bool CheckMode(const PsdHeader& h) {
  switch (h.mode) {
    case Mode::bitmap:
      return h.bits == 1 || Fail("a bitmap must have 1 bit per pixel");
    case Mode::indexed:
      return h.bits == 8 || Fail("an indexed image must have 8 bits per channel");
    case Mode::grey:
    case Mode::rgb:
    case Mode::cmyk:
    case Mode::duotone:
      return h.bits == 8 || h.bits == 16 ||
             Fail("unknown channel depth: \"" + std::to_string(h.bits) + "\"");
  }
  return Fail("unknown colour mode: \"" + std::to_string(static_cast<int>(h.mode)) + "\"");
}

bool ReadHeader(FileReader& in, PsdHeader* h) {
  char magic[sizeof kMagic];
  if (!in.ReadAll(magic, sizeof magic)) return Fail("could not read signature");
  if (std::memcmp(magic, kMagic, sizeof magic) != 0) return Fail("signature does not validate");
  const std::uint16_t version = in.U16();
  if (version != kVersion) return Fail("unknown version: \"" + std::to_string(version) + "\"");
  in.Skip(kReservedSize);
  h->channels = in.U16();
  const std::uint32_t height = in.U32();
  const std::uint32_t width = in.U32();
  h->bits = in.U16();
  h->mode = static_cast<Mode>(in.U16());
  if (in.ended()) return Fail("could not read file header");
  if (width < 1 || height < 1 || width > kMostSide || height > kMostSide) {
    return Fail("width and/or height illegal");
  }
  h->width = static_cast<std::int32_t>(width);
  h->height = static_cast<std::int32_t>(height);
  if (h->channels < h->ColourChannels() || h->channels > kMostChannels) {
    return Fail("illegal number of channels: \"" + std::to_string(h->channels) + "\"");
  }
  return CheckMode(*h);
}

/// Reads the colour table of indexed images and goes on to the image data.
bool SkipSections(FileReader& in, const PsdHeader& h, Palette* palette) {
  const std::uint32_t colourSize = in.U32();
  const std::uint64_t colourEnd = in.position() + colourSize;
  if (h.mode == Mode::indexed) {
    if (colourSize < sizeof(Palette) || !in.ReadAll(palette, sizeof(Palette))) {
      return Fail("could not read colour table");
    }
  }
  in.Seek(colourEnd);
  in.Skip(in.U32());  // image resources
  in.Skip(in.U32());  // layers and masks
  return !in.ended() || Fail("could not find image data");
}

/// The blocks of one load, released together.
class BlockGroup {
 public:
  BlockGroup() : group_(NewGroupId()) {}
  ~BlockGroup() { FreeGroup(group_); }
  BlockGroup(const BlockGroup&) = delete;
  BlockGroup& operator=(const BlockGroup&) = delete;

  bool Take(std::uint8_t** owner, std::uint64_t size, const char* label) {
    void** pointer = reinterpret_cast<void**>(owner);
    return size <= UINT32_MAX &&
           AllocGrouped(pointer, static_cast<std::uint32_t>(size), 1, label, group_) == 0;
  }

 private:
  std::uint32_t group_;
};

/// Reads the channels' rows one after the other.
struct ChannelReader {
  FileReader& in;
  const PsdHeader& header;
  bool packed = false;
  std::uint8_t* row = nullptr;
  std::uint8_t* counts = nullptr;  // packed bytes of every row, 16-bit
  std::size_t next = 0;            // row to be read

  bool Open(BlockGroup& blocks) {
    const std::uint16_t compression = in.U16();
    if (in.ended()) return Fail("could not find image data");
    if (compression != kRaw && compression != kPackBits) {
      return Fail("unknown compression: \"" + std::to_string(compression) + "\"");
    }
    packed = compression == kPackBits;
    if (!blocks.Take(&row, header.RowBytes(), "psd1")) return Fail("could not get work memory");
    if (!packed) return true;
    const std::uint64_t rows =
        std::uint64_t{header.channels} * static_cast<std::uint32_t>(header.height);
    if (2 * rows > in.remaining()) {
      NoteFileEndedEarly();
      return Fail("could not read row lengths");
    }
    if (!blocks.Take(&counts, 2 * rows, "psd2")) return Fail("could not get work memory");
    in.Read(counts, static_cast<std::size_t>(2 * rows));
    return true;
  }

  /// False when the row is not all there; what is missing reads as 0.
  bool ReadRow() {
    if (!packed) return in.ReadAll(row, header.RowBytes());
    const std::size_t size = LoadU16(counts + 2 * next++, ByteOrder::big);
    const std::uint64_t end = in.position() + size;
    const bool whole = end <= in.size();
    std::uint64_t left = size;
    ReadByteRun(in, &left, row, header.RowBytes());
    in.Seek(std::min(end, in.size()));
    return whole;
  }
};

/// Stores one channel's row, by its high bytes, into every fourth byte.
void StoreChannel(const std::uint8_t* row, const PsdHeader& h, std::uint8_t* out) {
  const std::size_t step = h.bits / 8u;
  for (std::int32_t x = 0; x < h.width; ++x, row += step, out += 4) *out = *row;
}

void StoreBitmapRow(const std::uint8_t* row, const PsdHeader& h, std::uint8_t* pixels) {
  PixelTable table{};
  table.Set(0, 255, 255, 255);  // a set bit is black
  RowFromBits(row, table, pixels, static_cast<std::size_t>(h.width));
}

/// Ink is stored inverted: 255 is none.
void CmykToRgb(std::uint8_t* pixel) {
  for (int channel = 0; channel < 3; ++channel) {
    pixel[channel] = static_cast<std::uint8_t>((pixel[channel] * pixel[3] + 127) / 255);
  }
  pixel[3] = 0;
}

/// Turns what the first channels left in each pixel of the first `rows` rows into red, green and
/// blue.
void FinishColours(const PsdHeader& h, const Palette& palette, std::int32_t rows,
                   ImageRecord* image) {
  for (std::int32_t y = 0; y < rows; ++y) {
    std::uint8_t* pixel = PixelRow(*image, y);
    for (std::int32_t x = 0; x < h.width; ++x, pixel += 4) {
      if (h.mode == Mode::cmyk) {
        CmykToRgb(pixel);
      } else if (h.mode == Mode::indexed) {
        const std::uint8_t index = pixel[0];
        pixel[0] = palette.red[index];
        pixel[1] = palette.green[index];
        pixel[2] = palette.blue[index];
      } else {
        pixel[1] = pixel[2] = pixel[0];
      }
    }
  }
}

/// Reads one channel into byte `place` of the pixels; `rows` counts the rows that any channel has.
Rows ReadChannel(ChannelReader& reader, std::int32_t channel, int place, std::int32_t* rows,
                 ImageRecord* image) {
  const PsdHeader& h = reader.header;
  for (std::int32_t y = 0; y < h.height; ++y) {
    if (ProgressUpdateAbort(channel * h.height + y) != 0) return Rows::stopped;
    const bool whole = reader.ReadRow();
    *rows = std::max(*rows, y + 1);
    std::uint8_t* pixels = PixelRow(*image, y);
    if (h.mode == Mode::bitmap) {
      StoreBitmapRow(reader.row, h, pixels);
    } else {
      StoreChannel(reader.row, h, pixels + place);
    }
    if (!whole) return Rows::ended;
  }
  return Rows::done;
}

void ReadPicture(ChannelReader& reader, const Palette& palette, ImageRecord* image) {
  const PsdHeader& h = reader.header;
  ProgressScope progress("Loading Photoshop Picture", h.ChannelsRead() * h.height, 5);
  Rows end = Rows::done;
  std::int32_t rows = 0;
  for (std::int32_t c = 0; c < h.ColourChannels() && end == Rows::done; ++c) {
    end = ReadChannel(reader, c, c, &rows, image);
  }
  if (h.mode != Mode::rgb && h.mode != Mode::bitmap) FinishColours(h, palette, rows, image);
  if (h.HasAlpha() && end == Rows::done) {
    end = ReadChannel(reader, h.ColourChannels(), 3, &rows, image);
  }
  if (end == Rows::ended) {
    NoteFileEndedEarly();
    Fail("could not read a scan line");
  }
}

}  // namespace

ImageRecord* LoadPsd(const char* path) {
  FileReader in(path);
  SetFileByteOrder(ByteOrder::big);
  if (!in.ok()) return nullptr;
  PsdHeader header;
  Palette palette{};
  if (!ReadHeader(in, &header) || !SkipSections(in, header, &palette)) return nullptr;
  ChannelReader reader{in, header};  // holds what `blocks` clears when it ends
  BlockGroup blocks;
  if (!reader.Open(blocks)) return nullptr;
  ImageGuard image(AllocImage(header.width, header.height, "Photoshop", nullptr));
  if (!image) {
    Fail("could not get image memory");
    return nullptr;
  }
  image->depth = std::uint32_t{header.bits} * static_cast<std::uint32_t>(header.ChannelsRead());
  if (header.HasAlpha()) image->flags |= kFlagAlpha;
  if (header.mode == Mode::indexed) image->palette = palette;
  ReadPicture(reader, palette, image.get());
  return image.release();
}

}  // namespace imx
