#include "formats/wavefront.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"

namespace imx {
namespace {

constexpr std::uint32_t kHeaderSize = 740;
constexpr std::uint64_t kActiveWindowOffset = 8;
constexpr std::uint64_t kStorageOffset = 18;
constexpr std::uint64_t kChannelsOffset = 20;
constexpr std::uint64_t kChannelBitsOffset = 658;
constexpr std::int32_t kFloatStorage = 3;
constexpr std::int32_t kMostColumns = 32767;  // window coordinates are signed 16-bit
constexpr std::size_t kLiteralPacket = 125;
constexpr std::int32_t kColours = 3;
constexpr std::int32_t kMatte = 3;  // channel that holds the complement of alpha

struct RlaHeader {
  std::int32_t width = 0, height = 0;
  bool grey = false;
  bool matte = false;
  bool hasAuxiliary = false;  ///< channels behind the matte
  std::int32_t storage = 0, bits = 8, matteBits = 8;
  // As other programs read it.
  bool deep = false;        ///< samples as `storage` and `bits` say
  bool plainMatte = false;  ///< the matte is alpha

  bool IsDeep() const { return storage == kFloatStorage || (bits > 8 && bits <= 16); }
  std::int32_t Channels() const { return kColours + (matte ? 1 : 0); }
};

/// For the library's own way only the active window and the channels matter. Any number of colours
/// but one counts as three.
bool ReadHeader(FileReader& in, RlaHeader* h) {
  if (in.remaining() < kHeaderSize) {
    NoteFileEndedEarly();
    return false;
  }
  const auto number = [&in] { return static_cast<std::int16_t>(in.U16()); };
  in.Seek(kActiveWindowOffset);
  const std::int32_t left = number(), right = number(), bottom = number(), top = number();
  h->width = right - left + 1;
  h->height = top - bottom + 1;
  in.Seek(kStorageOffset);
  h->storage = number();
  in.Seek(kChannelsOffset);
  h->grey = number() == 1;
  h->matte = number() != 0;
  h->hasAuxiliary = number() != 0;
  in.Seek(kChannelBitsOffset);
  h->bits = number();
  number();  // matte type
  h->matteBits = number();
  in.Seek(kHeaderSize);
  h->deep = h->IsDeep() && QuirkShown(kRlaDeepSamples);
  h->plainMatte = h->matte && QuirkShown(kRlaMatte);
  return true;
}

/// Decodes packets into every fourth byte until `width` of them are there or no whole packet is
/// left in the view. A repeat or literal past the row's end is cut. Bytes used.
std::size_t DecodePackets(FileReader::View view, std::size_t width, std::uint8_t complement,
                          std::uint8_t* out, std::size_t* done) {
  const std::uint8_t* const end = view.data + view.size;
  const std::uint8_t* in = view.data;
  while (*done < width && in < end) {
    const auto code = static_cast<std::int8_t>(*in);
    const bool literal = code < 0;
    const auto count = static_cast<std::size_t>(literal ? -code : code + 1);
    const std::size_t held = 1 + (literal ? count : 1);
    if (static_cast<std::size_t>(end - in) < held) break;
    const std::size_t run = std::min(count, width - *done);
    std::uint8_t* to = out + 4 * *done;
    if (literal) {
      for (std::size_t i = 0; i < run; ++i) to[4 * i] = in[1 + i] ^ complement;
    } else {
      const std::uint8_t value = in[1] ^ complement;
      for (std::size_t i = 0; i < run; ++i) to[4 * i] = value;
    }
    in += held;
    *done += run;
  }
  return static_cast<std::size_t>(in - view.data);
}

/// Decodes one byte of each sample of a scanline's channel. False when the data end first.
bool ReadPlane(FileReader& in, std::size_t width, std::uint8_t complement, std::uint8_t* out) {
  constexpr std::size_t kWindow = 4096;
  for (std::size_t done = 0; done < width;) {
    const std::size_t used = DecodePackets(in.Peek(kWindow), width, complement, out, &done);
    if (used == 0) {
      NoteFileEndedEarly();
      return false;
    }
    in.Skip(used);
  }
  return true;
}

/// Decodes a channel of samples of 9 to 16 bits, first their high and then their low bytes, into
/// every fourth byte of `out`. `low` has room for as many.
bool ReadWideChannel(FileReader& in, std::size_t width, std::int32_t bits, std::uint8_t* low,
                     std::uint8_t* out) {
  if (!ReadPlane(in, width, 0, out) || !ReadPlane(in, width, 0, low)) return false;
  const std::uint32_t most = (1u << bits) - 1;
  for (std::size_t i = 0; i < 4 * width; i += 4) {
    const std::uint32_t sample = std::min((std::uint32_t{out[i]} << 8) | low[i], most);
    out[i] = static_cast<std::uint8_t>((sample * 255 + most / 2) / most);
  }
  return true;
}

/// Reads a channel of floats of which 1 is full.
bool ReadFloatChannel(FileReader& in, std::size_t width, std::uint8_t* out) {
  for (std::size_t i = 0; i < 4 * width; i += 4) {
    const float sample = std::bit_cast<float>(in.U32());
    out[i] = static_cast<std::uint8_t>(sample > 0 ? std::min(sample, 1.0f) * 255 + 0.5f : 0);
  }
  if (in.ended()) NoteFileEndedEarly();
  return !in.ended();
}

/// `spare` has room for the pixels of a row when samples are deep.
bool ReadScanline(FileReader& in, const RlaHeader& h, TrackedBytes& spare, std::uint8_t* pixels) {
  const auto width = static_cast<std::size_t>(h.width);
  for (std::int32_t channel = 0; channel < h.Channels(); ++channel) {
    if (h.grey && channel > 0 && channel < kMatte) continue;
    in.U16();  // the length that the file states does not bound the decoding
    std::uint8_t* out = pixels + channel;
    const std::int32_t bits = channel == kMatte ? h.matteBits : h.bits;
    bool read = false;
    if (h.deep && h.storage == kFloatStorage) {
      read = ReadFloatChannel(in, width, out);
    } else if (h.deep && bits > 8 && bits <= 16) {
      read = ReadWideChannel(in, width, bits, spare.data(), out);
    } else {
      read = ReadPlane(in, width, channel == kMatte && !h.plainMatte ? 0xFF : 0, out);
    }
    if (!read) return false;
  }
  for (std::size_t i = 0; h.grey && i < 4 * width; i += 4)
    pixels[i + 1] = pixels[i + 2] = pixels[i];
  return true;
}

/// Whether the offsets must be followed to find the scanlines, and other programs' way holds.
bool FollowsOffsets(const TrackedBytes& offsets, const RlaHeader& h) {
  const auto at = [&](std::size_t k) { return LoadU32(&offsets[4 * k], ByteOrder::big); };
  bool inSequence = !h.hasAuxiliary;
  for (std::size_t k = 1; 4 * k < offsets.size(); ++k)
    inSequence = inSequence && at(k - 1) <= at(k);
  return !inSequence && QuirkShown(kRlaOffsets);
}

// Saving.

/// The texts that could tell about the user or the machine are fixed.
bool WriteHeader(FileWriter& out, const ImageRecord& image, bool matte) {
  const int right = image.width - 1;
  const int top = image.height - 1;
  out.Words({0, right, 0, top});  // window
  out.Words({0, right, 0, top});  // active window
  // Frame, storage type, colour, matte and auxiliary channels, revision.
  out.Words({1, 0, kColours, matte ? 1 : 0, 0, -2});
  out.Text("0.0", 16);          // gamma
  out.Text("0.670 0.330", 24);  // red, green and blue primaries, white point
  out.Text("0.210 0.710", 24);
  out.Text("0.140 0.080", 24);
  out.Text("0.310 0.316", 24);
  out.U32(0);  // job number
  out.Text(image.name, 128);
  out.Text("IMX Image", 128);
  out.Text("Quillmark IMX WaveFront Saver Module", 64);
  out.Text("No Machine Name - Privacy Issue", 32);
  out.Text("No User Name - Privacy Issue", 32);
  out.Text("Unknown", 20);  // date
  out.Text("1k_square", 24);
  out.Text("1.0", 8);          // aspect ratio
  out.Text("rgb", 32);         // channel format
  out.Words({0});              // field
  out.Text("Unknown", 12);     // time
  out.Text("Unknown", 32);     // filter
  out.Words({8, 0, 8, 0, 8});  // channel bits; type and bits of matte and auxiliary
  out.Text("depth", 32);
  out.Zeros(36);  // reserved
  return out.U32(0);
}

/// One channel as literal packets behind their length word. Bytes written to `out`, which has room
/// for 2 * width + 4.
std::size_t PackChannel(const std::uint8_t* in, std::int32_t width, std::uint8_t complement,
                        std::uint8_t* out) {
  std::uint8_t* to = out + 2;
  for (std::size_t left = static_cast<std::size_t>(width); left > 0;) {
    const std::size_t count = std::min(left, kLiteralPacket);
    *to++ = static_cast<std::uint8_t>(0x100 - count);
    for (std::size_t i = 0; i < count; ++i, in += 4) *to++ = *in ^ complement;
    left -= count;
  }
  const auto size = static_cast<std::size_t>(to - out);
  StoreU16(out, static_cast<std::uint16_t>(size - 2), ByteOrder::big);
  return size;
}

bool WriteScanline(FileWriter& out, const std::uint8_t* pixels, std::int32_t width, bool matte,
                   TrackedBytes& packed) {
  const std::uint8_t matteComplement = matte && Quirk(kRlaMatte) ? 0 : 0xFF;
  for (std::int32_t channel = 0; channel < kColours + (matte ? 1 : 0); ++channel) {
    const std::uint8_t complement = channel == kMatte ? matteComplement : 0;
    out.Write(packed.data(), PackChannel(pixels + channel, width, complement, packed.data()));
  }
  return out.ok();
}

}  // namespace

ImageRecord* LoadWavefront(const char* path) {
  FileReader in(path);
  SetFileByteOrder(ByteOrder::big);
  RlaHeader header;
  if (!in.ok() || !ReadHeader(in, &header)) return nullptr;
  const std::uint64_t tableSize =
      std::uint64_t{4} * static_cast<std::uint32_t>(std::max(header.height, 0));
  if (tableSize > in.remaining()) {
    NoteFileEndedEarly();
    return nullptr;
  }
  TrackedBytes offsets(tableSize, "allocptr");
  TrackedBytes spare(header.deep ? 4 * std::uint64_t{static_cast<std::uint32_t>(header.width)} : 1,
                     "allocptr");
  if (header.height > 0 && (!offsets || !spare)) return nullptr;
  in.Read(offsets.data(), offsets.size());
  const bool followed = FollowsOffsets(offsets, header);
  ImageGuard image(AllocImage(header.width, header.height, "Wavefront", nullptr));
  if (!image) {
    LibError("Wavefront loader: could not get image memory");
    return nullptr;
  }
  image->depth = (header.grey ? 8u : 24u) + (header.matte ? 8u : 0u);
  if (header.matte) image->flags |= kFlagAlpha;
  if (HeaderOnly()) return image.release();
  ProgressScope progress("Loading Wavefront Picture", header.height, 5);
  ForEachRow(header.height, 1, [&](std::int32_t k) {
    if (followed) in.Seek(LoadU32(&offsets[4 * static_cast<std::size_t>(k)], ByteOrder::big));
    return ReadScanline(in, header, spare, PixelRow(*image, header.height - 1 - k));
  });
  return image.release();
}

void SaveWavefront(const char* path, const ImageRecord* image) {
  if (image->width > kMostColumns || image->height > kMostColumns) {
    return LibError("Wavefront saver: at most 32767 x 32767 pixels fit the format");
  }
  const bool matte = (image->flags & kFlagAlpha) != 0;
  const auto height = static_cast<std::size_t>(image->height);
  TrackedBytes offsets(4 * height, "allocptr");
  TrackedBytes packed(2 * static_cast<std::size_t>(image->width) + 4, "allocptr");
  FileWriter out(path);
  SetFileByteOrder(ByteOrder::big);
  if (!offsets || !packed || !WriteHeader(out, *image, matte)) return;
  out.Zeros(offsets.size());
  for (std::size_t k = 0; k < height; ++k) {
    StoreU32(&offsets[4 * k], static_cast<std::uint32_t>(out.position()), ByteOrder::big);
    const std::uint8_t* pixels = PixelRow(*image, static_cast<std::int32_t>(height - 1 - k));
    if (!WriteScanline(out, pixels, image->width, matte, packed)) return;
  }
  if (!out.Patch(kHeaderSize, offsets.data(), offsets.size())) return;
  out.Finish();
}

}  // namespace imx
