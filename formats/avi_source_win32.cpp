// The order of these matters: vfw.h builds on what the two before it declare.
#include <ole2.h>
#include <vfw.h>
#include <windows.h>

#include <algorithm>
#include <cstring>

#include "formats/avi_source.h"
#include "imagelib/guards.h"
#include "imagelib/quirks.h"

namespace imx {

struct AviStream {
  PAVIFILE file;
  PAVISTREAM stream;
  PGETFRAME frames;
  std::int32_t frameCount;
  std::uint8_t* bitmap;  // tracked
};

namespace {

/// Releases what has been opened so far, last first.
void Release(const AviStream& avi) {
  if (avi.bitmap) FreeMem(avi.bitmap);
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

/// A frame's format, as the file has it: a header that states sizes, and the bytes that came.
struct Format {
  TrackedBytes bytes;
  BITMAPINFOHEADER header = {};

  bool Read(const AviStream& avi, std::int32_t index) {
    LONG size = 0;
    if (AVIStreamReadFormat(avi.stream, index, nullptr, &size) != AVIERR_OK) return false;
    if (size < static_cast<LONG>(sizeof header)) return false;
    bytes = TrackedBytes(static_cast<std::uint32_t>(size), "avi3");
    if (!bytes) return false;
    if (AVIStreamReadFormat(avi.stream, index, bytes.data(), &size) != AVIERR_OK) return false;
    std::memcpy(&header, bytes.data(), sizeof header);
    return true;
  }

  std::size_t ColoursHeld() const { return (bytes.size() - header.biSize) / sizeof(RGBQUAD); }

  std::size_t MaskBytes() const {
    constexpr std::size_t kMasks = 12;
    const bool held = bytes.size() >= sizeof header + kMasks;
    return header.biCompression == BI_BITFIELDS && held ? kMasks : 0;
  }

  /// Whether the frames are stored as they are.
  bool IsPlain() const {
    return header.biCompression == BI_RGB || (MaskBytes() > 0 && Quirk(kAviDeepPixels));
  }

  /// The system's decoders take the header at its word.
  bool IsSound() const {
    constexpr std::int64_t kMostBytes = INT32_MAX;
    if (header.biSize < sizeof header || header.biSize > bytes.size()) return false;
    const std::int64_t height = std::abs(std::int64_t{header.biHeight});
    if (header.biHeight < 0 && !(IsPlain() && Quirk(kAviTopDown))) {
      LibError("AVI loader: frames that are stored from the top down cannot be read here");
      return false;
    }
    return header.biWidth > 0 && height > 0 &&
           header.biWidth <= kMostBytes / static_cast<std::int64_t>(sizeof(RGBQUAD)) / height;
  }
};

/// The packed bitmap of a frame that is stored as it is, from the bytes that came.
std::span<const std::uint8_t> PlainFrame(AviStream& avi, const Format& format, std::int32_t index) {
  // A dropped frame is an empty one, and repeats the one before.
  index = AVIStreamFindSample(avi.stream, index, FIND_ANY | FIND_PREV);
  LONG size = 0;
  if (index < 0 || AVIStreamRead(avi.stream, index, 1, nullptr, 0, &size, nullptr) != AVIERR_OK) {
    return {};
  }
  if (size <= 0) return {};
  BITMAPINFOHEADER header = format.header;
  const std::size_t held = header.biBitCount == 8 ? format.ColoursHeld() : 0;
  if (header.biClrUsed == 0 || header.biClrUsed > held) {
    header.biClrUsed = static_cast<DWORD>(std::min<std::size_t>(held, 256));
  }
  header.biSize = sizeof header;
  // Masks stand behind the colours' header, which is a short one here.
  const std::size_t masks = format.MaskBytes();
  const std::size_t colours = masks > 0 ? masks : header.biClrUsed * sizeof(RGBQUAD);
  const std::size_t coloursAt = masks > 0 ? sizeof header : format.header.biSize;
  TrackedBytes bitmap(sizeof header + colours + static_cast<std::uint32_t>(size), "avi2");
  if (!bitmap) return {};
  std::memcpy(bitmap.data(), &header, sizeof header);
  std::memcpy(bitmap.data() + sizeof header, format.bytes.data() + coloursAt, colours);
  std::uint8_t* const rows = bitmap.data() + sizeof header + colours;
  if (AVIStreamRead(avi.stream, index, 1, rows, size, &size, nullptr) != AVIERR_OK) return {};
  const std::size_t whole = bitmap.size();
  avi.bitmap = bitmap.release();
  return {avi.bitmap, whole};
}

/// Bytes from `data` on that can be read.
std::size_t ReadableBytes(const void* data) {
  constexpr DWORD kReadable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY;
  const auto* const start = static_cast<const std::uint8_t*>(data);
  const std::uint8_t* end = start;
  MEMORY_BASIC_INFORMATION region = {};
  while (VirtualQuery(end, &region, sizeof region) == sizeof region && region.State == MEM_COMMIT &&
         (region.Protect & kReadable) != 0) {
    end = static_cast<const std::uint8_t*>(region.BaseAddress) + region.RegionSize;
  }
  return static_cast<std::size_t>(end - start);
}

/// The packed bitmap that the system's decoder makes. Empty when it is not of the stream's size or
/// not all there.
std::span<const std::uint8_t> DecodedFrame(AviStream& avi, const Format& format,
                                           std::int32_t index) {
  if (!avi.frames) avi.frames = AVIStreamGetFrameOpen(avi.stream, nullptr);
  if (!avi.frames) return {};
  const void* const frame = AVIStreamGetFrame(avi.frames, index);
  if (!frame) return {};
  const std::size_t held = ReadableBytes(frame);
  BITMAPINFOHEADER header = {};
  if (held < sizeof header) return {};
  std::memcpy(&header, frame, sizeof header);
  if (header.biWidth != format.header.biWidth || header.biHeight != format.header.biHeight) {
    return {};
  }
  const std::uint64_t rowBytes =
      (std::uint64_t{header.biBitCount} * static_cast<std::uint32_t>(header.biWidth) + 31) / 32 * 4;
  const std::uint64_t colours =
      header.biBitCount == 8 ? std::uint64_t{header.biClrUsed} * sizeof(RGBQUAD) : 0;
  const std::uint64_t stated =
      header.biSize + colours + rowBytes * static_cast<std::uint32_t>(header.biHeight);
  if (stated > held) return {};
  return {static_cast<const std::uint8_t*>(frame), static_cast<std::size_t>(stated)};
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
  avi.frameCount = info->frames;
  held[0] = avi;
  return held.release();
}

std::span<const std::uint8_t> AviFrame(AviStream* stream, std::int32_t index) {
  if (index >= stream->frameCount) return {};
  Format format;
  if (!format.Read(*stream, index) || !format.IsSound()) return {};
  return format.IsPlain() ? PlainFrame(*stream, format, index)
                          : DecodedFrame(*stream, format, index);
}

void CloseAviStream(AviStream* stream) {
  Release(*stream);
  FreeMem(stream);
}

}  // namespace imx
