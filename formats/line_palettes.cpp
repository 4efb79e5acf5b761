#include "formats/line_palettes.h"

#include <algorithm>
#include <utility>

#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"

namespace imx {
namespace {

constexpr std::size_t kSlicedColours = 16;
constexpr std::size_t kSlicedBytes = 2 * kSlicedColours;
constexpr std::size_t kVersionBytes = 2;
constexpr std::size_t kChangesHeader = 20;
constexpr std::size_t kHuffmanHeader = 8;
constexpr std::uint16_t kHuffman = 1;
constexpr std::uint16_t kWideColours = 2;
constexpr std::size_t kWideChange = 6;  ///< register, alpha, red, blue, green

std::uint16_t Word(const std::uint8_t* bytes) {
  return LoadU16(bytes, ByteOrder::big);
}

bool ReadData(FileReader& in, std::size_t size, TrackedBytes* data) {
  *data = TrackedBytes(size, "iff9");
  return *data && in.ReadAll(data->data(), size);
}

void SetColour(Palette& palette, std::size_t index, unsigned r, unsigned g, unsigned b) {
  palette.red[index] = static_cast<std::uint8_t>(r);
  palette.green[index] = static_cast<std::uint8_t>(g);
  palette.blue[index] = static_cast<std::uint8_t>(b);
}

/// A colour of 4 bits a channel.
void SetNarrowColour(Palette& palette, std::size_t index, unsigned rgb) {
  SetColour(palette, index, (rgb >> 8 & 15) * 17, (rgb >> 4 & 15) * 17, (rgb & 15) * 17);
}

/// The words of the code's tree, which is walked from its last word: a 1 ends at a value that is
/// not negative, or goes back by as many bytes as the value says; a 0 goes back by one word and
/// ends there when bit 8 marks a value. Returns the bytes put out.
std::size_t Unpack(const std::uint8_t* tree, std::size_t treeWords, const std::uint8_t* code,
                   std::size_t codeBytes, TrackedBytes& out) {
  std::size_t node = treeWords - 1, done = 0;
  for (std::size_t bit = 0; bit < 8 * codeBytes && done < out.size(); ++bit) {
    const bool one = (code[bit / 8] >> (7 - bit % 8) & 1) != 0;
    if (!one && node-- == 0) break;
    const auto value = static_cast<std::int16_t>(Word(tree + 2 * node));
    if (one ? value >= 0 : value > 0 && (value & 0x100) != 0) {
      out.data()[done++] = static_cast<std::uint8_t>(value);
      node = treeWords - 1;
    } else if (one) {
      const auto back = static_cast<std::size_t>(-value) / 2;
      if (back > node) break;
      node -= back;
    }
  }
  return done;
}

/// Puts the unpacked bytes in the place of the packed ones. False when memory runs out.
bool UnpackChanges(LinePalettes* lines) {
  const TrackedBytes packed = std::move(lines->data);
  lines->data = TrackedBytes();
  if (packed.size() < kHuffmanHeader) return true;
  const std::size_t treeBytes = LoadU32(packed.data(), ByteOrder::big);
  const std::size_t size = LoadU32(packed.data() + 4, ByteOrder::big);
  const std::size_t rest = packed.size() - kHuffmanHeader;
  if (treeBytes < 2 || treeBytes > rest) return true;
  const std::uint8_t* const tree = packed.data() + kHuffmanHeader;
  const std::size_t codeBytes = rest - treeBytes;
  if (size == 0 || size / 8 > codeBytes) return true;
  lines->data = TrackedBytes(size, "iff10");
  if (!lines->data) return false;
  const std::size_t done = Unpack(tree, treeBytes / 2, tree + treeBytes, codeBytes, lines->data);
  std::fill(lines->data.data() + done, lines->data.data() + size, std::uint8_t{0});
  return true;
}

/// A line's changes of 4 bits a channel: how many of colours 0 to 15 and of 16 to 31, then one word
/// each, the colour's number first. False when they are not all there.
bool NarrowChanges(LinePalettes& lines, Palette& palette) {
  const TrackedBytes& data = lines.data;
  if (data.size() - lines.at < 2) return false;
  const std::size_t low = data.data()[lines.at], count = low + data.data()[lines.at + 1];
  lines.at += 2;
  if ((data.size() - lines.at) / 2 < count) return false;
  for (std::size_t i = 0; i < count; ++i, lines.at += 2) {
    const unsigned change = Word(data.data() + lines.at);
    SetNarrowColour(palette, (change >> 12) + (i < low ? 0 : 16), change);
  }
  return true;
}

/// The same of 8 bits a channel: a count, then number, alpha, red, blue and green of each.
bool WideChanges(LinePalettes& lines, Palette& palette) {
  const TrackedBytes& data = lines.data;
  if (data.size() - lines.at < 2) return false;
  const std::size_t count = Word(data.data() + lines.at);
  lines.at += 2;
  if ((data.size() - lines.at) / kWideChange < count) return false;
  for (std::size_t i = 0; i < count; ++i, lines.at += kWideChange) {
    const std::uint8_t* const change = data.data() + lines.at;
    if (Word(change) < kPaletteSize) {
      SetColour(palette, Word(change), change[3], change[5], change[4]);
    }
  }
  return true;
}

bool SlicedColours(const LinePalettes& lines, std::int32_t y, Palette& palette) {
  const std::size_t count = lines.data.size() / kSlicedBytes;
  const std::size_t index = static_cast<std::size_t>(y) / (lines.twoLines ? 2 : 1);
  if (index >= count) return false;
  const std::uint8_t* const colours = lines.data.data() + index * kSlicedBytes;
  for (std::size_t i = 0; i < kSlicedColours; ++i) {
    SetNarrowColour(palette, i, Word(colours + 2 * i));
  }
  return true;
}

}  // namespace

bool ReadSlicedPalettes(FileReader& in, std::uint32_t size, bool interlaced, LinePalettes* lines) {
  if (size < kVersionBytes + kSlicedBytes) return true;
  in.Skip(kVersionBytes);
  lines->kind = LinePalettes::Kind::sliced;
  lines->twoLines = interlaced;
  return ReadData(in, size - kVersionBytes, &lines->data);
}

bool ReadPaletteChanges(FileReader& in, std::uint32_t size, LinePalettes* lines) {
  std::uint8_t header[kChangesHeader];
  if (size <= kChangesHeader || !in.ReadAll(header, sizeof header)) return true;
  if (!ReadData(in, size - kChangesHeader, &lines->data)) return false;
  if (Word(header) == kHuffman && !UnpackChanges(lines)) return false;
  lines->wide = (Word(header + 2) & kWideColours) != 0;
  lines->firstLine = static_cast<std::int16_t>(Word(header + 4));
  lines->lines = Word(header + 6);
  lines->at = (std::size_t{lines->lines} + 31) / 32 * 4;
  if (Word(header) > kHuffman || lines->at > lines->data.size()) return true;
  lines->kind = LinePalettes::Kind::changes;
  return true;
}

bool ChangeColours(LinePalettes& lines, std::int32_t y, Palette& palette) {
  if (lines.kind == LinePalettes::Kind::none) return false;
  if (lines.kind == LinePalettes::Kind::sliced) return SlicedColours(lines, y, palette);
  bool changed = false;
  for (; lines.done < lines.lines && lines.firstLine + std::int64_t{lines.done} <= y;
       ++lines.done) {
    const unsigned bits = lines.data.data()[lines.done / 8];
    if ((bits >> (7 - lines.done % 8) & 1) == 0) continue;
    changed = true;
    const bool whole = lines.wide ? WideChanges(lines, palette) : NarrowChanges(lines, palette);
    if (!whole) lines.lines = 0;
  }
  return changed;
}

}  // namespace imx
