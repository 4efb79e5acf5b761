#include "plugins/tiff_load.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "imagelib/open_file.h"
#include "plugins/tiff_samples.h"

namespace imx {
namespace {

/// No coding makes more pixels of a byte: a blank fax page at high resolution comes near it.
constexpr std::uint64_t kMostPixelsForByte = 65536;
constexpr unsigned kMostSamples = 64;
constexpr std::uint64_t kMostReadingsOfByte = 64;

char firstComplaint[256];  // libtiff's

[[gnu::format(printf, 2, 0)]] void KeepFirst(const char* /*module*/, const char* format,
                                             std::va_list arguments) {
  if (firstComplaint[0] == 0) {
    std::vsnprintf(firstComplaint, sizeof firstComplaint, format, arguments);
  }
}

/// Notes why the file is not read; false.
[[gnu::format(printf, 1, 2)]] bool Refuse(const char* format, ...) {
  char text[256];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  NoteFault(kPluginOtherFault, text);
  return false;
}

/// Whether a file that libtiff cannot open ends before its first directory does.
bool EndsBeforeDirectory(const char* path) {
  const OpenFile file(std::fopen(path, "rb"));
  std::uint8_t bytes[8] = {};
  if (!file || std::fread(bytes, 1, sizeof bytes, file.get()) < sizeof bytes)
    return file != nullptr;
  const bool big = bytes[0] == 'M';
  std::uint32_t offset = 0;
  for (std::size_t i = 0; i < 4; ++i) offset = offset << 8 | bytes[big ? 4 + i : 7 - i];
  if (fseeko(file.get(), static_cast<off_t>(offset), SEEK_SET) != 0) return true;
  if (std::fread(bytes, 1, 2, file.get()) < 2) return true;
  const int entries = big ? bytes[0] << 8 | bytes[1] : bytes[1] << 8 | bytes[0];
  return fseeko(file.get(), 0, SEEK_END) == 0 &&
         ftello(file.get()) < static_cast<off_t>(offset) + 2 + 12 * entries;
}

std::uint64_t FileSize(TIFF* tiff) {
  return TIFFGetSizeProc(tiff)(TIFFClientdata(tiff));
}

/// Its strips or tiles.
std::uint32_t PartCount(TIFF* tiff) {
  return TIFFIsTiled(tiff) ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
}

/// Whether the file has less of the pixels than its directory promises.
bool EndsBeforePixels(TIFF* tiff) {
  const std::uint64_t fileSize = FileSize(tiff);
  const std::uint32_t count = PartCount(tiff);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint64_t offset = TIFFGetStrileOffset(tiff, i);
    if (offset > fileSize || TIFFGetStrileByteCount(tiff, i) > fileSize - offset) return true;
  }
  return false;
}

/// Parts may lie over each other, as equal ones do in files of some programs, but are read one by
/// one.
bool PartsAreBounded(TIFF* tiff) {
  const std::uint64_t fileSize = FileSize(tiff), most = kMostReadingsOfByte * fileSize;
  const std::uint32_t count = PartCount(tiff);
  std::uint64_t sum = 0;
  for (std::uint32_t i = 0; i < count && sum <= most; ++i) {
    sum += std::min(TIFFGetStrileByteCount(tiff, i), fileSize);
  }
  return sum <= most || Refuse("its strips or tiles lie over each other");
}

void NoteUnread(TIFF* tiff) {
  NoteFault(EndsBeforePixels(tiff) ? kPluginFileEnded : kPluginOtherFault,
            "not all of its pixels could be read");
}

template <typename Value>
Value Tag(TIFF* tiff, std::uint32_t tag) {
  Value value{};
  TIFFGetFieldDefaulted(tiff, tag, &value);
  return value;
}

enum class Alpha { none, straight, multiplied };

/// What the file says about its picture.
struct Picture {
  std::uint32_t width, height;
  std::uint16_t bits, samples, photometric, planes, orientation, format;
  std::uint16_t colours;  ///< samples of a pixel that make its colour
  Alpha alpha;            ///< of the sample behind the colours

  bool IsSeparate() const { return planes == PLANARCONFIG_SEPARATE; }
  /// Rows of the file are columns of the picture.
  bool IsTransposed() const { return orientation >= ORIENTATION_LEFTTOP; }
  std::uint16_t SamplesTogether() const { return IsSeparate() ? std::uint16_t{1} : samples; }
  std::uint64_t RowBytes(std::uint64_t pixels) const {
    return (pixels * SamplesTogether() * bits + 7) / 8;
  }
  SampleKind Samples() const {
    if (format == SAMPLEFORMAT_IEEEFP) return SampleKind::floatNumber;
    return bits == 16 && colours == 1 ? SampleKind::highByte : SampleKind::integer;
  }
};

/// An extra sample of no stated meaning is alpha where only that one is left, and in colour
/// pictures: many programs write it so. No colours have been multiplied by it then.
Alpha FindAlpha(TIFF* tiff, const Picture& picture) {
  const bool canHave = picture.photometric == PHOTOMETRIC_RGB ||
                       (picture.photometric == PHOTOMETRIC_PALETTE && picture.bits == 8) ||
                       picture.photometric == PHOTOMETRIC_MINISBLACK ||
                       picture.photometric == PHOTOMETRIC_MINISWHITE;
  if (!canHave || picture.samples <= picture.colours) return Alpha::none;
  std::uint16_t count = 0;
  std::uint16_t* kinds = nullptr;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds);
  const std::uint16_t kind = count > 0 ? kinds[0] : std::uint16_t{EXTRASAMPLE_UNSPECIFIED};
  if (kind == EXTRASAMPLE_ASSOCALPHA) return Alpha::multiplied;
  if (kind == EXTRASAMPLE_UNASSALPHA) return Alpha::straight;
  return picture.colours == 3 || picture.samples == 2 ? Alpha::straight : Alpha::none;
}

std::uint16_t ColourSamples(std::uint16_t photometric) {
  return photometric == PHOTOMETRIC_RGB ? 3 : photometric == PHOTOMETRIC_SEPARATED ? 4 : 1;
}

Picture Describe(TIFF* tiff) {
  Picture picture{};
  picture.width = Tag<std::uint32_t>(tiff, TIFFTAG_IMAGEWIDTH);
  picture.height = Tag<std::uint32_t>(tiff, TIFFTAG_IMAGELENGTH);
  picture.bits = Tag<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE);
  picture.samples = Tag<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL);
  picture.planes = Tag<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG);
  picture.orientation = Tag<std::uint16_t>(tiff, TIFFTAG_ORIENTATION);
  picture.format = Tag<std::uint16_t>(tiff, TIFFTAG_SAMPLEFORMAT);
  if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &picture.photometric) != 1) {
    picture.photometric = picture.samples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
  }
  picture.colours = ColourSamples(picture.photometric);
  picture.alpha = FindAlpha(tiff, picture);
  return picture;
}

/// Whether the work stays in proportion to the file.
bool IsBounded(TIFF* tiff, const Picture& picture) {
  const std::uint64_t most = (FileSize(tiff) + 1) * kMostPixelsForByte;
  const auto fits = [&](std::uint64_t width, std::uint64_t height) {
    return width > 0 && height > 0 && width <= INT32_MAX && height <= INT32_MAX &&
           width * height < most;
  };
  if (picture.samples > kMostSamples) return Refuse("%d samples to a pixel", picture.samples);
  if (!fits(picture.width, picture.height)) return Refuse("the file is too short for its picture");
  if (TIFFIsTiled(tiff) && !fits(Tag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH),
                                 Tag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH))) {
    return Refuse("the file is too short for its tiles");
  }
  return PartsAreBounded(tiff);
}

/// Whether the samples are plain numbers whose meaning is known here. The rest (differences of
/// colour, luminances) is libtiff's to convert.
bool HoldsPlainSamples(const Picture& picture) {
  switch (picture.photometric) {
    case PHOTOMETRIC_MINISWHITE:
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_RGB:
    case PHOTOMETRIC_SEPARATED:
    case PHOTOMETRIC_PALETTE:
      return true;
    default:
      return false;
  }
}

bool CanRead(TIFF* tiff, const Picture& picture) {
  const bool palette = picture.photometric == PHOTOMETRIC_PALETTE;
  if (picture.format == SAMPLEFORMAT_IEEEFP) {
    if ((picture.bits != 16 && picture.bits != 32 && picture.bits != 64) || palette) {
      return Refuse("floating-point samples of %d bits are not read", picture.bits);
    }
  } else if (picture.format == SAMPLEFORMAT_COMPLEXINT ||
             picture.format == SAMPLEFORMAT_COMPLEXIEEEFP) {
    return Refuse("complex samples are not read");
  } else if (picture.bits < 1 || picture.bits > (palette ? 8 : 32)) {
    return Refuse("samples of %d bits are not read", picture.bits);
  }
  if (picture.samples < picture.colours) return Refuse("too few samples to a pixel");
  const bool inks = picture.photometric == PHOTOMETRIC_SEPARATED;
  if (inks && Tag<std::uint16_t>(tiff, TIFFTAG_INKSET) != INKSET_CMYK) {
    return Refuse("inks other than cyan, magenta, yellow and black are not read");
  }
  const std::uint64_t stated = TIFFIsTiled(tiff)
                                   ? static_cast<std::uint64_t>(TIFFTileRowSize(tiff))
                                   : static_cast<std::uint64_t>(TIFFScanlineSize(tiff));
  const std::uint64_t pixels =
      TIFFIsTiled(tiff) ? Tag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH) : picture.width;
  return stated == picture.RowBytes(pixels) || Refuse("its rows are not read");
}

/// The record's pixels in the file's order: x along a row of the file, y from row to row.
struct Canvas {
  std::uint8_t* origin;
  std::ptrdiff_t dx, dy;

  std::uint8_t* At(std::uint32_t x, std::uint32_t y) const {
    return origin + static_cast<std::ptrdiff_t>(x) * dx + static_cast<std::ptrdiff_t>(y) * dy;
  }
};

Canvas MakeCanvas(const Picture& picture, const PluginRecord& record) {
  const std::ptrdiff_t pixel = 4, row = std::ptrdiff_t{4} * record.width;
  const auto lastX = static_cast<std::ptrdiff_t>(picture.width) - 1;
  const auto lastY = static_cast<std::ptrdiff_t>(picture.height) - 1;
  Canvas canvas = {record.pixels, pixel, row};
  if (picture.IsTransposed()) std::swap(canvas.dx, canvas.dy);
  const std::uint16_t o = picture.orientation;
  const bool fromRight = o == ORIENTATION_TOPRIGHT || o == ORIENTATION_BOTRIGHT ||
                         o == ORIENTATION_RIGHTBOT || o == ORIENTATION_LEFTBOT;
  const bool fromBottom = o == ORIENTATION_BOTRIGHT || o == ORIENTATION_BOTLEFT ||
                          o == ORIENTATION_RIGHTTOP || o == ORIENTATION_RIGHTBOT;
  if (fromRight) {
    canvas.origin += lastX * canvas.dx;
    canvas.dx = -canvas.dx;
  }
  if (fromBottom) {
    canvas.origin += lastY * canvas.dy;
    canvas.dy = -canvas.dy;
  }
  return canvas;
}

struct HostBlockFreer {
  PluginFree free;
  void operator()(std::uint8_t* block) const { free(block); }
};
using HostBlock = std::unique_ptr<std::uint8_t, HostBlockFreer>;

HostBlock TakeBlock(const PluginHost& host, std::uint64_t size) {
  void* const block =
      size > UINT32_MAX ? nullptr : host.allocate(static_cast<std::uint32_t>(size), 0);
  if (!block) NoteFault(kPluginNoMemory);
  return {static_cast<std::uint8_t*>(block), HostBlockFreer{host.free}};
}

/// Reads samples into the record: each into its byte of the pixel, to be made into colours once all
/// are there.
struct SampleReader {
  TIFF* tiff;
  const Picture& picture;
  const PluginHost& host;
  bool goesOn;  // behind a strip or a tile that cannot be read
  Canvas canvas;
  HostBlock block;   // a row of the file, or a tile
  HostBlock bytes;   // one row of it, a byte a sample
  HostBlock isRead;  // of every row, at least in part

  bool Open() {
    const bool tiled = TIFFIsTiled(tiff) != 0;
    const std::uint64_t pixels =
        tiled ? Tag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH) : picture.width;
    block = TakeBlock(
        host, static_cast<std::uint64_t>(tiled ? TIFFTileSize(tiff) : TIFFScanlineSize(tiff)));
    bytes = TakeBlock(host, pixels * picture.SamplesTogether());
    isRead = TakeBlock(host, picture.height);
    return block && bytes && isRead;
  }

  /// Byte of the pixel that a sample goes to; 4 for those that do not count.
  unsigned Place(unsigned sample) const {
    if (sample < picture.colours) return sample;
    return sample == picture.colours && picture.alpha != Alpha::none ? 3 : 4;
  }

  void StoreRow(const std::uint8_t* row, unsigned plane, std::uint32_t x, std::uint32_t y,
                std::uint32_t count) {
    const unsigned together = picture.SamplesTogether();
    const std::size_t samples = std::size_t{count} * together;
    if (picture.photometric == PHOTOMETRIC_PALETTE) {
      IndicesToBytes(row, samples, picture.bits, bytes.get());
    } else {
      SamplesToBytes(row, samples, picture.bits, picture.Samples(), bytes.get());
    }
    isRead.get()[y] = 1;
    if (together >= 3 && together == picture.colours + (picture.alpha != Alpha::none ? 1u : 0u)) {
      together == 3 ? StorePixels<3>(x, y, count) : StorePixels<4>(x, y, count);
      return;
    }
    for (unsigned s = 0; s < together; ++s) {
      const unsigned place = Place(plane + s);
      if (place > 3) continue;
      const std::uint8_t* from = bytes.get() + s;
      std::uint8_t* to = canvas.At(x, y) + place;
      for (std::uint32_t i = 0; i < count; ++i, from += together, to += canvas.dx) *to = *from;
    }
  }

  /// A row of pixels whose samples all count.
  template <std::size_t samples>
  void StorePixels(std::uint32_t x, std::uint32_t y, std::uint32_t count) {
    const std::uint8_t* from = bytes.get();
    std::uint8_t* to = canvas.At(x, y);
    for (std::uint32_t i = 0; i < count; ++i, from += samples, to += canvas.dx) {
      for (std::size_t s = 0; s < samples; ++s) to[s] = from[s];
    }
  }

  bool ReadRows(std::uint16_t plane) {
    const auto stripRows = std::max(Tag<std::uint32_t>(tiff, TIFFTAG_ROWSPERSTRIP), 1u);
    bool whole = true;
    for (std::uint64_t y = 0; y < picture.height;) {
      const auto row = static_cast<std::uint32_t>(y);
      if (TIFFReadScanline(tiff, block.get(), row, plane) != 1) {
        if (!goesOn) return false;
        whole = false;
        y += stripRows - y % stripRows;
        continue;
      }
      StoreRow(block.get(), plane, 0, row, picture.width);
      if (plane == 0) host.update(static_cast<std::int32_t>(row));
      ++y;
    }
    return whole;
  }

  bool ReadTiles(std::uint16_t plane) {
    const auto width = Tag<std::uint32_t>(tiff, TIFFTAG_TILEWIDTH);
    const auto height = Tag<std::uint32_t>(tiff, TIFFTAG_TILELENGTH);
    const auto rowBytes = static_cast<std::size_t>(TIFFTileRowSize(tiff));
    bool whole = true;
    for (std::uint64_t top = 0; top < picture.height; top += height) {
      for (std::uint64_t left = 0; left < picture.width; left += width) {
        const auto x = static_cast<std::uint32_t>(left), y = static_cast<std::uint32_t>(top);
        const std::uint32_t tile = TIFFComputeTile(tiff, x, y, 0, plane);
        if (TIFFReadEncodedTile(tiff, tile, block.get(), TIFFTileSize(tiff)) < 0) {
          if (!goesOn) return false;
          whole = false;
          continue;
        }
        const std::uint32_t count = std::min(width, picture.width - x);
        for (std::uint32_t r = 0; r < std::min(height, picture.height - y); ++r) {
          StoreRow(block.get() + r * rowBytes, plane, x, y + r, count);
        }
      }
      if (plane == 0) host.update(static_cast<std::int32_t>(top));
    }
    return whole;
  }

  /// Whether all could be read.
  bool ReadAll() {
    const unsigned planes =
        picture.IsSeparate() ? picture.colours + (picture.alpha != Alpha::none ? 1u : 0u) : 1u;
    bool whole = true;
    for (std::uint16_t plane = 0; plane < planes && (whole || goesOn); ++plane) {
      whole &= TIFFIsTiled(tiff) ? ReadTiles(plane) : ReadRows(plane);
    }
    return whole;
  }
};

/// Undoes the multiplication by alpha.
void DivideByAlpha(std::uint8_t* pixel) {
  const int alpha = pixel[3];
  if (alpha == 0 || alpha == 255) return;
  for (int c = 0; c < 3; ++c) {
    pixel[c] = static_cast<std::uint8_t>(std::min(255, (pixel[c] * 255 + alpha / 2) / alpha));
  }
}

void InksToColours(std::uint8_t* pixel) {
  const int white = 255 - pixel[3];
  for (int c = 0; c < 3; ++c) {
    pixel[c] = static_cast<std::uint8_t>(white * (255 - pixel[c]) / 255);
  }
}

/// The colours of a palette file, as bytes. Old files have bytes already.
struct ColourMap {
  std::uint8_t colour[256][3] = {};

  bool Read(TIFF* tiff, unsigned bits) {
    std::uint16_t* planes[3] = {};
    if (TIFFGetField(tiff, TIFFTAG_COLORMAP, &planes[0], &planes[1], &planes[2]) != 1) {
      return Refuse("its colour map is missing");
    }
    const unsigned count = 1u << bits;
    const auto isWord = [count](const std::uint16_t* plane) {
      return std::any_of(plane, plane + count, [](std::uint16_t value) { return value > 255; });
    };
    const int shift = isWord(planes[0]) || isWord(planes[1]) || isWord(planes[2]) ? 8 : 0;
    for (unsigned i = 0; i < count; ++i) {
      for (int c = 0; c < 3; ++c) {
        colour[i][c] = static_cast<std::uint8_t>(planes[c][i] >> shift);
      }
    }
    return true;
  }
};

/// Turns the samples of a row of the file, each in its byte of the pixel, into colours.
void FinishRow(const Picture& picture, const ColourMap& map, const Canvas& canvas,
               std::uint32_t y) {
  std::uint8_t* pixel = canvas.At(0, y);
  if (picture.photometric == PHOTOMETRIC_RGB && picture.alpha != Alpha::multiplied) {
    if (picture.alpha == Alpha::straight) return;
    for (std::uint32_t x = 0; x < picture.width; ++x, pixel += canvas.dx) pixel[3] = 255;
    return;
  }
  for (std::uint32_t x = 0; x < picture.width; ++x, pixel += canvas.dx) {
    switch (picture.photometric) {
      case PHOTOMETRIC_PALETTE:
        std::copy_n(map.colour[pixel[0]], 3, pixel);
        break;
      case PHOTOMETRIC_SEPARATED:
        InksToColours(pixel);
        break;
      case PHOTOMETRIC_MINISWHITE:
        pixel[0] = static_cast<std::uint8_t>(255 - pixel[0]);
        [[fallthrough]];
      case PHOTOMETRIC_MINISBLACK:
        pixel[1] = pixel[2] = pixel[0];
        break;
      default:
        break;
    }
    if (picture.alpha == Alpha::none) pixel[3] = 255;
    if (picture.alpha == Alpha::multiplied) DivideByAlpha(pixel);
  }
}

/// Whether any row could be read. What could not stays as it was made.
bool ReadPlainSamples(TIFF* tiff, const Picture& picture, const PluginRecord& record,
                      const PluginHost& host, bool goesOn) {
  ColourMap map;
  if (picture.photometric == PHOTOMETRIC_PALETTE && !map.Read(tiff, picture.bits)) return false;
  SampleReader reader = {.tiff = tiff,
                         .picture = picture,
                         .host = host,
                         .goesOn = goesOn,
                         .canvas = MakeCanvas(picture, record),
                         .block = {nullptr, HostBlockFreer{host.free}},
                         .bytes = {nullptr, HostBlockFreer{host.free}},
                         .isRead = {nullptr, HostBlockFreer{host.free}}};
  if (!reader.Open()) return false;
  if (!reader.ReadAll()) NoteUnread(tiff);
  bool any = false;
  for (std::uint32_t y = 0; y < picture.height; ++y) {
    if (!reader.isRead.get()[y]) continue;
    FinishRow(picture, map, reader.canvas, y);
    any = true;
  }
  return any;
}

/// libtiff's own conversion; its words are R, G, B, A in memory. Its buffers are asked of the host
/// first, so that they count there.
bool ReadConverted(TIFF* tiff, const Picture& picture, const PluginRecord& record,
                   const PluginHost& host, bool goesOn) {
  char reason[1024] = "";
  if (TIFFRGBAImageOK(tiff, reason) != 1) return Refuse("%s", reason);
  const std::uint64_t pixels = std::uint64_t{picture.width} * picture.height;
  const auto theirs =
      static_cast<std::uint64_t>(TIFFIsTiled(tiff) ? TIFFTileSize(tiff) : TIFFStripSize(tiff));
  if (!HasRoom(host, std::max<std::uint64_t>(theirs, 1))) {
    NoteFault(kPluginNoMemory);
    return false;
  }
  HostBlock turned = {nullptr, HostBlockFreer{host.free}};
  if (picture.orientation != ORIENTATION_TOPLEFT) {
    turned = TakeBlock(host, 4 * pixels);
    if (!turned) return false;
  }
  std::uint8_t* const raster = turned ? turned.get() : record.pixels;
  firstComplaint[0] = 0;
  // Asked for in its own orientation, the picture comes in the order of the file.
  const int read = TIFFReadRGBAImageOriented(tiff, picture.width, picture.height,
                                             reinterpret_cast<std::uint32_t*>(raster),
                                             picture.orientation, goesOn ? 0 : 1);
  const bool any = std::any_of(raster, raster + 4 * pixels, [](std::uint8_t b) { return b != 0; });
  const Canvas canvas = MakeCanvas(picture, record);
  const std::uint8_t* from = raster;
  for (std::uint32_t y = 0; turned && y < picture.height; ++y) {
    for (std::uint32_t x = 0; x < picture.width; ++x, from += 4) {
      std::copy_n(from, 4, canvas.At(x, y));
    }
  }
  if (read != 1 || (goesOn && firstComplaint[0])) NoteUnread(tiff);
  return read == 1 || any;
}

void TakeTexts(TIFF* tiff, PluginRecord& record) {
  const auto take = [tiff](std::uint32_t tag, char* field, std::size_t size) {
    char* text = nullptr;
    if (TIFFGetField(tiff, tag, &text) == 1) SetField(field, size, text);
  };
  take(TIFFTAG_IMAGEDESCRIPTION, record.comment, kPluginTextSize);
  take(TIFFTAG_ARTIST, record.author, sizeof record.author);
  take(TIFFTAG_COPYRIGHT, record.notice, sizeof record.notice);
}

}  // namespace

OpenTiff OpenTiffFile(const char* path, const char* mode) {
  ForgetFault();
  firstComplaint[0] = 0;
  TIFFSetErrorHandler(KeepFirst);
  TIFFSetWarningHandler(nullptr);
  return OpenTiff(TIFFOpen(path, mode));
}

PluginRecord* LoadTiffPicture(const char* path, const PluginHost& host, TiffReading reading) {
  const OpenTiff tiff = OpenTiffFile(path, "rm");  // read, not mapped: a file can shrink meanwhile
  if (!tiff) {
    NoteFault(EndsBeforeDirectory(path) ? kPluginFileEnded : kPluginOtherFault, firstComplaint);
    return nullptr;
  }
  const bool headerOnly = reading == TiffReading::header;
  const Picture picture = Describe(tiff.get());
  const bool plain = HoldsPlainSamples(picture);
  const bool bounded = headerOnly || IsBounded(tiff.get(), picture);
  if (!bounded || (plain && !CanRead(tiff.get(), picture))) return nullptr;
  auto width = static_cast<std::int32_t>(picture.width);
  auto height = static_cast<std::int32_t>(picture.height);
  if (picture.IsTransposed()) std::swap(width, height);
  PluginRecord* const record = host.makeImage(width, height, "TIFF");
  if (!record) return nullptr;
  TakeTexts(tiff.get(), *record);
  if (headerOnly) return record;
  host.begin("Reading TIFF", static_cast<std::int32_t>(picture.height), 5);
  const bool goesOn = reading == TiffReading::salvage;
  const bool read =
      (plain ? ReadPlainSamples : ReadConverted)(tiff.get(), picture, *record, host, goesOn);
  host.end();
  return read ? record : nullptr;
}

}  // namespace imx
