#include "formats/psd.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <string>

#include "formats/byterun.h"
#include "formats/pixel_rows.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/load_outcome.h"

namespace imx {
namespace {

constexpr char kMagic[4] = {'8', 'B', 'P', 'S'};
constexpr std::uint16_t kVersion = 1, kLargeVersion = 2;
constexpr std::uint32_t kReservedSize = 6;
constexpr std::uint16_t kMostChannels = 56;
constexpr std::uint32_t kMostSide = 30000, kMostLargeSide = 300000;
constexpr std::uint16_t kRaw = 0, kPackBits = 1;

enum class Mode : std::uint16_t {
  bitmap = 0,
  grey = 1,
  indexed = 2,
  rgb = 3,
  cmyk = 4,
  multichannel = 7,
  duotone = 8,
  lab = 9,
};

struct PsdHeader {
  std::uint16_t channels = 0;
  std::int32_t width = 0, height = 0;
  std::uint16_t bits = 0;
  Mode mode = Mode::rgb;
  bool large = false;  // counts of bytes are wider

  std::int32_t ColourChannels() const {
    switch (mode) {
      case Mode::rgb:
      case Mode::lab:
        return 3;
      case Mode::cmyk:
        return 4;
      case Mode::multichannel:
        return channels >= 3 ? 3 : 1;
      default:
        return 1;
    }
  }
  /// The channel behind the colours is alpha.
  bool HasAlpha() const {
    const bool can = mode != Mode::bitmap && mode != Mode::indexed && mode != Mode::multichannel;
    return can && channels > ColourChannels();
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
    case Mode::multichannel:
    case Mode::duotone:
    case Mode::lab:
      return h.bits == 8 || h.bits == 16 || h.bits == 32 ||
             Fail("unknown channel depth: \"" + std::to_string(h.bits) + "\"");
  }
  return Fail("unknown colour mode: \"" + std::to_string(static_cast<int>(h.mode)) + "\"");
}

bool ReadHeader(FileReader& in, PsdHeader* h) {
  char magic[sizeof kMagic];
  if (!in.ReadAll(magic, sizeof magic)) return Fail("could not read signature");
  if (std::memcmp(magic, kMagic, sizeof magic) != 0) return Fail("signature does not validate");
  const std::uint16_t version = in.U16();
  h->large = version == kLargeVersion;
  if (version != kVersion && !h->large)
    return Fail("unknown version: \"" + std::to_string(version) + "\"");
  in.Skip(kReservedSize);
  h->channels = in.U16();
  const std::uint32_t height = in.U32();
  const std::uint32_t width = in.U32();
  h->bits = in.U16();
  h->mode = static_cast<Mode>(in.U16());
  if (in.ended()) return Fail("could not read file header");
  const std::uint32_t mostSide = h->large ? kMostLargeSide : kMostSide;
  if (width < 1 || height < 1 || width > mostSide || height > mostSide) {
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
  const std::uint64_t upper = h.large ? in.U32() : 0;
  in.Skip(upper << 32 | in.U32());  // layers and masks
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
  std::uint8_t* counts = nullptr;  // packed bytes of every row
  std::size_t next = 0;            // row to be read

  std::size_t CountBytes() const { return header.large ? 4 : 2; }

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
    const std::uint64_t tableSize = CountBytes() * rows;
    if (tableSize > in.remaining()) {
      NoteFileEndedEarly();
      return Fail("could not read row lengths");
    }
    if (!blocks.Take(&counts, tableSize, "psd2")) return Fail("could not get work memory");
    in.Read(counts, static_cast<std::size_t>(tableSize));
    return true;
  }

  /// False when the row is not all there; what is missing reads as 0.
  bool ReadRow() {
    if (!packed) return in.ReadAll(row, header.RowBytes());
    const std::uint8_t* count = counts + CountBytes() * next++;
    const std::uint32_t size =
        header.large ? LoadU32(count, ByteOrder::big) : LoadU16(count, ByteOrder::big);
    const std::uint64_t end = in.position() + size;
    const bool whole = end <= in.size();
    std::uint64_t left = size;
    ReadByteRun(in, &left, row, header.RowBytes());
    in.Seek(std::min(end, in.size()));
    return whole;
  }
};

/// 0 to 1 is scaled, what lies outside is clamped.
std::uint8_t ByteOfFloat(const std::uint8_t* sample) {
  const float value = std::bit_cast<float>(LoadU32(sample, ByteOrder::big));
  if (!(value > 0)) return 0;  // nor what is no number
  return value >= 1 ? 255 : static_cast<std::uint8_t>(value * 255 + 0.5f);
}

/// Stores one channel's row into every fourth byte: integers by their high byte.
void StoreChannel(const std::uint8_t* row, const PsdHeader& h, std::uint8_t* out) {
  if (h.bits == 32) {
    for (std::int32_t x = 0; x < h.width; ++x, row += 4, out += 4) *out = ByteOfFloat(row);
    return;
  }
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

/// From 0..255 of each: lightness, and a and b with their zero at 128; the white is that of print
/// (D50).
class LabToRgb {
 public:
  LabToRgb() {
    for (std::size_t i = 0; i < kSteps; ++i) {
      const double light = static_cast<double>(i) / (kSteps - 1);
      const double coded =
          light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
      screen_[i] = static_cast<std::uint8_t>(coded * 255 + 0.5);
    }
  }

  void Convert(std::uint8_t* pixel) {
    if (std::memcmp(pixel, lab_, 3) != 0) Take(pixel);
    std::memcpy(pixel, rgb_, 3);
  }

 private:
  static constexpr std::size_t kSteps = 16384;

  static double Linear(double f) {
    constexpr double kEdge = 6.0 / 29;
    return f > kEdge ? f * f * f : 3 * kEdge * kEdge * (f - 4.0 / 29);
  }

  std::uint8_t Screen(double light) const {
    return screen_[static_cast<std::size_t>(std::clamp(light, 0.0, 1.0) * (kSteps - 1) + 0.5)];
  }

  void Take(const std::uint8_t* lab) {
    std::memcpy(lab_, lab, 3);
    const double f = (lab[0] * 100 / 255.0 + 16) / 116;
    const double x = 0.96422 * Linear(f + (lab[1] - 128) / 500.0);
    const double y = Linear(f);
    const double z = 0.82521 * Linear(f - (lab[2] - 128) / 200.0);
    rgb_[0] = Screen(3.1338561 * x - 1.6168667 * y - 0.4906146 * z);
    rgb_[1] = Screen(-0.9787684 * x + 1.9161415 * y + 0.0334540 * z);
    rgb_[2] = Screen(0.0719453 * x - 0.2289914 * y + 1.4052427 * z);
  }

  std::uint8_t screen_[kSteps];
  std::uint8_t lab_[3] = {0, 128, 128}, rgb_[3] = {};  // of the last colour: black
};

/// Turns what the first channels left in each pixel of the first `rows` rows into red, green and
/// blue.
void FinishColours(const PsdHeader& h, const Palette& palette, std::int32_t rows,
                   ImageRecord* image) {
  LabToRgb lab;
  for (std::int32_t y = 0; y < rows; ++y) {
    std::uint8_t* pixel = PixelRow(*image, y);
    for (std::int32_t x = 0; x < h.width; ++x, pixel += 4) {
      if (h.mode == Mode::cmyk) {
        CmykToRgb(pixel);
      } else if (h.mode == Mode::lab) {
        lab.Convert(pixel);
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
  const bool colours = h.mode == Mode::rgb || h.mode == Mode::bitmap ||
                       (h.mode == Mode::multichannel && h.ColourChannels() == 3);
  if (!colours) FinishColours(h, palette, rows, image);
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
  if (!HeaderOnly() && !reader.Open(blocks)) return nullptr;
  ImageGuard image(AllocImage(header.width, header.height, "Photoshop", nullptr));
  if (!image) {
    Fail("could not get image memory");
    return nullptr;
  }
  image->depth = std::uint32_t{header.bits} * static_cast<std::uint32_t>(header.ChannelsRead());
  if (header.HasAlpha()) image->flags |= kFlagAlpha;
  if (header.mode == Mode::indexed) image->palette = palette;
  if (HeaderOnly()) return image.release();
  ReadPicture(reader, palette, image.get());
  return image.release();
}

}  // namespace imx
