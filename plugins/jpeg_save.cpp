// KZSVJPEG: saves JPEG files (ITU-T T.81, JFIF 1.01) through libjpeg.

#include <algorithm>
#include <cstring>

#include "imagelib/open_file.h"
#include "plugins/jpeg_errors.h"
#include "plugins/plugin.h"

namespace imx {
namespace {

/// From here on colour keeps its full resolution; below, half of it each way.
constexpr int kFullColourQuality = 90;

struct Encoding {
  const PluginHost& host;
  const PluginRecord& record;
  int quality;
  OpenFile file;
  jpeg_compress_struct info = {};
  JpegErrors errors = {};

  ~Encoding() { jpeg_destroy_compress(&info); }
};

void SetFrame(Encoding& job) {
  job.info.image_width = static_cast<JDIMENSION>(job.record.width);
  job.info.image_height = static_cast<JDIMENSION>(job.record.height);
  job.info.input_components = 4;
  job.info.in_color_space = JCS_EXT_RGBX;
  jpeg_set_defaults(&job.info);
  if (IsGreyRecord(job.record)) jpeg_set_colorspace(&job.info, JCS_GRAYSCALE);
  jpeg_set_quality(&job.info, job.quality, TRUE);
  job.info.optimize_coding = TRUE;
  if (job.quality >= kFullColourQuality) {
    job.info.comp_info[0].h_samp_factor = 1;
    job.info.comp_info[0].v_samp_factor = 1;
  }
}

void WriteComment(Encoding& job) {
  const auto length = static_cast<unsigned>(strnlen(job.record.comment, kPluginTextSize));
  if (length == 0) return;
  jpeg_write_marker(&job.info, JPEG_COM, reinterpret_cast<const JOCTET*>(job.record.comment),
                    length);
}

/// False when libjpeg gave up.
bool Encode(Encoding& job) {
  if (setjmp(job.errors.target) != 0) {
    NoteJpegFault(job.errors, job.info);
    return false;
  }
  jpeg_create_compress(&job.info);
  jpeg_stdio_dest(&job.info, job.file.get());
  SetFrame(job);
  jpeg_start_compress(&job.info, TRUE);
  WriteComment(job);
  for (std::int32_t y = 0; y < job.record.height; ++y) {
    std::uint8_t* row = RecordRow(job.record, y);
    jpeg_write_scanlines(&job.info, &row, 1);
    job.host.update(y);
  }
  jpeg_finish_compress(&job.info);
  return true;
}

std::int32_t Save(const char* path, const PluginRecord& record, int quality,
                  const PluginHost& host) {
  ForgetFault();
  Encoding job{host, record, std::clamp(quality, 1, 100), OpenFile(std::fopen(path, "wb"))};
  UseJpegErrors(job.errors, job.info);
  if (!job.file) return 1;
  host.begin("Writing JPEG", record.height, 5);
  const bool encoded = Encode(job);
  host.end();
  const bool closed = std::fclose(job.file.release()) == 0;
  return encoded && closed ? 0 : 1;
}

}  // namespace
}  // namespace imx

IMX_PLUGIN_EXPORT std::int32_t IMX_PLUGIN_CALL ImageSave(
    const char* path, imx::PluginRecord* record, void*, void*, std::int32_t quality,
    imx::PluginProgressBegin begin, imx::PluginProgressBegin, imx::PluginProgressUpdate update,
    imx::PluginProgressEnd end, imx::PluginAllocate, imx::PluginFree, imx::PluginNothing) {
  return imx::Save(path, *record, quality, {.begin = begin, .update = update, .end = end});
}
