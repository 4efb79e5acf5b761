#include <dlfcn.h>

#include <cstring>
#include <string>

#include "formats/avi_source.h"
#include "imagelib/byte_order.h"
#include "imagelib/guards.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#define IMX_TEXT2(x) #x
#define IMX_TEXT(x) IMX_TEXT2(x)

namespace imx {
namespace {

/// The library functions in use, fetched when the first AVI file is opened: together with what they
/// draw in, these libraries would weigh on the start of every program that never sees one.
struct VideoLibraries {
  bool ready = false;
#define IMX_FUNCTION(name) decltype(&::name) name = nullptr;
#define IMX_FORMAT_FUNCTIONS(X) \
  X(av_find_input_format)       \
  X(avformat_open_input)        \
  X(avformat_find_stream_info)  \
  X(av_find_best_stream)        \
  X(av_read_frame)              \
  X(av_seek_frame)              \
  X(avformat_close_input)
#define IMX_CODEC_FUNCTIONS(X)     \
  X(avcodec_find_decoder)          \
  X(avcodec_alloc_context3)        \
  X(avcodec_parameters_to_context) \
  X(avcodec_open2)                 \
  X(avcodec_send_packet)           \
  X(avcodec_receive_frame)         \
  X(avcodec_free_context)          \
  X(av_packet_alloc)               \
  X(av_packet_unref)               \
  X(av_packet_free)
#define IMX_UTIL_FUNCTIONS(X) \
  X(av_frame_alloc)           \
  X(av_frame_move_ref)        \
  X(av_frame_unref)           \
  X(av_frame_free)            \
  X(av_dict_get)              \
  X(av_log_set_level)
#define IMX_SCALE_FUNCTIONS(X) \
  X(sws_getContext)            \
  X(sws_scale)                 \
  X(sws_freeContext)
  IMX_FORMAT_FUNCTIONS(IMX_FUNCTION)
  IMX_CODEC_FUNCTIONS(IMX_FUNCTION)
  IMX_UTIL_FUNCTIONS(IMX_FUNCTION)
  IMX_SCALE_FUNCTIONS(IMX_FUNCTION)

  bool Load() {
    void* const util = dlopen("libavutil.so." IMX_TEXT(LIBAVUTIL_VERSION_MAJOR), RTLD_NOW);
    void* const codec = dlopen("libavcodec.so." IMX_TEXT(LIBAVCODEC_VERSION_MAJOR), RTLD_NOW);
    void* const format = dlopen("libavformat.so." IMX_TEXT(LIBAVFORMAT_VERSION_MAJOR), RTLD_NOW);
    void* const scale = dlopen("libswscale.so." IMX_TEXT(LIBSWSCALE_VERSION_MAJOR), RTLD_NOW);
    if (!util || !codec || !format || !scale) return false;
    bool all = true;
    const auto fetch = [&all](auto* function, void* library, const char* name) {
      void* const symbol = dlsym(library, name);
      std::memcpy(function, &symbol, sizeof symbol);
      all = all && symbol != nullptr;
    };
#define IMX_FROM_FORMAT(name) fetch(&name, format, #name);
#define IMX_FROM_CODEC(name) fetch(&name, codec, #name);
#define IMX_FROM_UTIL(name) fetch(&name, util, #name);
#define IMX_FROM_SCALE(name) fetch(&name, scale, #name);
    IMX_FORMAT_FUNCTIONS(IMX_FROM_FORMAT)
    IMX_CODEC_FUNCTIONS(IMX_FROM_CODEC)
    IMX_UTIL_FUNCTIONS(IMX_FROM_UTIL)
    IMX_SCALE_FUNCTIONS(IMX_FROM_SCALE)
    if (all) av_log_set_level(AV_LOG_QUIET);
    return all;
  }
};

const VideoLibraries& Video() {
  static const VideoLibraries libraries = [] {
    VideoLibraries loaded;
    loaded.ready = loaded.Load();
    return loaded;
  }();
  return libraries;
}

constexpr std::uint32_t kInfoSize = 40;
constexpr std::uint32_t kTableSize = 256 * 4;

}  // namespace

struct AviStream {
  AVFormatContext* container;
  AVCodecContext* decoder;
  AVPacket* packet;
  AVFrame* frame;   // being decoded
  AVFrame* wanted;  // the last one that is not past the wanted index
  AVStream* stream;
  std::uint8_t* bitmap;  // tracked
};

namespace {

/// Frames are numbered by their time stamps, whose unit in AVI files is one frame.
std::int64_t FrameIndex(const AviStream& avi, const AVFrame& frame, std::int64_t fallback) {
  const std::int64_t stamp = frame.best_effort_timestamp;
  if (stamp == AV_NOPTS_VALUE) return fallback;
  const std::int64_t start = avi.stream->start_time == AV_NOPTS_VALUE ? 0 : avi.stream->start_time;
  return stamp - start;
}

bool Open(const char* path, AviStream* avi) {
  const VideoLibraries& video = Video();
  // A path with a colon must not become a protocol, nor a file be taken for a playlist of others.
  const std::string url = std::string("file:") + path;
  const AVInputFormat* const format = video.av_find_input_format("avi");
  if (!format || video.avformat_open_input(&avi->container, url.c_str(), format, nullptr) < 0) {
    return false;
  }
  if (video.avformat_find_stream_info(avi->container, nullptr) < 0) return false;
  const int index =
      video.av_find_best_stream(avi->container, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (index < 0) return false;
  avi->stream = avi->container->streams[index];
  const AVCodec* codec = video.avcodec_find_decoder(avi->stream->codecpar->codec_id);
  if (!codec) return false;
  avi->decoder = video.avcodec_alloc_context3(codec);
  avi->packet = video.av_packet_alloc();
  avi->frame = video.av_frame_alloc();
  avi->wanted = video.av_frame_alloc();
  if (!avi->decoder || !avi->packet || !avi->frame || !avi->wanted) return false;
  return video.avcodec_parameters_to_context(avi->decoder, avi->stream->codecpar) >= 0 &&
         video.avcodec_open2(avi->decoder, codec, nullptr) >= 0;
}

std::int32_t CountFrames(const AviStream& avi) {
  const std::int64_t stated =
      avi.stream->nb_frames > 0 ? avi.stream->nb_frames : avi.stream->duration;
  return stated > 0 && stated <= INT32_MAX ? static_cast<std::int32_t>(stated) : 0;
}

/// Takes what the decoder has ready. False once a frame past `index` has been seen.
bool DrainDecoder(AviStream* avi, std::int64_t index, std::int64_t* count, bool* found) {
  const VideoLibraries& video = Video();
  while (video.avcodec_receive_frame(avi->decoder, avi->frame) >= 0) {
    const std::int64_t at = FrameIndex(*avi, *avi->frame, (*count)++);
    if (at > index) return false;
    video.av_frame_unref(avi->wanted);
    video.av_frame_move_ref(avi->wanted, avi->frame);
    *found = true;
    if (at == index) return false;
  }
  return true;
}

/// Decodes from the position in the stream up to frame `index`. A dropped frame repeats the one
/// before.
bool DecodeUpTo(AviStream* avi, std::int64_t index) {
  const VideoLibraries& video = Video();
  std::int64_t count = 0;
  bool found = false;
  bool more = true;
  while (more && video.av_read_frame(avi->container, avi->packet) >= 0) {
    if (avi->packet->stream_index == avi->stream->index) {
      video.avcodec_send_packet(avi->decoder, avi->packet);
      more = DrainDecoder(avi, index, &count, &found);
    }
    video.av_packet_unref(avi->packet);
  }
  if (more) {
    video.avcodec_send_packet(avi->decoder, nullptr);
    DrainDecoder(avi, index, &count, &found);
  }
  return found;
}

/// How a decoded frame is packed: as it is where bitmaps know its form, else as 24 bits.
struct Packing {
  AVPixelFormat format;
  std::uint16_t bits;
  std::uint32_t coloursUsed;
};

Packing PackingFor(int format) {
  if (format == AV_PIX_FMT_PAL8) return {AV_PIX_FMT_PAL8, 8, 256};
  if (format == AV_PIX_FMT_RGB555LE) return {AV_PIX_FMT_RGB555LE, 16, 0};
  return {AV_PIX_FMT_BGR24, 24, 0};
}

void WriteInfo(const AVFrame& frame, const Packing& packing, std::uint32_t imageSize,
               std::uint8_t* out) {
  const auto put32 = [out](std::size_t at, std::uint32_t value) {
    StoreU32(out + at, value, ByteOrder::little);
  };
  put32(0, kInfoSize);
  put32(4, static_cast<std::uint32_t>(frame.width));
  put32(8, static_cast<std::uint32_t>(frame.height));
  StoreU16(out + 12, 1, ByteOrder::little);  // planes
  StoreU16(out + 14, packing.bits, ByteOrder::little);
  put32(20, imageSize);
  put32(32, packing.coloursUsed);
}

/// Rows go bottom-up into the bitmap.
bool PackRows(const AVFrame& frame, const Packing& packing, std::size_t rowBytes,
              std::uint8_t* rows) {
  const auto height = static_cast<std::size_t>(frame.height);
  if (packing.format != frame.format) {
    const VideoLibraries& video = Video();
    SwsContext* const scaler = video.sws_getContext(
        frame.width, frame.height, static_cast<AVPixelFormat>(frame.format), frame.width,
        frame.height, packing.format, SWS_POINT | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr,
        nullptr, nullptr);
    if (!scaler) return false;
    std::uint8_t* const planes[1] = {rows + (height - 1) * rowBytes};
    const int strides[1] = {-static_cast<int>(rowBytes)};
    video.sws_scale(scaler, frame.data, frame.linesize, 0, frame.height, planes, strides);
    video.sws_freeContext(scaler);
    return true;
  }
  const std::size_t used = static_cast<std::size_t>(frame.width) * packing.bits / 8;
  for (std::size_t y = 0; y < height; ++y) {
    std::memcpy(rows + (height - 1 - y) * rowBytes,
                frame.data[0] + static_cast<std::ptrdiff_t>(y) * frame.linesize[0], used);
  }
  return true;
}

std::span<const std::uint8_t> Pack(AviStream* avi, const AVFrame& frame) {
  if (frame.width < 1 || frame.height < 1) return {};
  const Packing packing = PackingFor(frame.format);
  const std::uint64_t rowBytes =
      (std::uint64_t{packing.bits} * static_cast<std::uint32_t>(frame.width) + 31) / 32 * 4;
  const std::uint64_t imageSize = rowBytes * static_cast<std::uint32_t>(frame.height);
  const std::uint32_t tableSize = packing.coloursUsed ? kTableSize : 0;
  if (rowBytes > INT32_MAX || imageSize > UINT32_MAX) return {};
  // The scaler may touch a few bytes past the last row.
  TrackedBytes bitmap(kInfoSize + tableSize + imageSize + 64, "avi2");
  if (!bitmap) return {};
  WriteInfo(frame, packing, static_cast<std::uint32_t>(imageSize), bitmap.data());
  // Palette words are B, G, R, A in memory, as in a bitmap's colour table.
  if (tableSize) std::memcpy(bitmap.data() + kInfoSize, frame.data[1], tableSize);
  std::uint8_t* const rows = bitmap.data() + kInfoSize + tableSize;
  if (!PackRows(frame, packing, static_cast<std::size_t>(rowBytes), rows)) return {};
  if (avi->bitmap) FreeMem(avi->bitmap);
  const std::size_t size = bitmap.size() - 64;
  avi->bitmap = bitmap.release();
  return {avi->bitmap, size};
}

void Release(AviStream& avi) {
  const VideoLibraries& video = Video();
  if (avi.frame) video.av_frame_free(&avi.frame);
  if (avi.wanted) video.av_frame_free(&avi.wanted);
  if (avi.packet) video.av_packet_free(&avi.packet);
  if (avi.decoder) video.avcodec_free_context(&avi.decoder);
  if (avi.container) video.avformat_close_input(&avi.container);
  if (avi.bitmap) FreeMem(avi.bitmap);
}

}  // namespace

bool AviIsAvailable() {
  return Video().ready;
}

AviStream* OpenAviStream(const char* path, AviInfo* info) {
  TrackedArray<AviStream> held(1, "avi1");
  if (!held) return nullptr;
  if (!Open(path, held.data())) {
    Release(held[0]);
    return nullptr;
  }
  info->frames = CountFrames(held[0]);
  if (const AVDictionaryEntry* title =
          Video().av_dict_get(held[0].stream->metadata, "title", nullptr, 0)) {
    CopyTextCut(info->name, title->value);
  }
  return held.release();
}

std::span<const std::uint8_t> AviFrame(AviStream* stream, std::int32_t index) {
  if (index >= CountFrames(*stream)) return {};
  // Palettes come with the first packet, or where they change, and a jump would pass them over.
  if (stream->stream->codecpar->format != AV_PIX_FMT_PAL8) {
    Video().av_seek_frame(stream->container, stream->stream->index, index, AVSEEK_FLAG_BACKWARD);
  }
  if (!DecodeUpTo(stream, index)) return {};
  return Pack(stream, *stream->wanted);
}

void CloseAviStream(AviStream* stream) {
  Release(*stream);
  FreeMem(stream);
}

}  // namespace imx
