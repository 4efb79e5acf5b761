// KZLDJPEG: loads JPEG files (ITU-T T.81) through libjpeg.

#include <algorithm>
#include <utility>

#include "imagelib/open_file.h"
#include "plugins/jpeg_errors.h"
#include "plugins/plugin.h"

namespace imx {
namespace {

/// Scans can say next to nothing about many blocks. Where a file's scans have visited this many
/// for each of its bytes it is over, as if it had been cut off there.
/// The scans of a flat picture come near to it.
constexpr std::uint64_t kMostVisitsForByte = 64;
/// Scans that do not go on from where the ones before ended bring nothing, but damaged files have
/// some of them: a few of any size, more while they are small.
constexpr int kMostOddScans = 4;
constexpr std::uint64_t kMostOddVisits = 1 << 16;
constexpr std::size_t kLongestComment = 0xFFFF;

/// What the scans so far have cost; libjpeg hands it back where it tells its progress.
struct ScanWork {
  jpeg_progress_mgr monitor;  ///< first, so that one pointer serves for both
  int scan;
  int oddScans;
  bool isTooMuch;
  std::uint64_t visits, mostVisits, oddVisits;
};

struct Decoding {
  const PluginHost& host;
  const bool headerOnly;
  OpenFile file;
  std::uint64_t fileSize = 0;
  jpeg_decompress_struct info = {};
  ScanWork work = {};
  JpegErrors errors = {};
  PluginRecord* record = nullptr;
  std::int32_t rows = 0;  ///< decoded so far

  Decoding(const PluginHost& services, const char* path, bool withoutPixels)
      : host(services), headerOnly(withoutPixels), file(std::fopen(path, "rb")) {}
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

/// The source from where it is over: nothing but the end marker.
boolean GiveEnd(j_decompress_ptr info) {
  static constexpr JOCTET kEnd[] = {0xFF, JPEG_EOI};
  info->src->next_input_byte = kEnd;
  info->src->bytes_in_buffer = sizeof kEnd;
  return TRUE;
}

/// Counts the blocks of each scan when it begins.
void LimitScans(j_common_ptr common) {
  // Called for objects that decompress only.
  auto* const info = reinterpret_cast<j_decompress_ptr>(common);
  auto& work = *reinterpret_cast<ScanWork*>(info->progress);
  if (info->input_scan_number == work.scan) return;
  work.scan = info->input_scan_number;
  auto& errors = *static_cast<JpegErrors*>(common->client_data);
  std::uint64_t blocks = 0;
  for (int c = 0; c < info->comps_in_scan; ++c) {
    const jpeg_component_info& component = *info->cur_comp_info[c];
    blocks += std::uint64_t{component.width_in_blocks} * component.height_in_blocks;
  }
  work.visits += blocks;
  if (std::exchange(errors.oddScan, false)) {
    ++work.oddScans;
    work.oddVisits += blocks;
  }
  const bool tooOdd = work.oddScans > kMostOddScans && work.oddVisits > kMostOddVisits;
  // The first scan is never too much: the file is long enough for it.
  work.isTooMuch = tooOdd || (work.visits > work.mostVisits && work.scan > 1);
  if (!work.isTooMuch) return;
  info->src->fill_input_buffer = GiveEnd;
  info->src->bytes_in_buffer = 0;
}

/// What libjpeg keeps of a file whose scans do not hold all of every block: its coefficients.
std::uint64_t CoefficientBytes(jpeg_decompress_struct& info) {
  if (!jpeg_has_multiple_scans(&info)) return 0;
  const auto padded = [](JDIMENSION blocks, int unit) {
    const auto size = static_cast<std::uint64_t>(unit);
    return (blocks + size - 1) / size * size;
  };
  std::uint64_t blocks = 0;
  for (int c = 0; c < info.num_components; ++c) {
    const jpeg_component_info& component = info.comp_info[c];
    blocks += padded(component.width_in_blocks, component.h_samp_factor) *
              padded(component.height_in_blocks, component.v_samp_factor);
  }
  return blocks * sizeof(JBLOCK);
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
  job.work.monitor.progress_monitor = LimitScans;
  job.work.mostVisits = kMostVisitsForByte * job.fileSize;
  job.info.progress = &job.work.monitor;
  jpeg_save_markers(&job.info, JPEG_COM, kLongestComment);
  jpeg_stdio_src(&job.info, job.file.get());
  jpeg_read_header(&job.info, TRUE);
  if (!job.headerOnly && !IsLongEnough(job)) {
    NoteFault(kPluginFileEnded);
    return false;
  }
  job.record = job.host.makeImage(static_cast<std::int32_t>(job.info.image_width),
                                  static_cast<std::int32_t>(job.info.image_height), "JPEG");
  if (!job.record) return false;
  TakeComment(job);
  if (job.headerOnly) return true;
  const std::uint64_t coefficients = CoefficientBytes(job.info);
  if (coefficients > 0 && !HasRoom(job.host, coefficients)) {
    NoteFault(kPluginNoMemory);
    return false;
  }
  job.host.begin("Reading JPEG", job.record->height, 5);
  DecodeRows(job);
  if (job.work.isTooMuch) {
    NoteFault(kPluginOtherFault, "too many scans for so little data");
  } else if (job.errors.fileEnded) {
    NoteFault(kPluginFileEnded);
  }
  return true;
}

PluginRecord* Load(const char* path, const PluginHost& host, bool headerOnly) {
  ForgetFault();
  Decoding job(host, path, headerOnly);
  UseJpegErrors(job.errors, job.info);
  if (!job.file) return nullptr;
  job.fileSize = FileSize(job.file.get());
  const bool whole = Decode(job);
  if (job.record && !headerOnly) host.end();
  return whole || job.rows > 0 ? job.record : nullptr;
}

}  // namespace
}  // namespace imx

IMX_EXPORT_LOADER(ImageLoad, imx::Load, false)
IMX_EXPORT_LOADER(ImageHeader, imx::Load, true)
