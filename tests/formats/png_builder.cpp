#include "tests/formats/png_builder.h"

#include <zlib.h>

namespace imx::test {

std::uint32_t Crc32(const Bytes& bytes, std::size_t at, std::size_t size) {
  return static_cast<std::uint32_t>(crc32(0, &bytes[at], static_cast<uInt>(size)));
}

Bytes PngSignature() {
  return {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
}

Bytes PngChunk(std::string_view type, const Bytes& data) {
  ByteBuilder chunk = BigEndian();
  chunk.U32(static_cast<std::uint32_t>(data.size())).Text(type).Raw(data);
  chunk.U32(Crc32(chunk.bytes(), 4, data.size() + 4));
  return chunk.bytes();
}

Bytes PngHeader(std::uint32_t width, std::uint32_t height, int bits, PngColour colour) {
  return PngChunk("IHDR", BigEndian().U32(width).U32(height).List({bits, colour, 0, 0, 0}).bytes());
}

Bytes PngText(std::string_view key, std::string_view text) {
  return PngChunk("tEXt", BigEndian().Text(key).U8(0).Text(text).bytes());
}

Bytes Deflated(const Bytes& data) {
  uLongf size = compressBound(static_cast<uLong>(data.size()));
  Bytes stream(size);
  compress(stream.data(), &size, data.data(), static_cast<uLong>(data.size()));
  stream.resize(size);
  return stream;
}

Bytes PngFile(const Bytes& header, const Bytes& rows, const Bytes& before, const Bytes& after) {
  return PngSignature() + header + before + PngChunk("IDAT", Deflated(rows)) + after +
         PngChunk("IEND", {});
}

void RepairPng(Bytes& file) {
  std::size_t at = PngSignature().size();
  while (at + 12 <= file.size()) {
    const std::size_t length = LoadU32(&file[at], ByteOrder::big);
    if (length > file.size() - at - 12) return;
    StoreU32(&file[at + 8 + length], Crc32(file, at + 4, length + 4), ByteOrder::big);
    at += 12 + length;
  }
}

}  // namespace imx::test
