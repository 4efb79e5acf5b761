#include "formats/sgi.h"

#include <algorithm>
#include <cstring>

#include "formats/codec_state.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"

namespace imx {
namespace {

constexpr std::uint32_t kHeaderSize = 512;
constexpr std::uint16_t kMagic = 474;
constexpr std::size_t kNameSize = 80;
constexpr std::size_t kLongestName = 78;
constexpr std::size_t kReservedSize = 404;
constexpr std::uint8_t kVerbatim = 0, kRunLength = 1;
constexpr unsigned kCountMask = 0x7F, kLiteralBit = 0x80;
constexpr std::size_t kShortestPacked = 4;  // shorter scanlines are written as they are

struct SgiHeader {
  std::uint16_t magic = kMagic;
  std::uint8_t storage = kVerbatim, sampleBytes = 1;
  std::uint16_t dimension = 3, width = 0, height = 0, channels = 0;
  std::int32_t pixMin = 0, pixMax = 255, reserved = 0;
  char name[kNameSize] = {};
  std::int32_t colourMap = 0;
};

/// Visits the header's fields in file order, with callables for each width and for the name.
template <typename Header, typename Byte, typename Word, typename Long, typename Bytes>
void HeaderFields(Header& h, Byte byte, Word word, Long number, Bytes bytes) {
  word(h.magic), byte(h.storage), byte(h.sampleBytes);
  word(h.dimension), word(h.width), word(h.height), word(h.channels);
  number(h.pixMin), number(h.pixMax), number(h.reserved);
  bytes(h.name);
  number(h.colourMap);
}

/// Repairs what can be repaired; false for what cannot be read.
bool CheckHeader(SgiHeader* h) {
  if (h->magic != kMagic || h->storage > kRunLength) return false;
  if (h->sampleBytes != 1 && h->sampleBytes != 2) return false;
  if (h->dimension != 2 && h->dimension != 3) return false;
  if (h->dimension == 2 && h->channels == 2) {
    LibError("Bad SGI image header; attempting repair: Synbthsizing Z from Dim");
    h->channels = 1;
  }
  if (h->channels != 1 && h->channels != 3 && h->channels != 4) return false;
  if (h->pixMax == h->pixMin && h->colourMap < 2) {
    LibError("Bad SGI image header; attempting repair: Synthesizing PixMax,PixMin");
    h->pixMax = 255;
    h->pixMin = 0;
  }
  return h->colourMap == 0 || h->colourMap == 1;
}

bool ReadHeader(FileReader& in, SgiHeader* h) {
  if (in.remaining() < kHeaderSize) {
    NoteFileEndedEarly();
    return false;
  }
  HeaderFields(
      *h, [&in](std::uint8_t& field) { field = in.U8(); },
      [&in](std::uint16_t& field) { field = in.U16(); },
      [&in](std::int32_t& field) { field = static_cast<std::int32_t>(in.U32()); },
      [&in](auto& field) { in.Read(field, sizeof field); });
  in.Seek(kHeaderSize);
  if (!CheckHeader(h)) return false;
  const std::int32_t most = h->sampleBytes == 1 ? 255 : 65535;
  if ((h->pixMin != 0 || h->pixMax != most) && Quirk(kSgiFullRange)) {
    h->pixMin = 0;
    h->pixMax = most;
  }
  return true;
}

/// Maps samples onto bytes: (sample - pixMin) * scale, all in single precision, truncated.
class SampleScale {
 public:
  explicit SampleScale(const SgiHeader& h)
      : minimum_(h.pixMin), scale_(255.0f / static_cast<float>(std::int64_t{h.pixMax} - h.pixMin)) {
    for (unsigned sample = 0; sample < 256; ++sample) bytes_[sample] = Compute(sample);
  }

  std::uint8_t Byte(std::uint8_t sample) const { return bytes_[sample]; }
  std::uint8_t Word(const std::uint8_t* sample) const {
    return Compute(LoadU16(sample, ByteOrder::big));
  }

 private:
  std::uint8_t Compute(unsigned sample) const {
    const float value = static_cast<float>(std::int64_t{sample} - minimum_) * scale_;
    // Beyond 32 bits there is nothing to truncate to; the low byte counts below that.
    if (!(value > -2147483648.0f && value < 2147483648.0f)) return 0;
    return static_cast<std::uint8_t>(static_cast<std::int32_t>(value));
  }

  std::int64_t minimum_;
  float scale_;
  std::uint8_t bytes_[256];
};

/// Stores a scanline's bytes into one channel, or grey into three.
void StoreScanline(const std::uint8_t* bytes, std::int32_t width, bool grey, std::uint8_t* pixels) {
  for (std::int32_t x = 0; x < width; ++x, pixels += 4) {
    pixels[0] = bytes[x];
    if (grey) pixels[1] = pixels[2] = bytes[x];
  }
}

/// Everything that reading scanlines needs.
struct SgiScan {
  FileReader& in;
  const SgiHeader& header;
  const SampleScale& scale;
  ImageRecord* image;

  bool IsGrey() const { return header.channels == 1; }
  std::uint8_t* Pixels(std::int32_t channel, std::int32_t y) const {
    return PixelRow(*image, y) + channel;
  }
};

/// Visits the scanlines of `channels` channels in file order with (channel, scanline); before each
/// the position is reported.
template <typename Visit>
Rows ForEachScanline(std::int32_t channels, std::int32_t height, Visit visit) {
  return ForEachRow(channels * height, 1,
                    [&](std::int32_t i) { return visit(i / height, i % height); });
}

bool ReadVerbatim(const SgiScan& scan) {
  const std::size_t width = scan.header.width;
  TrackedBytes samples(std::uint64_t{scan.header.sampleBytes} * width, "SGI Scan Buffer");
  TrackedBytes bytes(width, "SGI Scan Buffer");
  if (!samples || !bytes) return false;
  const std::int32_t height = scan.header.height;
  return ForEachScanline(scan.header.channels, height, [&](std::int32_t channel, std::int32_t k) {
           if (!scan.in.ReadAll(samples.data(), samples.size())) return false;
           for (std::size_t x = 0; x < width; ++x) {
             bytes[x] = scan.header.sampleBytes == 1 ? scan.scale.Byte(samples[x])
                                                     : scan.scale.Word(&samples[2 * x]);
           }
           StoreScanline(bytes.data(), scan.header.width, scan.IsGrey(),
                         scan.Pixels(channel, height - 1 - k));
           return true;
         }) == Rows::done;
}

/// Decodes one run-length scanline of `bytesPerSample` into `width` scaled bytes. True when it
/// holds exactly that many.
template <int bytesPerSample>
bool DecodeScanline(const std::uint8_t* data, std::size_t size, const SampleScale& scale,
                    TrackedBytes& bytes) {
  const auto sample = [&scale](const std::uint8_t* at) {
    return bytesPerSample == 1 ? scale.Byte(*at) : scale.Word(at);
  };
  const std::uint8_t* const end = data + size / bytesPerSample * bytesPerSample;
  std::size_t done = 0;
  while (data < end) {
    const unsigned packet = bytesPerSample == 1 ? *data : LoadU16(data, ByteOrder::big);
    const std::size_t count = packet & kCountMask;
    data += bytesPerSample;
    if (count == 0) break;
    if (count > bytes.size() - done) return false;
    const bool literal = (packet & kLiteralBit) != 0;
    const std::size_t held = literal ? count : 1;
    if (static_cast<std::size_t>(end - data) < held * bytesPerSample) return false;
    if (literal) {
      for (std::size_t i = 0; i < count; ++i) bytes[done + i] = sample(data + i * bytesPerSample);
    } else {
      std::memset(&bytes[done], sample(data), count);
    }
    data += held * bytesPerSample;
    done += count;
  }
  return done == bytes.size();
}

/// The longest data of one scanline that can still be right: a packet for each sample, and the end.
std::size_t LongestScanline(const SgiHeader& h) {
  return (std::size_t{2} * h.width + 1) * h.sampleBytes;
}

TrackedBytes ReadTable(FileReader& in, std::uint64_t entries, const char* label) {
  if (4 * entries > in.remaining()) {
    NoteFileEndedEarly();
    return {};
  }
  TrackedBytes table(4 * entries, label);
  if (table) in.Read(table.data(), table.size());
  return table;
}

Rows ReadRunLength(const SgiScan& scan) {
  const SgiHeader& h = scan.header;
  const std::uint64_t entries = std::uint64_t{h.channels} * h.height;
  const TrackedBytes offsets = ReadTable(scan.in, entries, "SGI Offset Positions Table");
  const TrackedBytes lengths = ReadTable(scan.in, entries, "SGI Lengths Table");
  TrackedBytes data(LongestScanline(h),
                    h.sampleBytes == 1 ? "SGI 8-bit Scan Buffer" : "SGI 16-bit Scan Buffer");
  TrackedBytes bytes(h.width, "SGI Scan Buffer");
  if (!offsets || !lengths || !data || !bytes) return Rows::ended;
  // Of run-length files with 2-byte samples only the first channel is read, into red alone.
  const bool firstAlone = h.sampleBytes == 2 && !QuirkShown(kSgiWideRuns);
  const std::int32_t channels = firstAlone ? 1 : h.channels;
  const bool grey = scan.IsGrey() && !firstAlone;
  return ForEachScanline(channels, h.height, [&](std::int32_t channel, std::int32_t y) {
    const std::size_t entry = 4 * (static_cast<std::size_t>(channel) * h.height +
                                   static_cast<std::size_t>(h.height - 1 - y));
    const std::size_t length =
        std::min<std::size_t>(LoadU32(&lengths[entry], ByteOrder::big), data.size());
    scan.in.Seek(LoadU32(&offsets[entry], ByteOrder::big));
    if (!scan.in.ReadAll(data.data(), length)) return false;
    const bool whole = h.sampleBytes == 1
                           ? DecodeScanline<1>(data.data(), length, scan.scale, bytes)
                           : DecodeScanline<2>(data.data(), length, scan.scale, bytes);
    if (whole) StoreScanline(bytes.data(), h.width, grey, scan.Pixels(channel, y));
    return whole;
  });
}

// Saving.

/// Length of the run of three or more equal bytes that starts at `at`, at most 127; 0 for none.
std::size_t RunAt(const std::uint8_t* bytes, std::size_t count, std::size_t at) {
  if (at + 2 >= count || bytes[at] != bytes[at + 1] || bytes[at] != bytes[at + 2]) return 0;
  std::size_t run = 3;
  while (run < kCountMask && at + run < count && bytes[at + run] == bytes[at]) ++run;
  return run;
}

/// Packs one scanline into `out` (room for 3 * count + 2 bytes). Bytes written.
std::size_t EncodeScanline(const std::uint8_t* bytes, std::size_t count, std::uint8_t* out) {
  std::uint8_t* const start = out;
  const auto literal = [&](std::size_t first, std::size_t length) {
    *out++ = static_cast<std::uint8_t>(length | kLiteralBit);
    std::memcpy(out, bytes + first, length);
    out += length;
  };
  std::size_t at = 0;
  if (count < kShortestPacked) {
    literal(0, count);
    at = count;
  }
  while (at < count) {
    if (const std::size_t run = RunAt(bytes, count, at)) {
      *out++ = static_cast<std::uint8_t>(run);
      *out++ = bytes[at];
      at += run;
      continue;
    }
    const std::size_t first = at;
    while (at < count && at - first < kCountMask && RunAt(bytes, count, at) == 0) ++at;
    literal(first, at - first);
  }
  *out++ = 0;
  return static_cast<std::size_t>(out - start);
}

std::uint16_t ChannelCount(const ImageRecord& image, std::int32_t bits) {
  if (bits == 32) return image.flags & kFlagAlpha ? 4 : 3;
  return bits == 24 ? 3 : 1;
}

bool WriteHeader(FileWriter& out, const ImageRecord& image, const char* path,
                 std::uint16_t channels, std::int32_t compress) {
  SgiHeader h;
  h.storage = compress ? kRunLength : kVerbatim;
  h.dimension = channels == 1 ? 2 : 3;
  h.width = static_cast<std::uint16_t>(image.width);
  h.height = static_cast<std::uint16_t>(image.height);
  h.channels = channels;
  if (std::strlen(path) <= kLongestName) std::memcpy(h.name, path, std::strlen(path));
  HeaderFields(
      h, [&out](std::uint8_t field) { out.U8(field); },
      [&out](std::uint16_t field) { out.U16(field); },
      [&out](std::int32_t field) { out.U32(static_cast<std::uint32_t>(field)); },
      [&out](const auto& field) { out.Write(field, sizeof field); });
  return out.Zeros(kReservedSize);
}

/// One channel of a row; for one-channel files grey at 8 bits and red at other depths.
void ExtractChannel(const std::uint8_t* pixels, std::int32_t width, std::int32_t channel, bool grey,
                    std::uint8_t* bytes) {
  for (std::int32_t x = 0; x < width; ++x, pixels += 4) {
    bytes[x] =
        grey ? static_cast<std::uint8_t>((pixels[0] + pixels[1] + pixels[2]) / 3) : pixels[channel];
  }
}

/// What run-length saving keeps beside the pixels: the packed scanline and, as they lie in the
/// file, the table of offsets with that of lengths behind it.
struct RunLengthTables {
  TrackedBytes packed;
  TrackedBytes table;
  std::size_t entries = 0;

  bool Allocate(std::uint64_t width, std::uint64_t count) {
    packed = TrackedBytes(3 * width + 2, "SGI save scan RLE buffer");
    table = TrackedBytes(8 * count, "SGI save offset table");
    entries = static_cast<std::size_t>(count);
    return packed && table;
  }

  void Set(std::size_t entry, std::uint64_t offset, std::size_t length) {
    StoreU32(&table[4 * entry], static_cast<std::uint32_t>(offset), ByteOrder::big);
    StoreU32(&table[4 * (entries + entry)], static_cast<std::uint32_t>(length), ByteOrder::big);
  }
};

}  // namespace

ImageRecord* LoadSgi(const char* path) {
  FileReader in(path);
  SetFileByteOrder(ByteOrder::big);
  SgiHeader header;
  if (!in.ok() || !ReadHeader(in, &header)) return nullptr;
  ImageGuard image(AllocImage(header.width, header.height, "sgi", nullptr));
  if (!image) return nullptr;
  if (header.channels == 4) image->flags |= kFlagAlpha;
  image->depth = 8u * header.sampleBytes * header.channels;
  if (HeaderOnly()) return image.release();
  const SampleScale scale(header);
  const SgiScan scan{in, header, scale, image.get()};
  ProgressScope progress("Reading SGI Image", header.channels * header.height, 1);
  if (header.storage == kVerbatim) return ReadVerbatim(scan) ? image.release() : nullptr;
  // A stop keeps what was read of a run-length file, unlike a verbatim one.
  return ReadRunLength(scan) == Rows::ended ? nullptr : image.release();
}

void SaveSgi(const ImageRecord* image, const char* path, std::int32_t bits, std::int32_t compress) {
  if (!image || !path || path[0] == 0) return;
  if (image->width > UINT16_MAX || image->height > UINT16_MAX) {
    LibError("An SGI file holds at most 65535 x 65535 pixels");
    return;
  }
  const std::uint16_t channels = ChannelCount(*image, bits);
  const std::int32_t height = image->height;
  const auto width = static_cast<std::size_t>(image->width);
  const std::uint64_t entries = std::uint64_t{channels} * static_cast<std::uint32_t>(height);
  RunLengthTables tables;
  if (compress && !tables.Allocate(width, entries)) return;
  TrackedBytes bytes(width, "SGI save pixel scan buffer");
  if (!bytes) return;

  FileWriter out(path);
  SetFileByteOrder(ByteOrder::big);
  const char* name = Output().finalPath ? Output().finalPath : path;
  if (!WriteHeader(out, *image, name, channels, compress)) return;
  if (compress) out.Zeros(tables.table.size());
  ProgressScope progress("Saving SGI Image", channels * height, 1);
  const Rows end = ForEachScanline(channels, height, [&](std::int32_t channel, std::int32_t k) {
    ExtractChannel(PixelRow(*image, height - 1 - k), image->width, channel, bits == 8,
                   bytes.data());
    if (!compress) return out.Write(bytes.data(), width);
    const auto entry = static_cast<std::size_t>(channel * height + k);
    const std::size_t length = EncodeScanline(bytes.data(), width, tables.packed.data());
    tables.Set(entry, out.position(), length);
    return out.Write(tables.packed.data(), length);
  });
  if (end != Rows::done) return;
  if (compress && !out.Patch(kHeaderSize, tables.table.data(), tables.table.size())) return;
  out.Finish();
}

}  // namespace imx
