#include "tests/formats/common_builder.h"

#include <algorithm>
#include <map>
#include <utility>

namespace imx::test {

Bytes TargaFile(const TargaFields& f, const Bytes& rest) {
  ByteBuilder file = LittleEndian();
  file.List({static_cast<int>(f.id.size()), f.mapType, f.type}).Words({f.mapStart, f.mapLength});
  file.List({f.mapBits, 0, 0, 0, 0}).Words({f.width, f.height}).List({f.depth, f.descriptor});
  return file.Text(f.id).Raw(rest).bytes();
}

Bytes WithTargaTexts(const Bytes& file, std::string_view author, std::string_view comment) {
  ByteBuilder area = LittleEndian();
  area.U16(495).Text(author).Repeat(0, 41 - author.size());
  area.Text(comment).Repeat(0, 324 - comment.size()).Repeat(0, 12 + 41 + 6 + 41 + 3 + 24 + 1);
  area.U32(static_cast<std::uint32_t>(file.size())).U32(0).Text("TRUEVISION-XFILE.").U8(0);
  return file + area.bytes();
}

Bytes BmpFile(const BmpFields& f, const Bytes& palette, const Bytes& data) {
  ByteBuilder file = LittleEndian();
  const auto start = static_cast<std::uint32_t>(14 + f.headerSize + palette.size());
  file.Text("BM").Longs({0, 0, start, f.headerSize});
  if (f.headerSize == 12) {
    file.Words({f.width, f.height, 1, f.bits});
  } else {
    file.Longs({f.width, f.height}).Words({1, f.bits}).Longs({f.compression, 0});
    file.Longs({0, 0, f.coloursUsed, 0}).Repeat(0, f.headerSize - 40);
  }
  return file.Raw(palette).Raw(data).bytes();
}

Bytes SomeColours(int count) {
  ByteBuilder colours = LittleEndian();
  for (int i = 0; i < count; ++i) colours.List({i * 10 + 5, 250 - i * 7, i * 29 % 256});
  return colours.bytes();
}

Bytes SomeBmpColours(int count, int entryBytes) {
  const Bytes rgb = SomeColours(count);
  ByteBuilder colours = LittleEndian();
  for (std::size_t i = 0; i < rgb.size(); i += 3) {
    colours.List({rgb[i + 2], rgb[i + 1], rgb[i]});
    if (entryBytes == 4) colours.U8(0);
  }
  return colours.bytes();
}

Bytes GifBlocks(const Bytes& data, std::size_t largest) {
  ByteBuilder blocks = LittleEndian();
  for (std::size_t at = 0; at < data.size(); at += largest) {
    const std::size_t part = std::min(largest, data.size() - at);
    blocks.U8(static_cast<std::uint32_t>(part)).Raw(&data[at], part);
  }
  return blocks.U8(0).bytes();
}

Bytes GifPixels(int codeSize, const Bytes& indices, std::size_t largestBlock) {
  const int clear = 1 << codeSize;
  std::map<std::pair<int, int>, int> strings;
  Bytes data;
  std::uint32_t bits = 0;
  int next = clear + 2, width = codeSize + 1, held = 0, prefix = -1;
  const auto put = [&](int code) {
    bits |= static_cast<std::uint32_t>(code) << held;
    for (held += width; held >= 8; held -= 8, bits >>= 8) {
      data.push_back(static_cast<std::uint8_t>(bits));
    }
  };
  put(clear);
  for (const int index : indices) {
    const auto longer = strings.find({prefix, index});
    if (prefix < 0 || longer != strings.end()) {
      prefix = prefix < 0 ? index : longer->second;
      continue;
    }
    put(prefix);
    if (next == 4096) {
      put(clear);
      strings.clear();
      next = clear + 2, width = codeSize + 1;
    } else {
      if (next == 1 << width) ++width;
      strings[{prefix, index}] = next++;
    }
    prefix = index;
  }
  if (prefix >= 0) put(prefix);
  put(clear + 1);
  if (held > 0) data.push_back(static_cast<std::uint8_t>(bits));
  return Bytes{static_cast<std::uint8_t>(codeSize)} + GifBlocks(data, largestBlock);
}

Bytes GifScreen(int width, int height, int tableBits, int aspect, std::string_view signature) {
  ByteBuilder screen = LittleEndian();
  screen.Text(signature).Words({width, height});
  screen.List({tableBits > 0 ? 0x80 | (tableBits - 1) : 0, 0, aspect});
  if (tableBits > 0) screen.Raw(SomeColours(1 << tableBits));
  return screen.bytes();
}

Bytes GifFrame(int left, int top, int width, int height, int flags) {
  return LittleEndian().U8(0x2C).Words({left, top, width, height}).List({flags}).bytes();
}

Bytes GifExtension(int label, const Bytes& data) {
  return Bytes{0x21, static_cast<std::uint8_t>(label)} + GifBlocks(data);
}

Bytes PcxFile(const PcxFields& f, const Bytes& lines) {
  ByteBuilder file = LittleEndian();
  file.List({10, 5, 1, f.bits}).Words({7, 9, f.width + 6, f.height + 8});  // need not start at 0
  file.U32(0).Raw(SomeColours(16)).List({0, f.planes}).Words({f.bytesPerLine, 0}).Repeat(0, 58);
  return file.Raw(lines).bytes();
}

}  // namespace imx::test
