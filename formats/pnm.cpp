#include "formats/pnm.h"

#include <algorithm>
#include <limits>
#include <string>
#include <string_view>

#include "imagelib/file_reader.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/image.h"
#include "imagelib/load_outcome.h"

namespace imx {
namespace {

constexpr std::int64_t kLargestNumber = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLargestMaximum = 65535;
constexpr std::int32_t kMostChannels = 64;
constexpr std::size_t kLongestLine = 255;
/// See AllocRecord in ppm.cpp: more rows than this are refused without a byte for every eight.
constexpr std::int32_t kMostEmptyRows = 1 << 24;

bool IsSpace(int byte) {
  return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

/// -1 at the end of the file. A comment counts as its line feed.
int NextByte(FileReader& in) {
  std::uint8_t byte = in.U8();
  if (byte == '#') {
    while (byte != '\n' && !in.ended()) byte = in.U8();
  }
  return byte == 0 && in.ended() ? -1 : byte;
}

/// The next number, and one byte behind it. False where none stands.
bool NextNumber(FileReader& in, std::int32_t* number) {
  int byte = NextByte(in);
  while (IsSpace(byte)) byte = NextByte(in);
  if (byte < '0' || byte > '9') return false;
  std::int64_t value = 0;
  for (; byte >= '0' && byte <= '9'; byte = NextByte(in)) {
    value = std::min(value * 10 + (byte - '0'), kLargestNumber);
  }
  *number = static_cast<std::int32_t>(value);
  return true;
}

bool IsWide(const PnmHeader& h) {
  return h.maximum > 255;
}

bool IsText(const PnmHeader& h) {
  return h.form >= '1' && h.form <= '3';
}

bool IsBits(const PnmHeader& h) {
  return h.form == '1' || h.form == '4';
}

std::string NextLine(FileReader& in) {
  std::string line;
  for (int byte = in.U8(); byte != '\n' && !in.ended(); byte = in.U8()) {
    if (line.size() < kLongestLine) line += static_cast<char>(byte);
  }
  while (!line.empty() && IsSpace(line.back())) line.pop_back();
  return line;
}

std::int32_t LineNumber(std::string_view text) {
  std::int64_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return -1;
    value = std::min<std::int64_t>(value * 10 + (c - '0'), kLargestNumber);
  }
  return text.empty() ? -1 : static_cast<std::int32_t>(value);
}

/// Lines of a key and its value up to "ENDHDR".
bool ReadMapHeader(FileReader& in, PnmHeader* h) {
  h->channels = 0;
  h->maximum = 0;
  std::string tuple;
  while (!in.ended()) {
    const std::string line = NextLine(in);
    if (line.empty() || line[0] == '#') continue;
    if (line == "ENDHDR") {
      h->alpha = tuple.ends_with("_ALPHA") || (tuple.empty() && h->channels % 2 == 0);
      h->alpha = h->alpha && (h->channels == 2 || h->channels == 4);
      return true;
    }
    const std::size_t space = std::min(line.find_first_of(" \t"), line.size());
    const std::size_t start = std::min(line.find_first_not_of(" \t", space), line.size());
    const std::string key = line.substr(0, space), value = line.substr(start);
    if (key == "WIDTH") h->width = LineNumber(value);
    if (key == "HEIGHT") h->height = LineNumber(value);
    if (key == "DEPTH") h->channels = LineNumber(value);
    if (key == "MAXVAL") h->maximum = LineNumber(value);
    if (key == "TUPLTYPE") tuple += value;
  }
  return false;
}

bool ReadHeader(FileReader& in, PnmHeader* h) {
  if (h->form == '7') return ReadMapHeader(in, h);
  if (h->form == '3' || h->form == '6') h->channels = 3;
  if (!NextNumber(in, &h->width) || !NextNumber(in, &h->height)) return false;
  return IsBits(*h) || NextNumber(in, &h->maximum);
}

/// Reads rows into a record; what the forms have in common is that a pixel is some samples.
class PnmRows {
 public:
  PnmRows(FileReader& in, const PnmHeader& header) : in_(in), h_(header) {}

  bool Allocate() {
    levels_ = TrackedBytes(static_cast<std::uint32_t>(h_.maximum) + 1, "pnm levels");
    if (!levels_) return false;
    const auto maximum = static_cast<std::size_t>(h_.maximum);
    for (std::size_t v = 0; v <= maximum; ++v) {
      levels_[v] = static_cast<std::uint8_t>((v * 255 + maximum / 2) / maximum);
    }
    return true;
  }

  /// False when the file does not hold the whole row.
  bool Read(std::uint8_t* pixels, std::size_t width) {
    if (h_.form == '4') return ReadBits(pixels, width);
    return IsText(h_) ? ReadText(pixels, width) : ReadBinary(pixels, width);
  }

 private:
  std::uint8_t Level(std::int32_t sample) const {
    return levels_[static_cast<std::size_t>(std::min(sample, h_.maximum))];
  }

  /// `level(i)` gives channel i.
  template <typename LevelOf>
  void Store(std::uint8_t* pixel, LevelOf&& level) const {
    const bool colour = h_.channels >= 3;
    pixel[0] = level(0);
    pixel[1] = colour ? level(1) : pixel[0];
    pixel[2] = colour ? level(2) : pixel[0];
    pixel[3] = h_.alpha ? level(h_.channels - 1) : std::uint8_t{0};
  }

  bool ReadBinary(std::uint8_t* pixels, std::size_t width) {
    const bool wide = IsWide(h_);
    const std::size_t unit = static_cast<std::size_t>(h_.channels) * (wide ? 2 : 1);
    while (width > 0) {
      const auto block = in_.Peek(unit * std::min(width, FileReader::kBufferSize / unit));
      const std::size_t count = block.size / unit;
      if (count == 0) return false;
      const std::uint8_t* from = block.data;
      for (std::size_t i = 0; i < count; ++i, from += unit, pixels += 4) {
        Store(pixels, [&](std::int32_t c) {
          return Level(wide ? from[2 * c] << 8 | from[2 * c + 1] : from[c]);
        });
      }
      in_.Skip(unit * count);
      width -= count;
    }
    return true;
  }

  /// A set bit is black.
  bool ReadBits(std::uint8_t* pixels, std::size_t width) {
    for (std::size_t x = 0; x < width; x += 8) {
      const std::uint8_t bits = in_.U8();
      if (in_.ended()) return false;
      for (std::size_t i = 0; i < std::min<std::size_t>(8, width - x); ++i, pixels += 4) {
        Store(pixels, [&](std::int32_t) { return Level((~bits >> (7 - i)) & 1); });
      }
    }
    return true;
  }

  bool ReadText(std::uint8_t* pixels, std::size_t width) {
    for (; width > 0; --width, pixels += 4) {
      std::int32_t samples[3] = {};
      for (std::int32_t c = 0; c < h_.channels; ++c) {
        const bool read = IsBits(h_) ? NextDigit(&samples[c]) : NextNumber(in_, &samples[c]);
        if (!read) return false;
      }
      Store(pixels, [&](std::int32_t c) { return Level(samples[c]); });
    }
    return true;
  }

  /// Bits in text need no space between them.
  bool NextDigit(std::int32_t* sample) {
    int byte = NextByte(in_);
    while (IsSpace(byte)) byte = NextByte(in_);
    if (byte != '0' && byte != '1') return false;
    *sample = '1' - byte;
    return true;
  }

  FileReader& in_;
  const PnmHeader& h_;
  TrackedBytes levels_;
};

ImageGuard AllocRecord(const FileReader& in, const PnmHeader& h) {
  if (h.height > kMostEmptyRows && static_cast<std::uint64_t>(h.height) / 8 > in.remaining()) {
    return ImageGuard();
  }
  ImageGuard image(AllocImage(h.width, h.height, "ppm", nullptr));
  if (!image) return image;
  image->depth = IsBits(h) ? 1u : static_cast<std::uint32_t>(h.channels) * (IsWide(h) ? 16u : 8u);
  if (h.alpha) image->flags |= kFlagAlpha;
  return image;
}

}  // namespace

bool IsPnmStart(const std::uint8_t* bytes) {
  return bytes[0] == 'P' && bytes[1] >= '1' && bytes[1] <= '7' &&
         (IsSpace(bytes[2]) || bytes[2] == '#');
}

ImageRecord* LoadPnm(FileReader& in, char form) {
  PnmHeader header{form};
  if (!ReadHeader(in, &header)) return nullptr;
  ProgressScope progress("Reading PPM Image", header.height, 1);
  return LoadPnmSamples(in, header);
}

ImageRecord* LoadPnmSamples(FileReader& in, const PnmHeader& h) {
  if (h.width < 1 || h.height < 1 || h.maximum < 1 || h.maximum > kLargestMaximum) return nullptr;
  if (h.channels < 1 || h.channels > kMostChannels) return nullptr;
  ImageGuard image = AllocRecord(in, h);
  if (HeaderOnly()) return image.release();
  PnmRows rows(in, h);
  if (!image || !rows.Allocate()) return nullptr;
  for (std::int32_t y = 0; y < h.height; ++y) {
    if (!rows.Read(PixelRow(*image, y), static_cast<std::size_t>(h.width))) {
      NoteFileEndedEarly();
      break;
    }
    if (ProgressUpdateAbort(y + 1) != 0) break;
  }
  return image.release();
}

}  // namespace imx
