#include "formats/softimage.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "formats/pixel_rows.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"

namespace imx {
namespace {

constexpr std::uint8_t kMagic[4] = {0x53, 0x80, 0xF6, 0x34};
constexpr char kId[4] = {'P', 'I', 'C', 'T'};
constexpr std::uint64_t kIdOffset = 88;
static_assert(kIdOffset + sizeof kId == kSoftimageStartSize);
constexpr std::size_t kHeaderSize = 104;
constexpr std::size_t kCommentSize = 80;
constexpr char kWrittenComment[kCommentSize] = "Written by Quillmark IMX";
constexpr std::uint16_t kMostFields = 3;
constexpr std::uint8_t kColourMask = 0xE0, kAlphaMask = 0x10;
constexpr std::uint8_t kChannelBits = 8;
constexpr std::uint8_t kUncompressed = 0, kPureRuns = 1, kMixedRuns = 2;
constexpr std::size_t kPacketBytes = 4;
constexpr std::size_t kMostSamples = 8;  ///< bytes of a pixel: four channels of 16 bits
constexpr unsigned kLongCount = 128;

/// How one packet stores its channels.
struct Packet {
  std::uint8_t chained = 0, size = kChannelBits, type = kUncompressed, channels = 0;

  bool Has(unsigned channel) const { return (channels >> (7 - channel) & 1) != 0; }
  /// Bytes of a pixel.
  std::size_t Samples() const {
    std::size_t count = 0;
    for (unsigned channel = 0; channel < 4; ++channel) count += Has(channel) ? 1u : 0u;
    return count * (std::size_t{size} / kChannelBits);
  }
};

/// Says what went wrong, and answers false.
bool Fail(const std::string& what) {
  LibError(("Softimage loader: " + what).c_str());
  return false;
}

bool ReadStart(FileReader& in) {
  std::uint8_t magic[sizeof kMagic];
  if (!in.ReadAll(magic, sizeof magic)) return Fail("could not read magic number");
  if (std::memcmp(magic, kMagic, sizeof magic) != 0) {
    return Fail("magic number does not validate");
  }
  in.F32();  // version
  char comment[kCommentSize];
  if (!in.ReadAll(comment, sizeof comment)) return Fail("could not read file comment");
  char id[sizeof kId];
  if (!in.ReadAll(id, sizeof id)) return Fail("could not read ID");
  return std::memcmp(id, kId, sizeof id) == 0 || Fail("ID string failed to validate");
}

bool ReadSize(FileReader& in, std::int32_t* width, std::int32_t* height) {
  *width = in.U16();
  *height = in.U16();
  if (*width == 0 || *height == 0 || in.ended()) {
    return Fail("width and/or height illegal or unreadable");
  }
  in.F32();  // aspect ratio
  const std::uint16_t fields = in.U16();
  in.U16();  // pad
  if (in.ended()) return Fail("could not read header pad");
  if (fields > kMostFields) {
    return Fail("unknown field type: \"" + std::to_string(fields) + "\"");
  }
  return true;
}

bool ReadPacket(FileReader& in, const std::string& which, Packet* packet) {
  const std::pair<std::uint8_t*, const char*> fields[] = {{&packet->chained, "chained info"},
                                                          {&packet->size, "size info"},
                                                          {&packet->type, "type info"},
                                                          {&packet->channels, "specification"}};
  for (const auto& [field, name] : fields) {
    if (!in.ReadAll(field, 1)) return Fail("could not read " + which + " channel " + name);
  }
  return true;
}

/// Reads one packet of colour or two and puts colour before alpha, whichever comes first in the
/// list.
bool ReadUsualPackets(FileReader& in, std::vector<Packet>& packets) {
  packets.resize(1);
  if (!ReadPacket(in, "first", &packets[0])) return false;
  packets.resize(packets[0].chained ? 2 : 1);
  Packet* const colour = &packets[0];
  if (packets.size() == 2) {
    Packet* const alpha = &packets[1];
    if (!ReadPacket(in, "second", alpha)) return false;
    if (alpha->chained) return Fail("unknown Softimage file format - more than two channels");
    if (colour->channels == kAlphaMask) {
      if (alpha->channels != kColourMask) return Fail("incomprehensible channel format (1)");
      std::swap(*colour, *alpha);
    }
    if (colour->channels != kColourMask) return Fail("incomprehensible channel format (2)");
    if (alpha->channels != kAlphaMask) return Fail("incomprehensible channel format (3)");
    if (alpha->size != kChannelBits) return Fail("Alpha channel not 8 bit");
  }
  colour->channels = kColourMask;  // whatever the mask of a single packet
  return colour->size == kChannelBits || Fail("RGB channel not 8 bit");
}

/// The packets as they stand in the list, as far as it is there.
std::vector<Packet> ListPackets(FileReader& in) {
  std::vector<Packet> packets;
  bool more = true;
  while (more && in.remaining() >= kPacketBytes) {
    Packet& packet = packets.emplace_back();
    more = ReadPacket(in, "listed", &packet) && packet.chained != 0;
  }
  return packets;
}

/// Whether colour comes first and whole, then alpha or nothing, in the usual codes.
bool AreUsual(const std::vector<Packet>& packets) {
  if (packets.empty() || packets.size() > 2) return false;
  for (std::size_t i = 0; i < packets.size(); ++i) {
    const Packet& packet = packets[i];
    if (packet.size != kChannelBits || packet.type == kPureRuns || packet.type > kMixedRuns) {
      return false;
    }
    if (packet.channels != (i == 0 ? kColourMask : kAlphaMask)) return false;
  }
  return true;
}

/// False when a packet is of no known kind. Each takes something of every row, so that the file's
/// size bounds the work.
bool CheckPackets(const std::vector<Packet>& packets) {
  if (packets.empty()) return Fail("could not read first channel chained info");
  for (const Packet& packet : packets) {
    const bool sizeIsKnown = packet.size == kChannelBits || packet.size == 2 * kChannelBits;
    if (!sizeIsKnown || packet.type > kMixedRuns || packet.Samples() == 0) {
      return Fail("incomprehensible channel format");
    }
  }
  return !packets.back().chained || Fail("could not read last channel chained info");
}

/// The packets in the order of their data. `*pureRuns` tells whether type 1 has a code of its own.
bool ReadPackets(FileReader& in, std::vector<Packet>* packets, bool* pureRuns) {
  const std::uint64_t start = in.position();
  *packets = ListPackets(in);
  *pureRuns = !AreUsual(*packets) && QuirkShown(kSoftimagePackets);
  if (*pureRuns) return CheckPackets(*packets);
  in.Seek(start);
  return ReadUsualPackets(in, *packets);
}

/// What one packet's decoder says when a byte of a pixel is missing. The alpha packet borrows two
/// texts of the colour packet.
struct PixelTexts {
  const char* copy[3];
  const char* repeat[3];
  const char* uncompressed[3];
};

constexpr PixelTexts kColourTexts = {
    {"could not read copy object r", "could not read copy object g",
     "could not read copy object b"},
    {"could not read repeat object r", "could not read repeat object g",
     "could not read repeat object b"},
    {"failed to read uncompressed red component byte",
     "failed to read uncompressed green component byte",
     "failed to read uncompressed blue component byte"}};
constexpr PixelTexts kAlphaTexts = {{"could not read copy object b"},
                                    {"could not read repeat object r"},
                                    {"failed to read uncompressed alpha component byte"}};

/// Reads pixels of `samples` bytes each; names the first missing byte.
bool ReadSamples(FileReader& in, std::uint8_t* out, std::size_t pixels, std::size_t samples,
                 const char* const (&texts)[3]) {
  const std::size_t got = in.Read(out, pixels * samples);
  return got == pixels * samples || Fail(texts[std::min<std::size_t>(got % samples, 2)]);
}

/// Decodes one packet's data of a row into `row`, `samples` bytes for each of `width` pixels.
bool DecodeRow(FileReader& in, const Packet& packet, bool pureRuns, std::size_t width,
               std::uint8_t* row) {
  const std::size_t samples = packet.Samples();
  const PixelTexts& texts = samples == 1 ? kAlphaTexts : kColourTexts;
  if (packet.type == kUncompressed) {
    return ReadSamples(in, row, width, samples, texts.uncompressed);
  }
  std::size_t done = 0;
  while (done < width) {
    std::uint8_t code;
    if (!in.ReadAll(&code, 1)) return Fail("failed to read pixel count data");
    const bool literal = !pureRuns && code < kLongCount;
    const std::size_t count = pureRuns             ? code
                              : literal            ? code + 1u
                              : code == kLongCount ? in.U16()
                                                   : code - (kLongCount - 1);
    if (in.ended()) return Fail("failed to read pixel count data");
    if (count > width - done) {
      return Fail(literal ? "copy length overrun" : "repeat length overrun");
    }
    std::uint8_t* out = row + done * samples;
    if (literal) {
      if (!ReadSamples(in, out, count, samples, texts.copy)) return false;
    } else {
      std::uint8_t pixel[kMostSamples];
      if (!ReadSamples(in, pixel, 1, samples, texts.repeat)) return false;
      for (std::size_t i = 0; i < count; ++i) std::memcpy(out + i * samples, pixel, samples);
    }
    done += count;
  }
  return true;
}

/// Puts decoded samples into the pixels' channels, of wide ones the upper byte.
void PutChannels(const Packet& packet, const std::uint8_t* row, std::uint8_t* pixels,
                 std::size_t width) {
  const std::size_t step = packet.Samples(), sampleBytes = packet.size / kChannelBits;
  for (unsigned channel = 0; channel < 4; ++channel) {
    if (!packet.Has(channel)) continue;
    for (std::size_t x = 0; x < width; ++x) pixels[4 * x + channel] = row[x * step];
    row += sampleBytes;
  }
}

/// Reads a row into the image: its first packet makes it opaque, those behind it follow.
bool ReadRow(FileReader& in, const std::vector<Packet>& packets, bool pureRuns, TrackedBytes& row,
             std::uint8_t* pixels, std::size_t width) {
  for (const Packet& packet : packets) {
    const bool runs = pureRuns && packet.type == kPureRuns;
    if (!DecodeRow(in, packet, runs, width, row.data())) return false;
    const bool first = &packet == packets.data();
    const bool plain = first && packet.channels == kColourMask && packet.size == kChannelBits;
    if (plain) RowFromRgb(row.data(), pixels, width);
    for (std::size_t x = 0; first && x < width; ++x) pixels[4 * x + 3] = 255;
    if (!plain) PutChannels(packet, row.data(), pixels, width);
  }
  return true;
}

// Saving.

void FailSave(const std::string& what) {
  LibError(("Softimage saver: " + what).c_str());
}

bool WriteHeader(FileWriter& out, const ImageRecord& image) {
  const auto check = [](bool written, const char* portion) {
    if (!written) FailSave(std::string("Failed to write ") + portion);
    return written;
  };
  const auto width = static_cast<std::uint16_t>(image.width);
  const auto height = static_cast<std::uint16_t>(image.height);
  return check(out.Write(kMagic, sizeof kMagic), "portion of image header magic") &&
         check(out.F32(0.0f), "portion of image header version") &&
         check(out.Write(kWrittenComment, kCommentSize), "portion of image header comment") &&
         check(out.Write(kId, sizeof kId), "portion of image header id") &&
         check(out.U16(width), "portion of image header width") &&
         check(out.U16(height), "portion of image header height") &&
         check(out.F32(1.0f), "portion of image header aspect ratio") &&
         check(out.U16(kMostFields), "portion of image header fields") &&
         check(out.U16(0), "pad portion of image header");
}

bool WritePacket(FileWriter& out, const Packet& packet, const std::string& which) {
  const std::pair<std::uint8_t, const char*> fields[] = {{packet.chained, "chained"},
                                                         {packet.size, "size"},
                                                         {packet.type, "type"},
                                                         {packet.channels, "channel"}};
  for (const auto& [field, name] : fields) {
    if (out.U8(field)) continue;
    FailSave(std::string("Failed to write ") + name + " portion of " + which +
             " channel subheader");
    return false;
  }
  return true;
}

// A byte that could not be written is reported, and the next one is tried all the same.
void WriteData(FileWriter& out, std::uint8_t byte, const char* component) {
  if (out.U8(byte)) return;
  FailSave(std::string("failed on writing ") + component + " data byte");
  out.GoOn();
}

/// Bytes `from` to `from + count` of each pixel of a row, as mixed runs.
void WriteRuns(FileWriter& out, const std::uint8_t* pixels, std::size_t width, std::size_t from,
               std::size_t count) {
  constexpr std::size_t kMost = 128;
  const auto write = [&](std::size_t x) {
    for (std::size_t i = from; i < from + count; ++i) WriteData(out, pixels[4 * x + i], "run");
  };
  const auto equal = [&](std::size_t a, std::size_t b) {
    return std::memcmp(pixels + 4 * a + from, pixels + 4 * b + from, count) == 0;
  };
  for (std::size_t x = 0, end = 1; x < width; x = end++) {
    const std::size_t last = std::min(width, x + kMost);
    while (end < last && equal(x, end)) ++end;
    if (end - x > 1) {
      WriteData(out, static_cast<std::uint8_t>(end - x + kMost - 1), "run");
      write(x);
      continue;
    }
    while (end < last && !(end + 1 < width && equal(end, end + 1))) ++end;
    WriteData(out, static_cast<std::uint8_t>(end - x - 1), "run");
    for (std::size_t i = x; i < end; ++i) write(i);
  }
}

}  // namespace

bool IsSoftimageStart(const std::uint8_t* start, std::uint64_t fileSize) {
  return fileSize >= kHeaderSize && std::memcmp(start, kMagic, sizeof kMagic) == 0 &&
         std::memcmp(start + kIdOffset, kId, sizeof kId) == 0;
}

std::int32_t IsSoftimage(const char* path) {
  FileReader in(path);
  std::uint8_t start[kSoftimageStartSize];
  in.Read(start, sizeof start);
  return IsSoftimageStart(start, in.size()) ? 1 : 0;
}

ImageRecord* LoadSoftimage(const char* path) {
  FileReader in(path);
  SetFileByteOrder(ByteOrder::big);
  std::int32_t width = 0, height = 0;
  std::vector<Packet> packets;
  bool pureRuns = false;
  if (!ReadStart(in) || !ReadSize(in, &width, &height)) return nullptr;
  if (!ReadPackets(in, &packets, &pureRuns)) return nullptr;
  std::size_t samples = 0;
  bool hasAlpha = false;
  for (const Packet& packet : packets) {
    samples = std::max(samples, packet.Samples());
    hasAlpha = hasAlpha || (packet.channels & kAlphaMask) != 0;
  }
  ImageGuard image(AllocImage(width, height, "Softimage", nullptr));
  TrackedBytes row(image ? std::uint64_t{samples} * static_cast<std::uint32_t>(width) : 0,
                   "allocptr");
  if (!image || !row) {
    Fail("could not get image memory");
    return nullptr;
  }
  image->depth = hasAlpha ? 32 : 24;
  if (hasAlpha) image->flags |= kFlagAlpha;
  if (HeaderOnly()) return image.release();
  ProgressScope progress("Loading Softimage Picture", height, 5);
  for (std::int32_t y = 0; y < height; ++y) {
    const bool stop = ProgressUpdateAbort(y) != 0;  // ends the reading after this row
    if (!ReadRow(in, packets, pureRuns, row, PixelRow(*image, y),
                 static_cast<std::size_t>(width)) ||
        stop) {
      break;
    }
  }
  if (in.ended()) NoteFileEndedEarly();
  return image.release();
}

void SaveSoftimage(const char* path, const ImageRecord* image) {
  FileWriter out(path);
  if (!out.ok()) return FailSave("could not open file");
  if (image->width > UINT16_MAX || image->height > UINT16_MAX) {
    return FailSave("at most 65535 x 65535 pixels fit the format");
  }
  SetFileByteOrder(ByteOrder::big);
  const bool alpha = (image->flags & kFlagAlpha) != 0;
  Packet colourPacket, alphaPacket;
  colourPacket.chained = alpha ? 1 : 0;
  colourPacket.channels = kColourMask;
  alphaPacket.channels = kAlphaMask;
  const bool runs = Quirk(kSoftimageRuns);
  if (runs) colourPacket.type = alphaPacket.type = kMixedRuns;
  if (!WriteHeader(out, *image) || !WritePacket(out, colourPacket, "RGB")) return;
  if (alpha && !WritePacket(out, alphaPacket, "alpha")) return;
  const auto width = static_cast<std::size_t>(image->width);
  for (std::int32_t y = 0; y < image->height; ++y) {
    const std::uint8_t* const pixels = PixelRow(*image, y);
    if (runs) {
      WriteRuns(out, pixels, width, 0, 3);
      if (alpha) WriteRuns(out, pixels, width, 3, 1);
      continue;
    }
    for (std::size_t x = 0; x < width; ++x) {
      WriteData(out, pixels[4 * x], "red");
      WriteData(out, pixels[4 * x + 1], "green");
      WriteData(out, pixels[4 * x + 2], "blue");
    }
    for (std::size_t x = 0; alpha && x < width; ++x) WriteData(out, pixels[4 * x + 3], "alpha");
  }
  out.Finish();
}

}  // namespace imx
