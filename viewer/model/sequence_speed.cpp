#include "viewer/model/sequence_speed.h"

#include <algorithm>
#include <cstdio>

#include "formats/gif_screen.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"

namespace imx {
namespace {

constexpr std::uint16_t kFliMagic = 0xAF11, kFlcMagic = 0xAF12;
constexpr std::int32_t kFliTicksPerSecond = 70;
constexpr std::int32_t kLongestFrame = 60'000;

std::int32_t Sensible(std::uint64_t milliseconds) {
  if (milliseconds == 0) return kUsualFrameTime;
  return static_cast<std::int32_t>(std::min<std::uint64_t>(milliseconds, kLongestFrame));
}

// In the header: ticks of a FLI, milliseconds of an FLC.
std::vector<std::int32_t> FlicTimes(FileReader& in, std::uint16_t magic) {
  in.Seek(16);
  const std::uint64_t speed = in.U32();
  return {Sensible(magic == kFliMagic ? speed * 1000 / kFliTicksPerSecond : speed)};
}

// The main header comes first in every file.
std::vector<std::int32_t> AviTimes(FileReader& in) {
  constexpr std::uint64_t kMicroSecondsPerFrame = 32;
  in.Seek(kMicroSecondsPerFrame);
  return {Sensible((in.U32() + 500) / 1000)};
}

// Delays of 0 and 1 hundredths are what makers of such files write who mean the usual speed.
std::int32_t GifDelay(std::uint16_t hundredths) {
  return hundredths <= 1 ? kUsualFrameTime : Sensible(std::uint64_t{10} * hundredths);
}

void PassColours(FileReader& in, std::uint8_t flags) {
  if ((flags & kGifTableBit) != 0) in.Skip(std::uint64_t{6} << (flags & kGifTableBits));
}

std::vector<std::int32_t> GifTimes(FileReader& in) {
  constexpr std::uint8_t kGraphicControl = 0xF9;
  std::vector<std::int32_t> times;
  in.Seek(6);
  PassColours(in, ReadGifScreen(in).flags);
  std::int32_t delay = kUsualFrameTime;
  while (!in.ended()) {
    const std::uint8_t mark = in.U8();
    if (mark == kGifImageMark) {
      PassColours(in, ReadGifFrame(in).flags);
      in.U8();  // code size
      SkipGifBlocks(in);
      times.push_back(delay);
      delay = kUsualFrameTime;
    } else if (mark == kGifExtensionMark) {
      if (in.U8() == kGraphicControl && in.U8() >= 4) {
        in.U8();  // flags
        delay = GifDelay(in.U16());
        in.Skip(1);  // transparent index
      }
      SkipGifBlocks(in);
    } else {
      break;
    }
  }
  return times;
}

}  // namespace

std::vector<std::int32_t> FrameTimes(const std::string& path) {
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (!file) return {};
  SetFileByteOrder(ByteOrder::little);
  FileReader in(file);
  constexpr std::uint32_t kRiff = 0x46464952, kGif8 = 0x38464947;
  const std::uint32_t start = in.U32();
  if (start == kRiff) return AviTimes(in);
  if (start == kGif8) return GifTimes(in);
  const std::uint16_t magic = in.U16();
  if (magic == kFliMagic || magic == kFlcMagic) return FlicTimes(in, magic);
  return {};
}

std::int32_t FrameTime(const std::vector<std::int32_t>& times, std::int32_t frame) {
  if (times.empty()) return kUsualFrameTime;
  return times[std::min(static_cast<std::size_t>(frame), times.size() - 1)];
}

std::int32_t FrameAt(const std::vector<std::int32_t>& times, std::int32_t frames,
                     std::int32_t start, std::int64_t elapsed) {
  if (frames < 1) return 0;
  std::int64_t round = 0;
  for (std::int32_t frame = 0; frame < frames; ++frame) round += FrameTime(times, frame);
  elapsed %= round;
  std::int32_t frame = start;
  for (; elapsed >= FrameTime(times, frame); frame = (frame + 1) % frames) {
    elapsed -= FrameTime(times, frame);
  }
  return frame;
}

}  // namespace imx
