// KZLDJPEG: loads JPEG files (ITU-T T.81) through libjpeg.

#include <algorithm>

#include "plugins/jpeg_errors.h"
#include "plugins/plugin.h"

namespace imx {
namespace {

/// A progressive file can hold scans without end that say next to nothing about many pixels.
constexpr int kMostScans = 200;
constexpr std::size_t kLongestComment = 0xFFFF;

struct Decoding {
  const PluginHost& host;
  OpenFile file;
  std::uint64_t fileSize = 0;
  jpeg_decompress_struct info = {};
  jpeg_progress_mgr monitor = {};
  JpegErrors errors = {};
  PluginRecord* record = nullptr;
  std::int32_t rows = 0;  ///< decoded so far

  Decoding(const PluginHost& services, const char* path)
      : host(services), file(std::fopen(path, "rb")) {}
  ~Decoding() { jpeg_destroy_decompress(&info); }
  Decoding(const Decoding&) = delete;
  Decoding& operator=(const Decoding&) = delete;
};

/// Bytes in the file; it is left at its start. 0 when that cannot be told.
std::uint64_t FileSize(std::FILE* file) {
  if (fseeko(file, 0, SEEK_END) != 0) return 0;
  const auto size = ftello(file);
  if (size < 0 || fseeko(file, 0, SEEK_SET) != 0) return 0;
  return static_cast<std::uint64_t>(size);
}

void LimitScans(j_common_ptr common) {
  // Called for objects that decompress only.
  const auto* const info = reinterpret_cast<j_decompress_ptr>(common);
  if (info->input_scan_number > kMostScans) common->err->error_exit(common);
}

/// Every block of a component takes a bit at least, far less only in arithmetic coding. So a file
/// too short for what its header promises is met before any memory is taken.
bool IsLongEnough(const Decoding& job) {
  const std::uint64_t blocksForByte = job.info.arith_code ? 512 : 8;
  std::uint64_t blocks = 0;
  for (int c = 0; c < job.info.num_components; ++c) {
    const jpeg_component_info& component = job.info.comp_info[c];
    const std::uint64_t own = std::uint64_t{component.width_in_blocks} * component.height_in_blocks;
    blocks = std::max(blocks, own);
  }
  return blocks <= blocksForByte * job.fileSize;
}

bool IsFourColour(const Decoding& job) {
  return job.info.jpeg_color_space == JCS_CMYK || job.info.jpeg_color_space == JCS_YCCK;
}

/// Ink to light. Files of the marker's maker hold the ink inverted.
void LightFromInk(std::uint8_t* row, std::int32_t width, bool inverted) {
  for (std::uint8_t* const end = row + std::ptrdiff_t{4} * width; row < end; row += 4) {
    const int key = inverted ? row[3] : 255 - row[3];
    for (int c = 0; c < 3; ++c) {
      const int light = inverted ? row[c] : 255 - row[c];
      row[c] = static_cast<std::uint8_t>((light * key + 127) / 255);
    }
    row[3] = 255;
  }
}

void TakeComment(Decoding& job) {
  for (const auto* marker = job.info.marker_list; marker; marker = marker->next) {
    if (marker->marker != JPEG_COM) continue;
    SetField(job.record->comment, kPluginTextSize,
             {reinterpret_cast<const char*>(marker->data), marker->data_length});
    return;
  }
}

void DecodeRows(Decoding& job) {
  const bool fourColour = IsFourColour(job);
  job.info.out_color_space = fourColour ? JCS_CMYK : JCS_EXT_RGBA;
  jpeg_start_decompress(&job.info);
  while (job.rows < job.record->height) {
    std::uint8_t* row = RecordRow(*job.record, job.rows);
    jpeg_read_scanlines(&job.info, &row, 1);
    if (fourColour) {
      LightFromInk(row, job.record->width, job.info.saw_Adobe_marker != FALSE);
    }
    job.host.update(job.rows++);
  }
}

/// False when libjpeg gave up; the record then holds the rows before the fault, if it was made.
bool Decode(Decoding& job) {
  if (setjmp(job.errors.target) != 0) {
    NoteJpegFault(job.errors, job.info);
    return false;
  }
  jpeg_create_decompress(&job.info);
  job.monitor.progress_monitor = LimitScans;
  job.info.progress = &job.monitor;
  jpeg_save_markers(&job.info, JPEG_COM, kLongestComment);
  jpeg_stdio_src(&job.info, job.file.get());
  jpeg_read_header(&job.info, TRUE);
  if (!IsLongEnough(job)) {
    NoteFault(kPluginFileEnded);
    return false;
  }
  job.record = job.host.makeImage(static_cast<std::int32_t>(job.info.image_width),
                                  static_cast<std::int32_t>(job.info.image_height), "JPEG");
  if (!job.record) return false;
  TakeComment(job);
  job.host.begin("Reading JPEG", job.record->height, 5);
  DecodeRows(job);
  if (job.errors.fileEnded) NoteFault(kPluginFileEnded);
  return true;
}

PluginRecord* Load(const char* path, const PluginHost& host) {
  ForgetFault();
  Decoding job(host, path);
  UseJpegErrors(job.errors, job.info);
  if (!job.file) return nullptr;
  job.fileSize = FileSize(job.file.get());
  const bool whole = Decode(job);
  if (job.record) host.end();
  return whole || job.rows > 0 ? job.record : nullptr;
}

}  // namespace
}  // namespace imx

IMX_PLUGIN_EXPORT imx::PluginRecord* IMX_PLUGIN_CALL ImageLoad(
    const char* path, void*, void*, imx::PluginProgressBegin begin, imx::PluginProgressBegin,
    imx::PluginProgressUpdate update, imx::PluginProgressEnd end, imx::PluginMakeImage makeImage,
    imx::PluginAllocate, imx::PluginFree, imx::PluginNothing) {
  return imx::Load(path, {.begin = begin, .update = update, .end = end, .makeImage = makeImage});
}
