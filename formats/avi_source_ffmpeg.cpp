#include <dlfcn.h>

#include <algorithm>
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
  X(av_read_frame)              \
  X(av_seek_frame)              \
  X(avio_size)                  \
  X(avformat_close_input)
#define IMX_CODEC_FUNCTIONS(X)     \
  X(avcodec_find_decoder)          \
  X(avcodec_descriptor_get)        \
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
constexpr std::size_t kTableEntry = 4;

/// No coding makes more pixels of a byte: a blank run-length frame comes near it.
constexpr std::uint64_t kMostPixelsForByte = 65536;

// Nothing below is reached before the libraries were found to be ready, which the analyser cannot
// see. NOLINTBEGIN(clang-analyzer-core.CallAndMessage)

/// Which frame each decoded picture is. Packets are numbered in the order of coding, pictures come
/// out in the order of display: each takes the lowest number that is left.
class FrameNumbers {
 public:
  explicit FrameNumbers(bool reordered) : reordered_(reordered) {}

  void Sent(std::int64_t number) {
    if (!reordered_) size_ = given_ = 0;
    if (size_ == kWindow) {
      // What has not come out by now never will: a frame that leans on one before a jump.
      if (shown_[0] && given_ > 0) --given_;
      std::copy(numbers_ + 1, numbers_ + size_, numbers_);
      std::copy(shown_ + 1, shown_ + size_, shown_);
      --size_;
    }
    numbers_[size_] = number;
    shown_[size_++] = false;
  }

  /// The number of the picture whose packet was `packet`.
  std::int64_t Take(std::int64_t packet) {
    for (std::size_t i = 0; i < size_; ++i) shown_[i] = shown_[i] || numbers_[i] == packet;
    return given_ < size_ ? numbers_[given_++] : packet;
  }

  /// No coding delays a picture by more packets.
  static constexpr std::size_t kWindow = 32;

 private:
  bool reordered_;
  std::int64_t numbers_[kWindow] = {};  // of the last packets, ascending
  bool shown_[kWindow] = {};            // their pictures came out
  std::size_t size_ = 0;
  std::size_t given_ = 0;  // numbers that pictures have taken
};

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

AVStream* FirstVideo(const AVFormatContext& container) {
  for (unsigned i = 0; i < container.nb_streams; ++i) {
    AVStream* const stream = container.streams[i];
    if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO) return stream;
  }
  return nullptr;
}

bool IsReordered(const AviStream& avi) {
  const AVCodecDescriptor* const codec =
      Video().avcodec_descriptor_get(avi.stream->codecpar->codec_id);
  return codec && (codec->props & AV_CODEC_PROP_REORDER) != 0;
}

/// Holds the decoder to the size that the file states, and that to what a file of `fileSize` bytes
/// can hold.
bool BoundPixels(AviStream* avi, std::uint64_t fileSize) {
  constexpr std::int64_t kEdge = 256;  // decoders round sides up and add edges
  const AVCodecParameters& stated = *avi->stream->codecpar;
  if (stated.width < 1 || stated.height < 1) return false;
  const std::int64_t pixels = std::int64_t{stated.width} * stated.height;
  if (static_cast<std::uint64_t>(pixels) / kMostPixelsForByte > fileSize) return false;
  avi->decoder->max_pixels = (stated.width + kEdge) * (stated.height + kEdge);
  return true;
}

bool Open(const char* path, AviStream* avi) {
  const VideoLibraries& video = Video();
  // A path with a colon must not become a protocol, nor a file be taken for a playlist of others.
  const std::string url = std::string("file:") + path;
  const AVInputFormat* const format = video.av_find_input_format("avi");
  if (!format || video.avformat_open_input(&avi->container, url.c_str(), format, nullptr) < 0) {
    return false;
  }
  avi->stream = FirstVideo(*avi->container);
  if (!avi->stream) return false;
  const AVCodec* codec = video.avcodec_find_decoder(avi->stream->codecpar->codec_id);
  if (!codec) return false;
  avi->decoder = video.avcodec_alloc_context3(codec);
  avi->packet = video.av_packet_alloc();
  avi->frame = video.av_frame_alloc();
  avi->wanted = video.av_frame_alloc();
  if (!avi->decoder || !avi->packet || !avi->frame || !avi->wanted) return false;
  const std::int64_t fileSize = video.avio_size(avi->container->pb);
  return video.avcodec_parameters_to_context(avi->decoder, avi->stream->codecpar) >= 0 &&
         BoundPixels(avi, fileSize > 0 ? static_cast<std::uint64_t>(fileSize) : 0) &&
         video.avcodec_open2(avi->decoder, codec, nullptr) >= 0;
}

std::int32_t CountFrames(const AviStream& avi) {
  const std::int64_t stated =
      avi.stream->nb_frames > 0 ? avi.stream->nb_frames : avi.stream->duration;
  return stated > 0 && stated <= INT32_MAX ? static_cast<std::int32_t>(stated) : 0;
}

/// Takes what the decoder has ready. False once frame `index`, or one past it, has been seen.
bool DrainDecoder(AviStream* avi, std::int64_t index, FrameNumbers* numbers, bool* found) {
  const VideoLibraries& video = Video();
  while (video.avcodec_receive_frame(avi->decoder, avi->frame) >= 0) {
    const std::int64_t at = numbers->Take(avi->frame->pts);
    if (at > index) return false;
    video.av_frame_unref(avi->wanted);
    video.av_frame_move_ref(avi->wanted, avi->frame);
    *found = true;
    if (at == index) return false;
  }
  return true;
}

/// Whether the packet is a frame that the decoder should see. The decoders for plain frames show
/// memory of their own in place of what a short one lacks.
bool IsFrame(const AviStream& avi) {
  const AVCodecParameters& stated = *avi.stream->codecpar;
  if (avi.packet->stream_index != avi.stream->index || avi.packet->size <= 0) return false;
  if (stated.codec_id != AV_CODEC_ID_RAWVIDEO) return true;
  const std::int64_t bits = std::int64_t{stated.width} * stated.bits_per_coded_sample;
  return avi.packet->size >= (bits + 7) / 8 * stated.height;
}

/// Decodes from the position in the stream up to frame `index`. A dropped frame repeats the one
/// before.
bool DecodeUpTo(AviStream* avi, std::int64_t index) {
  const VideoLibraries& video = Video();
  FrameNumbers numbers(IsReordered(*avi));
  std::int64_t next = 0;
  bool found = false;
  bool more = true;
  while (more && video.av_read_frame(avi->container, avi->packet) >= 0) {
    if (IsFrame(*avi)) {
      if (avi->packet->dts != AV_NOPTS_VALUE) next = avi->packet->dts;
      numbers.Sent(next);
      avi->packet->pts = next++;
      video.avcodec_send_packet(avi->decoder, avi->packet);
      more = DrainDecoder(avi, index, &numbers, &found);
    }
    video.av_packet_unref(avi->packet);
  }
  if (more) {
    video.avcodec_send_packet(avi->decoder, nullptr);
    DrainDecoder(avi, index, &numbers, &found);
  }
  return found;
}

/// Goes to a whole frame from which `index` can be reached.
void SeekBefore(AviStream* avi, std::int64_t index) {
  // Palettes come with the first packet, or where they change, and a jump would pass them over.
  if (avi->stream->codecpar->bits_per_coded_sample <= 8) return;
  // Behind a jump it takes some frames until the numbers are right again.
  if (IsReordered(*avi)) index -= 2 * static_cast<std::int64_t>(FrameNumbers::kWindow);
  if (index <= 0) return;
  Video().av_seek_frame(avi->container, avi->stream->index, index, AVSEEK_FLAG_BACKWARD);
}

/// How a decoded frame is packed: as it is where bitmaps know its form, else as 24 bits.
struct Packing {
  AVPixelFormat format;
  std::uint16_t bits;
  std::uint32_t coloursUsed;
};

/// Colours up to the last one that the file gives: only those are opaque.
std::uint32_t ColoursGiven(const std::uint8_t* palette) {
  std::uint32_t count = 256;
  while (count > 0 && palette[kTableEntry * count - 1] == 0) --count;
  return count;
}

Packing PackingFor(const AVFrame& frame) {
  if (frame.format == AV_PIX_FMT_PAL8) return {AV_PIX_FMT_PAL8, 8, ColoursGiven(frame.data[1])};
  if (frame.format == AV_PIX_FMT_RGB555LE) return {AV_PIX_FMT_RGB555LE, 16, 0};
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
  const Packing packing = PackingFor(frame);
  const std::uint64_t rowBytes =
      (std::uint64_t{packing.bits} * static_cast<std::uint32_t>(frame.width) + 31) / 32 * 4;
  const std::uint64_t imageSize = rowBytes * static_cast<std::uint32_t>(frame.height);
  const std::size_t tableSize = kTableEntry * packing.coloursUsed;
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

/// Gives back what the libraries hold.
void EndDecoding(AviStream& avi) {
  const VideoLibraries& video = Video();
  if (avi.frame) video.av_frame_free(&avi.frame);
  if (avi.wanted) video.av_frame_free(&avi.wanted);
  if (avi.packet) video.av_packet_free(&avi.packet);
  if (avi.decoder) video.avcodec_free_context(&avi.decoder);
  if (avi.container) video.avformat_close_input(&avi.container);
}

void Release(AviStream& avi) {
  EndDecoding(avi);
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
  const AVCodecParameters& stated = *stream->stream->codecpar;
  // What the libraries take counts like the library's own memory while they work: two frames, or
  // those that others lean on.
  const std::uint64_t bytesForPixel = IsReordered(*stream) ? 8 : 4;
  const TrackedBytes theirs(bytesForPixel * static_cast<std::uint32_t>(stated.width) *
                                static_cast<std::uint32_t>(stated.height),
                            "avi3");
  if (!theirs) return {};
  SeekBefore(stream, index);
  if (!DecodeUpTo(stream, index)) return {};
  const std::span<const std::uint8_t> bitmap = Pack(stream, *stream->wanted);
  EndDecoding(*stream);
  return bitmap;
}

void CloseAviStream(AviStream* stream) {
  Release(*stream);
  FreeMem(stream);
}

}  // namespace imx

// NOLINTEND(clang-analyzer-core.CallAndMessage)
