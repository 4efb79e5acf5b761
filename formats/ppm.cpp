#include "formats/ppm.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include "formats/pixel_rows.h"
#include "formats/pnm.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/image.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"

namespace imx {
namespace {

constexpr std::uint32_t kDepth = 24;
constexpr std::uint32_t kWrittenMaximum = 255;
/// A written text line is ended after the pixel that makes it longer than this.
constexpr std::size_t kLineLength = 67;
/// A record's row table is filled whatever the file holds. A picture of more rows than this is
/// refused when the file has not even a byte for each.
constexpr std::int32_t kMostEmptyRows = 1 << 24;

bool IsSpace(int byte) {
  return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

/// -1 at the end of the file.
int NextByte(FileReader& in) {
  const std::uint8_t byte = in.U8();
  return byte == 0 && in.ended() ? -1 : byte;
}

/// The next number in the text, at most the largest there is. False at the end of the file; a
/// number that no white space follows there is not finished and does not count, but to other
/// programs. Bytes that belong to nothing are passed over, inside a number too, and there a "#" is
/// one of them.
bool NextNumber(FileReader& in, std::int32_t* number) {
  constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max();
  bool begun = false;
  std::int64_t value = 0;
  for (int byte = NextByte(in); byte >= 0; byte = NextByte(in)) {
    if (byte >= '0' && byte <= '9') {
      begun = true;
      value = std::min(value * 10 + (byte - '0'), kLargest);
    } else if (begun && IsSpace(byte)) {
      *number = static_cast<std::int32_t>(value);
      return true;
    } else if (byte == '#' && !begun) {
      while (byte >= 0 && byte != '\n') byte = NextByte(in);
    }
  }
  if (!begun || !Quirk(kPnmSamples)) return false;
  *number = static_cast<std::int32_t>(value);
  return true;
}

/// Brings samples of 0 .. maximum to 0 .. 255.
class SampleScale {
 public:
  explicit SampleScale(std::int32_t maximum)
      : scale_(255.0f / static_cast<float>(maximum)), whole_(maximum == 255) {
    for (std::int32_t v = 0; v < 256; ++v) bytes_[v] = Scaled(v);
  }

  /// Truncated; samples above the maximum give 255. A maximum of 0 makes the scale infinite.
  std::uint8_t Scaled(std::int32_t sample) const {
    const float value = static_cast<float>(sample) * scale_;
    if (value >= 255.0f) return 255;
    return value > 0.0f ? static_cast<std::uint8_t>(value) : std::uint8_t{0};
  }

  void Row(const std::uint8_t* packed, std::uint8_t* pixels, std::size_t count) const {
    if (whole_) return RowFromRgb(packed, pixels, count);
    for (; count > 0; --count, packed += 3, pixels += 4) {
      for (int channel = 0; channel < 3; ++channel) pixels[channel] = bytes_[packed[channel]];
    }
  }

 private:
  float scale_;
  bool whole_;
  std::uint8_t bytes_[256];
};

/// Calls `readRow` for every row until one is not complete or the user asks to stop.
template <typename ReadRow>
void ReadRows(const ImageRecord& image, ReadRow&& readRow) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    if (!readRow(PixelRow(image, y))) return NoteFileEndedEarly();
    if (ProgressUpdateAbort(y + 1) != 0) return;
  }
}

/// One byte per sample, whatever the maximum.
void ReadBinary(FileReader& in, const SampleScale& scale, const ImageRecord& image) {
  ReadRows(image, [&](std::uint8_t* pixels) {
    auto left = static_cast<std::size_t>(image.width);
    while (left > 0) {
      const auto block = in.Peek(3 * std::min(left, FileReader::kBufferSize / 3));
      const std::size_t count = block.size / 3;
      if (count == 0) return false;
      scale.Row(block.data, pixels, count);
      in.Skip(3 * count);
      pixels += 4 * count;
      left -= count;
    }
    return true;
  });
}

void ReadText(FileReader& in, const SampleScale& scale, const ImageRecord& image) {
  ReadRows(image, [&](std::uint8_t* pixels) {
    for (std::int32_t x = 0; x < image.width; ++x, pixels += 4) {
      std::int32_t r, g, b;
      if (!NextNumber(in, &r) || !NextNumber(in, &g) || !NextNumber(in, &b)) return false;
      pixels[0] = scale.Scaled(r);
      pixels[1] = scale.Scaled(g);
      pixels[2] = scale.Scaled(b);
    }
    return true;
  });
}

/// Whether other programs take samples of this maximum for something else, and do so here.
bool AsOthersTakeSamples(std::int32_t maximum, bool binary) {
  if (maximum == 255 || maximum < 1 || maximum > UINT16_MAX) return false;
  return binary && maximum > UINT8_MAX ? QuirkShown(kPnmSamples) : Quirk(kPnmSamples);
}

ImageGuard AllocRecord(const FileReader& in, std::int32_t width, std::int32_t height) {
  if (height > kMostEmptyRows && static_cast<std::uint64_t>(height) > in.remaining()) {
    return ImageGuard();
  }
  ImageGuard image(AllocImage(width, height, "ppm", nullptr));
  if (image) image->depth = kDepth;
  return image;
}

bool WriteHeader(FileWriter& out, const ImageRecord& image, bool binary) {
  char text[48];
  const int length = std::snprintf(text, sizeof text, "%s\n%d %d\n%u\n", binary ? "P6" : "P3",
                                   image.width, image.height, kWrittenMaximum);
  return out.Write(text, static_cast<std::size_t>(length));
}

bool WriteBinaryRow(FileWriter& out, const std::uint8_t* pixels, std::size_t count) {
  constexpr std::size_t kPart = 1024;
  std::uint8_t packed[3 * kPart];
  while (count > 0) {
    const std::size_t part = std::min(count, kPart);
    RowToRgb(pixels, packed, part);
    if (!out.Write(packed, 3 * part)) return false;
    pixels += 4 * part;
    count -= part;
  }
  return true;
}

/// Writes the number and a space; returns the place behind them.
char* PutSample(char* to, unsigned sample) {
  if (sample >= 100) *to++ = static_cast<char>('0' + sample / 100);
  if (sample >= 10) *to++ = static_cast<char>('0' + sample / 10 % 10);
  *to++ = static_cast<char>('0' + sample % 10);
  *to++ = ' ';
  return to;
}

/// `*column` counts the characters since the last line feed; it runs on across rows.
bool WriteTextRow(FileWriter& out, const std::uint8_t* pixels, std::size_t count,
                  std::size_t* column) {
  for (; count > 0; --count, pixels += 4) {
    char text[13];  // three numbers of up to three digits, a space behind each, a line feed
    char* end = PutSample(PutSample(PutSample(text, pixels[0]), pixels[1]), pixels[2]);
    *column += static_cast<std::size_t>(end - text);
    if (*column > kLineLength) {
      *end++ = '\n';
      *column = 0;
    }
    if (!out.Write(text, static_cast<std::size_t>(end - text))) return false;
  }
  return true;
}

}  // namespace

ImageRecord* LoadPpm(const char* path) {
  FileReader in(path);
  const std::uint8_t letter = in.U8();
  const std::uint8_t form = in.U8();
  if (letter != 'P') return nullptr;
  const bool binary = form == '6';
  if (form != '3' && !binary) {
    const auto next = in.Peek(1);
    const std::uint8_t start[3] = {letter, form, next.size > 0 ? next.data[0] : std::uint8_t{0}};
    if (!IsPnmStart(start) || !Quirk(kPnmFamily)) return nullptr;
    return LoadPnm(in, static_cast<char>(form));
  }
  std::int32_t width, height, maximum;
  if (!NextNumber(in, &width) || !NextNumber(in, &height)) return nullptr;
  ProgressScope progress("Reading PPM Image", height, 1);
  if (!NextNumber(in, &maximum)) return nullptr;
  if (AsOthersTakeSamples(maximum, binary)) {
    return LoadPnmSamples(in, {static_cast<char>(form), width, height, maximum, 3});
  }
  ImageGuard image = AllocRecord(in, width, height);
  if (!image || HeaderOnly()) return image.release();
  const SampleScale scale(maximum);
  if (binary) {
    ReadBinary(in, scale, *image);
  } else {
    ReadText(in, scale, *image);
  }
  return image.release();
}

void SavePpm(const ImageRecord* image, const char* path, std::int32_t binary) {
  FileWriter out(path);
  if (!out.ok() || !WriteHeader(out, *image, binary == 1)) return;
  ProgressScope progress("Saving PPM Image", image->height, 1);
  const auto width = static_cast<std::size_t>(image->width);
  std::size_t column = 0;
  const Rows end = ForEachRow(image->height, 1, [&](std::int32_t y) {
    const std::uint8_t* row = PixelRow(*image, y);
    return binary == 1 ? WriteBinaryRow(out, row, width) : WriteTextRow(out, row, width, &column);
  });
  if (end == Rows::done) out.Finish();
}

}  // namespace imx
