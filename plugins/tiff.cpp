// KZldTIFF: loads and saves TIFF files (TIFF 6.0) through libtiff. What is loaded is the first
// picture in the file.

#include <tiffio.h>

#include <algorithm>
#include <memory>

#include "plugins/plugin.h"

namespace imx {
namespace {

/// No coding makes more pixels of a byte: a blank fax page at high resolution comes near it.
constexpr std::uint64_t kMostPixelsForByte = 65536;
constexpr std::uint64_t kStripBytes = 64 * 1024;

struct TiffCloser {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using OpenTiff = std::unique_ptr<TIFF, TiffCloser>;

/// libtiff prints its complaints unless it is told not to.
OpenTiff Open(const char* path, const char* mode) {
  TIFFSetErrorHandler(nullptr);
  TIFFSetWarningHandler(nullptr);
  return OpenTiff(TIFFOpen(path, mode));
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

/// Whether the file has less of the pixels than its directory promises.
bool EndsBeforePixels(TIFF* tiff, std::uint64_t fileSize) {
  const std::uint32_t count =
      TIFFIsTiled(tiff) ? TIFFNumberOfTiles(tiff) : TIFFNumberOfStrips(tiff);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::uint64_t offset = TIFFGetStrileOffset(tiff, i);
    if (offset > fileSize || TIFFGetStrileByteCount(tiff, i) > fileSize - offset) return true;
  }
  return false;
}

template <typename Value>
Value Tag(TIFF* tiff, std::uint32_t tag) {
  Value value{};
  TIFFGetFieldDefaulted(tiff, tag, &value);
  return value;
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

/// Rows of R, G, B and a plain alpha, as the record wants them. libtiff's general way would
/// multiply the colours by alpha and lose some.
bool HoldsRecordRows(TIFF* tiff, std::int32_t width) {
  std::uint16_t extras = 0;
  std::uint16_t* kinds = nullptr;
  TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &extras, &kinds);
  return !TIFFIsTiled(tiff) && Tag<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE) == 8 &&
         Tag<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL) == 4 &&
         Tag<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG) == PLANARCONFIG_CONTIG &&
         Tag<std::uint16_t>(tiff, TIFFTAG_PHOTOMETRIC) == PHOTOMETRIC_RGB &&
         Tag<std::uint16_t>(tiff, TIFFTAG_ORIENTATION) == ORIENTATION_TOPLEFT && extras == 1 &&
         kinds[0] == EXTRASAMPLE_UNASSALPHA && TIFFScanlineSize(tiff) == tmsize_t{4} * width;
}

void NoteUnread(TIFF* tiff) {
  const std::uint64_t fileSize = TIFFGetSizeProc(tiff)(TIFFClientdata(tiff));
  NoteFault(EndsBeforePixels(tiff, fileSize) ? kPluginFileEnded : kPluginOtherFault,
            "not all of its pixels could be read");
}

/// Whether any row could be read.
bool ReadRecordRows(TIFF* tiff, PluginRecord& record, const PluginHost& host) {
  std::int32_t y = 0;
  while (y < record.height &&
         TIFFReadScanline(tiff, RecordRow(record, y), static_cast<std::uint32_t>(y)) == 1) {
    host.update(y++);
  }
  if (y < record.height) NoteUnread(tiff);
  return y > 0;
}

/// Undoes the multiplication by alpha. Whether there was any pixel that is not all zero.
bool DivideByAlpha(PluginRecord& record) {
  bool any = false;
  for (std::int32_t y = 0; y < record.height; ++y) {
    std::uint8_t* pixel = RecordRow(record, y);
    for (std::int32_t x = 0; x < record.width; ++x, pixel += 4) {
      const int alpha = pixel[3];
      any = any || alpha != 0;
      if (alpha == 0 || alpha == 255) continue;
      for (int c = 0; c < 3; ++c) {
        pixel[c] = static_cast<std::uint8_t>(std::min(255, (pixel[c] * 255 + alpha / 2) / alpha));
      }
    }
  }
  return any;
}

/// Every other kind of TIFF, by libtiff's own conversion; its words are R, G, B, A in memory. A
/// fault leaves the rest of the picture as it was made.
bool ReadAnyKind(TIFF* tiff, PluginRecord& record) {
  const int read = TIFFReadRGBAImageOriented(
      tiff, static_cast<std::uint32_t>(record.width), static_cast<std::uint32_t>(record.height),
      reinterpret_cast<std::uint32_t*>(record.pixels), ORIENTATION_TOPLEFT, 1);
  const bool any = DivideByAlpha(record);
  if (read != 1) NoteUnread(tiff);
  return read == 1 || any;
}

PluginRecord* Load(const char* path, const PluginHost& host) {
  ForgetFault();
  const OpenTiff tiff = Open(path, "rm");  // read, not mapped: a file can shrink meanwhile
  if (!tiff) {
    if (EndsBeforeDirectory(path)) NoteFault(kPluginFileEnded);
    return nullptr;
  }
  const std::uint64_t fileSize = TIFFGetSizeProc(tiff.get())(TIFFClientdata(tiff.get()));
  const auto width = Tag<std::uint32_t>(tiff.get(), TIFFTAG_IMAGEWIDTH);
  const auto height = Tag<std::uint32_t>(tiff.get(), TIFFTAG_IMAGELENGTH);
  if (width > INT32_MAX || height > INT32_MAX ||
      std::uint64_t{width} * height / kMostPixelsForByte > fileSize) {
    return nullptr;
  }
  PluginRecord* const record =
      host.makeImage(static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), "TIFF");
  if (!record) return nullptr;
  TakeTexts(tiff.get(), *record);
  host.begin("Reading TIFF", record->height, 5);
  const bool read = HoldsRecordRows(tiff.get(), record->width)
                        ? ReadRecordRows(tiff.get(), *record, host)
                        : ReadAnyKind(tiff.get(), *record);
  host.end();
  return read ? record : nullptr;
}

/// Gives memory back to the host.
struct HostBlockFreer {
  PluginFree free;
  void operator()(void* block) const { free(block); }
};

/// What a saved row holds of each pixel.
struct RowLayout {
  std::uint16_t samples;  ///< 1 grey, 3 colour, 4 colour and alpha
  std::uint16_t photometric;
};

RowLayout ChooseLayout(const PluginRecord& record) {
  if (HasAlphaChannel(record)) return {4, PHOTOMETRIC_RGB};
  if (IsGreyRecord(record)) return {1, PHOTOMETRIC_MINISBLACK};
  return {3, PHOTOMETRIC_RGB};
}

void SetTags(TIFF* tiff, const PluginRecord& record, const RowLayout& layout, bool compress) {
  const auto rowBytes = std::uint64_t{layout.samples} * static_cast<std::uint32_t>(record.width);
  const auto rows = std::clamp<std::uint64_t>(kStripBytes / rowBytes, 1,
                                              static_cast<std::uint64_t>(record.height));
  TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, record.width);
  TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, record.height);
  TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
  TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, layout.samples);
  TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, layout.photometric);
  TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(rows));
  TIFFSetField(tiff, TIFFTAG_COMPRESSION, compress ? COMPRESSION_LZW : COMPRESSION_NONE);
  if (compress) TIFFSetField(tiff, TIFFTAG_PREDICTOR, PREDICTOR_HORIZONTAL);
  if (layout.samples == 4) {
    const std::uint16_t kind = EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &kind);
  }
  if (record.comment[0]) TIFFSetField(tiff, TIFFTAG_IMAGEDESCRIPTION, record.comment);
  TIFFSetField(tiff, TIFFTAG_SOFTWARE, "Quillmark IMX");
}

bool WriteRows(TIFF* tiff, const PluginRecord& record, const RowLayout& layout,
               const PluginHost& host) {
  const std::size_t samples = layout.samples;
  const auto width = static_cast<std::size_t>(record.width);
  const std::unique_ptr<std::uint8_t, HostBlockFreer> row(
      static_cast<std::uint8_t*>(host.allocate(static_cast<std::uint32_t>(samples * width), 0)),
      HostBlockFreer{host.free});
  if (!row) return false;
  for (std::int32_t y = 0; y < record.height; ++y) {
    const std::uint8_t* const pixels = RecordRow(record, y);
    for (std::size_t x = 0; x < width; ++x) {
      std::copy_n(pixels + 4 * x, samples, row.get() + samples * x);
    }
    if (TIFFWriteScanline(tiff, row.get(), static_cast<std::uint32_t>(y)) != 1) return false;
    host.update(y);
  }
  return TIFFFlush(tiff) == 1;
}

std::int32_t Save(const char* path, const PluginRecord& record, bool compress,
                  const PluginHost& host) {
  ForgetFault();
  const OpenTiff tiff = Open(path, "w");
  if (!tiff) return 1;
  const RowLayout layout = ChooseLayout(record);
  SetTags(tiff.get(), record, layout, compress);
  host.begin("Writing TIFF", record.height, 5);
  const bool written = WriteRows(tiff.get(), record, layout, host);
  host.end();
  return written ? 0 : 1;
}

}  // namespace
}  // namespace imx

IMX_PLUGIN_EXPORT imx::PluginRecord* IMX_PLUGIN_CALL ImageLoad(
    const char* path, void*, void*, imx::PluginProgressBegin begin, imx::PluginProgressBegin,
    imx::PluginProgressUpdate update, imx::PluginProgressEnd end, imx::PluginMakeImage makeImage,
    imx::PluginAllocate, imx::PluginFree, imx::PluginNothing) {
  return imx::Load(path, {.begin = begin, .update = update, .end = end, .makeImage = makeImage});
}

IMX_PLUGIN_EXPORT std::int32_t IMX_PLUGIN_CALL
ImageSave(const char* path, imx::PluginRecord* record, void*, void*, std::int32_t compress,
          imx::PluginProgressBegin begin, imx::PluginProgressBegin,
          imx::PluginProgressUpdate update, imx::PluginProgressEnd end,
          imx::PluginAllocate allocate, imx::PluginFree free, imx::PluginNothing) {
  return imx::Save(
      path, *record, compress != 0,
      {.begin = begin, .update = update, .end = end, .allocate = allocate, .free = free});
}
