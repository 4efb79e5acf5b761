// KZldTIFF: loads and saves TIFF files (TIFF 6.0) through libtiff.

#include <tiffio.h>

#include <algorithm>
#include <memory>

#include "plugins/plugin.h"
#include "plugins/tiff_load.h"

namespace imx {
namespace {

constexpr std::uint64_t kStripBytes = 64 * 1024;

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
  if (record.author[0]) TIFFSetField(tiff, TIFFTAG_ARTIST, record.author);
  if (record.notice[0]) TIFFSetField(tiff, TIFFTAG_COPYRIGHT, record.notice);
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
  const OpenTiff tiff = OpenTiffFile(path, "w");
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

IMX_EXPORT_LOADER(ImageLoad, imx::LoadTiffPicture, imx::TiffReading::picture)
IMX_EXPORT_LOADER(ImageHeader, imx::LoadTiffPicture, imx::TiffReading::header)
IMX_EXPORT_LOADER(ImageSalvage, imx::LoadTiffPicture, imx::TiffReading::salvage)

IMX_PLUGIN_EXPORT std::int32_t IMX_PLUGIN_CALL
ImageSave(const char* path, imx::PluginRecord* record, void*, void*, std::int32_t compress,
          imx::PluginProgressBegin begin, imx::PluginProgressBegin,
          imx::PluginProgressUpdate update, imx::PluginProgressEnd end,
          imx::PluginAllocate allocate, imx::PluginFree free, imx::PluginNothing) {
  return imx::Save(
      path, *record, compress != 0,
      {.begin = begin, .update = update, .end = end, .allocate = allocate, .free = free});
}
