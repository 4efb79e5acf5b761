#include "formats/flic.h"

#include <algorithm>
#include <cstring>

#include "formats/codec_state.h"
#include "formats/pixel_rows.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"

namespace imx {
namespace {

constexpr std::uint32_t kHeaderSize = 128;
constexpr std::uint32_t kFrameHeaderSize = 16;
constexpr std::uint32_t kChunkHeaderSize = 6;
/// Within a frame the user is asked after every run of this many.
constexpr std::uint64_t kBytesBetweenStops = 1 << 16;
constexpr std::uint16_t kFliMagic = 0xAF11, kFlcMagic = 0xAF12, kFrameType = 0xF1FA;

enum ChunkType : std::uint16_t {
  kColour256 = 4,
  kWordDelta = 7,
  kColour64 = 11,
  kByteDelta = 12,
  kBlack = 13,
  kByteRun = 15,
  kLiteralCopy = 16,
};

struct FlicHeader {
  std::uint16_t magic = 0, frames = 0, width = 0, height = 0, depth = 0;
};

bool ReadHeader(FileReader& in, FlicHeader* h) {
  if (in.remaining() < kHeaderSize) {
    NoteFileEndedEarly();
    return false;
  }
  in.Seek(4);
  for (std::uint16_t* field : {&h->magic, &h->frames, &h->width, &h->height, &h->depth}) {
    *field = in.U16();
  }
  in.Seek(kHeaderSize);
  return h->magic == kFliMagic || h->magic == kFlcMagic;
}

/// The data of one sub-chunk, read bytewise; past its end zeros, and ended() tells.
class ChunkData {
 public:
  explicit ChunkData(std::span<const std::uint8_t> data) : data_(data) {}

  std::uint8_t U8() {
    if (at_ < data_.size()) return data_[at_++];
    ended_ = true;
    return 0;
  }
  std::int8_t I8() { return static_cast<std::int8_t>(U8()); }
  std::uint16_t U16() {
    const unsigned low = U8();
    return static_cast<std::uint16_t>(low | static_cast<unsigned>(U8()) << 8);
  }
  /// The next `count` bytes, or as many of them as there are.
  std::span<const std::uint8_t> Bytes(std::size_t count) {
    ended_ = ended_ || count > data_.size() - at_;
    const auto bytes = data_.subspan(at_, std::min(count, data_.size() - at_));
    at_ += bytes.size();
    return bytes;
  }
  bool ended() const { return ended_; }
  std::size_t size() const { return data_.size(); }

 private:
  std::span<const std::uint8_t> data_;
  std::size_t at_ = 0;
  bool ended_ = false;
};

/// The index buffer that the frames are played into.
struct Area {
  TrackedBytes bytes;
  TrackedBytes written;  // a byte for each row, set where it may hold more than black
  std::size_t width = 0, height = 0;

  const std::uint8_t* Row(std::size_t y) const { return bytes.data() + y * width; }
  /// The row, to be written to.
  std::uint8_t* Open(std::size_t y) {
    written[y] = 1;
    return bytes.data() + y * width;
  }
  /// Blackens the rows that were written since the last time, however many chunks ask for it.
  void Clear() {
    std::uint8_t* const end = written.data() + height;
    for (std::uint8_t* mark = written.data();; *mark = 0) {
      const auto rest = static_cast<std::size_t>(end - mark);
      mark = static_cast<std::uint8_t*>(std::memchr(mark, 1, rest));
      if (!mark) return;
      std::memset(bytes.data() + (height - static_cast<std::size_t>(end - mark)) * width, 0, width);
    }
  }
};

/// The library's own start index grows by the skips alone, not by the counts of earlier packets.
bool DecodeColours(ChunkData data, unsigned shift) {
  const unsigned packets = data.U16();
  PixelTable& colours = FlicColours();
  std::size_t start = 0;
  for (unsigned packet = 0; packet < packets && !data.ended(); ++packet) {
    start += data.U8();
    const unsigned stated = data.U8();
    const unsigned count = stated == 0 ? 256 : stated;
    for (unsigned i = 0; i < count && !data.ended(); ++i) {
      const auto value = [&] { return static_cast<std::uint8_t>(data.U8() << shift); };
      const std::uint8_t red = value(), green = value(), blue = value();
      if (start + i < 256 && !data.ended()) colours.Set(start + i, red, green, blue);
    }
    if (packet + 1 < packets && Quirk(kFlicColours)) start += count;
  }
  return !data.ended();
}

/// Whole frame, row by row. Stops quietly where the data end.
bool DecodeByteRun(ChunkData data, Area& area) {
  for (std::size_t y = 0; y < area.height && !data.ended(); ++y) {
    std::uint8_t* row = area.Open(y);
    data.U8();  // packet count
    for (std::size_t x = 0; x < area.width && !data.ended();) {
      const int code = data.I8();
      const std::size_t count = static_cast<std::size_t>(code < 0 ? -code : code);
      const std::span<const std::uint8_t> held = data.Bytes(code < 0 ? count : 1);
      if (code < 0) {
        std::copy_n(held.begin(), std::min(held.size(), area.width - x), row + x);
      } else if (!held.empty()) {
        std::memset(row + x, held[0], std::min(count, area.width - x));
      }
      x += count;
    }
  }
  return true;
}

/// One line of a byte delta. False when a packet runs past the row.
bool DecodeByteDeltaLine(ChunkData& data, Area& area, std::uint8_t* row, unsigned packets) {
  std::size_t x = 0;
  for (unsigned packet = 0; packet < packets && !data.ended(); ++packet) {
    x += data.U8();
    if (x >= area.width) return false;
    const int code = data.I8();
    const std::size_t count = static_cast<std::size_t>(code < 0 ? -code : code);
    const std::size_t room = area.width - x;
    if (code < 0) {
      const std::uint8_t repeated = data.U8();
      if (!data.ended()) std::memset(row + x, repeated, std::min(count, room));
    } else {
      std::ranges::copy(data.Bytes(std::min(count, room)), row + x);
    }
    if (count > room) return false;
    x += count;
  }
  return true;
}

bool DecodeByteDelta(ChunkData data, Area& area) {
  const std::size_t first = data.U16();
  const std::size_t count = data.U16();
  if (first + count > area.height) return false;
  std::size_t packetSum = 0;
  for (std::size_t y = first; y < first + count && !data.ended(); ++y) {
    const unsigned packets = data.U8();
    packetSum += packets;
    if (packets > 0 && !DecodeByteDeltaLine(data, area, area.Open(y), packets)) return false;
    if (packetSum >= data.size()) break;
  }
  return true;
}

/// One line of a word delta. Pairs at or past the row's end are not written, and a literal pair
/// that is not written is not consumed either; a packet that ends past the row ends the line.
void DecodeWordDeltaLine(ChunkData& data, Area& area, std::size_t y, unsigned packets) {
  if (packets == 0) return;
  std::uint8_t* row = area.Open(y);
  if (y + 1 < area.height) area.Open(y + 1);
  std::size_t x = 0;
  for (unsigned packet = 0; packet < packets && !data.ended(); ++packet) {
    x += data.U8();
    const int code = data.I8();
    const std::size_t count = static_cast<std::size_t>(code < 0 ? -code : code);
    // The last pair of an odd row reaches into the next row, and none behind the area.
    const std::size_t left = area.bytes.size() - std::min(area.bytes.size(), y * area.width + x);
    const std::size_t room = x < area.width ? std::min((area.width - x + 1) / 2, left / 2) : 0;
    const std::size_t written = std::min(count, room);
    if (code < 0) {
      const std::span<const std::uint8_t> pair = data.Bytes(2);
      if (data.ended()) return;
      for (std::size_t i = 0; i < written; ++i) std::memcpy(row + x + 2 * i, pair.data(), 2);
    } else {
      const std::span<const std::uint8_t> pairs = data.Bytes(2 * written);
      std::copy_n(pairs.begin(), pairs.size() / 2 * 2, row + x);
    }
    x += 2 * count;
    if (x > area.width) return;
  }
}

bool DecodeWordDelta(ChunkData data, Area& area) {
  std::uint32_t lines = data.U16();
  std::size_t y = 0;
  while (y < area.height && lines > 0 && !data.ended()) {
    const std::uint16_t word = data.U16();
    switch (word >> 14) {
      case 0:
        DecodeWordDeltaLine(data, area, y, word);
        y += 1;
        lines -= 1;
        break;
      case 1:
        return false;
      case 2:
        area.Open(y)[area.width - 1] = static_cast<std::uint8_t>(word);
        break;
      default:
        y += 0x10000u - word;  // the word's magnitude as a negative number
        lines += 1;            // for every skip, though it takes no line
        break;
    }
  }
  return true;
}

void CopyLiteral(std::span<const std::uint8_t> bytes, Area& area) {
  for (std::size_t y = 0; y < area.height && !bytes.empty(); ++y) {
    const std::size_t count = std::min(bytes.size(), area.width);
    std::memcpy(area.Open(y), bytes.data(), count);
    bytes = bytes.subspan(count);
  }
}

bool DecodeChunk(std::uint16_t type, std::span<const std::uint8_t> bytes, Area& area) {
  const ChunkData data(bytes);
  switch (type) {
    case kColour256:
      return DecodeColours(data, 0);
    case kColour64:
      return DecodeColours(data, 2);
    case kWordDelta:
      return DecodeWordDelta(data, area);
    case kByteDelta:
      return DecodeByteDelta(data, area);
    case kBlack:
      area.Clear();
      return true;
    case kByteRun:
      return DecodeByteRun(data, area);
    case kLiteralCopy:
      CopyLiteral(bytes, area);
      return true;
    default:
      return true;
  }
}

/// The frames of a file, played one after the other.
struct Player {
  FileReader& in;
  Area& area;
  std::uint64_t played = 0;  // bytes of chunks so far
};

/// Reads the sub-chunk at the position, and goes behind it. False when it cannot be decoded.
bool ReadChunk(Player& player) {
  FileReader& in = player.in;
  const std::uint64_t start = in.position();
  const std::uint32_t size = in.U32();
  const std::uint16_t type = in.U16();
  if (in.ended()) return false;
  const std::uint64_t stated = size > kChunkHeaderSize ? size - kChunkHeaderSize : 0;
  // A size that lies reaches at most to the end of the file.
  if (stated > in.remaining()) NoteFileEndedEarly();
  const std::uint64_t held = std::min(stated, in.remaining());
  // Frames that lie over each other could play the same bytes without end.
  player.played += kChunkHeaderSize + held;
  if (player.played > in.size()) return false;
  TrackedBytes data(held, "dptr");
  if (!data) return false;
  in.Read(data.data(), data.size());
  const bool decoded = DecodeChunk(type, data.span(), player.area);
  in.Seek(std::min(start + std::max<std::uint64_t>(size, kChunkHeaderSize), in.size()));
  return decoded;
}

/// Reads the sub-chunks of frame k, asking the user between long ones.
Rows PlayChunks(Player& player, std::int32_t k, std::uint16_t chunks) {
  std::uint64_t nextStop = player.played + kBytesBetweenStops;
  for (std::uint16_t chunk = 0; chunk < chunks; ++chunk) {
    if (!ReadChunk(player)) return Rows::ended;
    if (player.played < nextStop) continue;
    if (ProgressUpdateAbort(k) != 0) return Rows::stopped;
    nextStop = player.played + kBytesBetweenStops;
  }
  return Rows::done;
}

/// Plays frame k, the next one, into the area.
Rows PlayFrame(Player& player, std::int32_t k) {
  FileReader& in = player.in;
  std::uint64_t start = in.position();
  std::uint32_t size = in.U32();
  std::uint16_t type = in.U16();
  std::uint16_t chunks = in.U16();
  // Chunks of other kinds come before some first frames.
  while (type != kFrameType && chunks != 0 && !in.ended()) {
    start += std::max(size, kFrameHeaderSize);
    in.Seek(start);
    size = in.U32();
    type = in.U16();
    chunks = in.U16();
  }
  in.Seek(start + kFrameHeaderSize);
  if (in.ended()) return Rows::ended;
  if (type == kFrameType) {
    const Rows end = PlayChunks(player, k, chunks);
    if (end != Rows::done) return end;
  }
  in.Seek(std::min(start + std::max(size, kFrameHeaderSize), in.size()));
  return Rows::done;
}

/// Plays frames 0 .. last, or those that can be decoded. False on a stop.
bool PlayFrames(FileReader& in, std::int32_t last, Area& area) {
  ProgressScope progress("Loading AutoDesk FLIC", last + 1, 1);
  Player player{in, area};
  Rows end = Rows::done;
  const Rows frames = ForEachRow(last + 1, 1, [&](std::int32_t k) {
    end = PlayFrame(player, k);
    return end == Rows::done;
  });
  return frames != Rows::stopped && end != Rows::stopped;
}

/// Whether a row shows nothing but black in the colour of index 0, as rows without data do. Their
/// pixels are 0 already, and are left untouched however many the header promises.
bool StaysBlack(const std::uint8_t* indices, std::size_t width) {
  return FlicColours().pixel[0] == 0 && indices[0] == 0 &&
         std::memcmp(indices, indices + 1, width - 1) == 0;
}

}  // namespace

ImageRecord* LoadFlic(const char* path) {
  FileReader in(path);
  SetFileByteOrder(ByteOrder::little);
  FlicHeader header;
  if (!in.ok() || !ReadHeader(in, &header)) return nullptr;
  SequenceState& sequence = Sequence();
  sequence.frameCount = header.frames;
  if (sequence.chosenFrame < 0) {
    sequence.frameWanted = true;
    return nullptr;
  }
  ImageGuard image(AllocImage(header.width, header.height, "iflc", nullptr));
  if (!image) return nullptr;
  image->frame = sequence.chosenFrame + 1;  // as asked for, also past the end
  CopyText(image->formatLabel, "FLI/FLC");
  image->depth = header.depth ? header.depth : 8;
  if (HeaderOnly()) return image.release();
  Area area;
  area.width = header.width;
  area.height = header.height;
  area.bytes = TrackedBytes(image->pixelCount, "area");
  area.written = TrackedBytes(header.height, "area rows");
  if (!area.bytes || !area.written) return nullptr;
  if (Quirk(kFlicColours)) FlicColours() = {};
  const std::int32_t last = std::min<std::int32_t>(sequence.chosenFrame, header.frames - 1);
  const bool stopped = !PlayFrames(in, last, area);
  if (in.ended()) NoteFileEndedEarly();
  if (stopped) return image.release();
  KeepPalette(FlicColours(), kPaletteSize, image.get());
  ProgressScope progress("Converting FLIC", header.height, 4);
  ForEachRow(header.height, 4, [&](std::int32_t y) {
    const std::uint8_t* indices = area.Row(static_cast<std::size_t>(y));
    if (!StaysBlack(indices, area.width)) {
      RowFromIndices(indices, FlicColours(), PixelRow(*image, y), area.width);
    }
    return true;
  });
  return image.release();
}

}  // namespace imx
