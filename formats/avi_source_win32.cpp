// The order of these matters: vfw.h builds on what the two before it declare.
#include <ole2.h>
#include <vfw.h>
#include <windows.h>

#include "formats/avi_source.h"
#include "imagelib/guards.h"

namespace imx {

struct AviStream {
  PAVIFILE file;
  PAVISTREAM stream;
  PGETFRAME frames;
};

namespace {

/// Releases what has been opened so far, last first.
void Release(const AviStream& avi) {
  if (avi.frames) AVIStreamGetFrameClose(avi.frames);
  if (avi.stream) AVIStreamRelease(avi.stream);
  if (avi.file) AVIFileRelease(avi.file);
  AVIFileExit();
}

bool Open(const char* path, AviStream* avi, AVISTREAMINFOA* info) {
  return AVIFileOpenA(&avi->file, path, OF_READ, nullptr) == AVIERR_OK &&
         AVIFileGetStream(avi->file, &avi->stream, streamtypeVIDEO, 0) == AVIERR_OK &&
         AVIStreamInfoA(avi->stream, info, sizeof *info) == AVIERR_OK;
}

/// The size of a bitmap that the system itself packed.
std::size_t PackedSize(const BITMAPINFOHEADER& header) {
  const std::size_t rowBytes =
      (static_cast<std::size_t>(header.biWidth) * header.biBitCount + 31) / 32 * 4;
  const std::size_t colours = header.biBitCount == 8 ? header.biClrUsed * sizeof(RGBQUAD) : 0;
  return header.biSize + colours + rowBytes * static_cast<std::size_t>(header.biHeight);
}

}  // namespace

bool AviIsAvailable() {
  return true;
}

AviStream* OpenAviStream(const char* path, AviInfo* info) {
  AviStream avi = {};
  AVISTREAMINFOA streamInfo = {};
  AVIFileInit();
  TrackedArray<AviStream> held;
  if (Open(path, &avi, &streamInfo)) held = TrackedArray<AviStream>(1, "avi1");
  if (!held) {
    Release(avi);
    return nullptr;
  }
  info->frames = static_cast<std::int32_t>(streamInfo.dwLength);
  CopyTextCut(info->name, {streamInfo.szName, sizeof streamInfo.szName});
  held[0] = avi;
  return held.release();
}

std::span<const std::uint8_t> AviFrame(AviStream* stream, std::int32_t index) {
  if (!stream->frames) stream->frames = AVIStreamGetFrameOpen(stream->stream, nullptr);
  if (!stream->frames) return {};
  const void* frame = AVIStreamGetFrame(stream->frames, index);
  if (!frame) return {};
  const auto* header = static_cast<const BITMAPINFOHEADER*>(frame);
  if (header->biWidth < 1 || header->biHeight < 1) return {};
  return {static_cast<const std::uint8_t*>(frame), PackedSize(*header)};
}

void CloseAviStream(AviStream* stream) {
  Release(*stream);
  FreeMem(stream);
}

}  // namespace imx
