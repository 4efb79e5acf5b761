#include "tests/formats/station_builder.h"

namespace imx::test {

Bytes SgiFile(const SgiFields& f, const Bytes& body) {
  ByteBuilder file = BigEndian();
  file.U16(474).U8(f.storage).U8(f.sampleBytes).Words({f.dimension, f.width, f.height, f.channels});
  file.Longs({f.pixMin, f.pixMax}).Repeat(0, 4 + 80).U32(f.colourMap).Repeat(0, 404);
  return file.Raw(body).bytes();
}

Bytes SgiRunLengthFile(SgiFields f, const std::vector<Bytes>& scanlines) {
  f.storage = 1;
  ByteBuilder offsets = BigEndian(), lengths = BigEndian(), data = BigEndian();
  for (const Bytes& scanline : scanlines) {
    offsets.U32(static_cast<std::uint32_t>(512 + 8 * scanlines.size() + data.size()));
    lengths.U32(static_cast<std::uint32_t>(scanline.size()));
    data.Raw(scanline);
  }
  return SgiFile(f, offsets.Raw(lengths.bytes()).Raw(data.bytes()).bytes());
}

Bytes SoftimageFile(std::uint32_t width, std::uint32_t height, const Bytes& packets,
                    const Bytes& body) {
  ByteBuilder file = BigEndian();
  file.U32(0x5380F634).Repeat(0, 4 + 80).Text("PICT").Words({width, height}).U32(0x3F800000);
  return file.Words({3, 0}).Raw(packets).Raw(body).bytes();
}

Bytes AliasFile(std::uint32_t width, std::uint32_t height, std::uint32_t bits, const Bytes& body) {
  return BigEndian().U16(width).U16(height).U32(0).U16(bits).Raw(body).bytes();
}

Bytes RlaFile(const RlaWindow& w, std::uint32_t matte, const Bytes& body) {
  ByteBuilder file = BigEndian();
  file.Repeat(0, 8).Words({w.left, w.right, w.bottom, w.top}).Repeat(0, 6).U16(matte);
  return file.Repeat(0, 740 - 24 + 4 * std::size_t{w.top - w.bottom + 1}).Raw(body).bytes();
}

Bytes FlicChunk(std::uint32_t type, const Bytes& data) {
  const auto size = static_cast<std::uint32_t>(6 + data.size());
  return LittleEndian().U32(size).U16(type).Raw(data).bytes();
}

Bytes FlicFrame(const std::vector<Bytes>& chunks, std::uint32_t type) {
  ByteBuilder frame = LittleEndian();
  frame.U32(0).U16(type).U16(static_cast<std::uint32_t>(chunks.size())).Repeat(0, 8);
  for (const Bytes& chunk : chunks) frame.Raw(chunk);
  return frame.PatchU32(0, static_cast<std::uint32_t>(frame.size())).bytes();
}

Bytes FlicFile(std::uint32_t magic, std::uint32_t width, std::uint32_t height,
               const std::vector<Bytes>& frames) {
  ByteBuilder file = LittleEndian();
  file.U32(0).U16(magic).U16(static_cast<std::uint32_t>(frames.size()));
  file.Words({width, height, 8}).Repeat(0, 128 - 14);
  for (const Bytes& frame : frames) file.Raw(frame);
  return file.bytes();
}

Bytes Dib(const DibFields& f, const Bytes& rest) {
  ByteBuilder bitmap = LittleEndian();
  bitmap.Longs({40, f.width, f.height}).Words({1, f.bits});
  bitmap.Longs(
      {f.compression, (f.width * f.bits + 31) / 32 * 4 * f.height, 0, 0, f.coloursUsed, 0});
  return bitmap.Raw(rest).bytes();
}

std::string Repeated(std::string_view text, int times) {
  std::string all;
  while (times-- > 0) all += text;
  return all;
}

std::string Field(std::string_view text, std::size_t width) {
  return std::string(width - text.size(), ' ').append(text);
}

std::string DemHeader(const DemFields& f) {
  const std::string zero = Field("0.0D+00", 24), degree = Field("3.6D+03", 24);
  std::string text = Repeated(f.name, 144) + "     1     1     0     0" + Repeated(zero, 15) +
                     "     3     2" + Field(std::to_string(f.sides), 6);
  for (const std::string& ordinate : {zero, zero, zero, degree, degree, degree, degree, zero}) {
    text += ordinate;
  }
  text += Field(f.minimum, 24) + Field(f.maximum, 24) + zero + "     1" +
          Repeated("0.300000E+01", 2) + "0.100000E+01     1" + Field(std::to_string(f.profiles), 6);
  return text + std::string(1024 - text.size(), ' ');
}

std::string DemProfile(int column, int count) {
  const std::string zero = Field("0.0D+00", 24);
  return "     1" + Field(std::to_string(column), 6) + Field(std::to_string(count), 6) + "     1" +
         Field(std::to_string(3 * (column - 1)) + ".0D+00", 24) + Repeated(zero, 4);
}

Bytes PsdFile(const PsdFields& f, const Bytes& body) {
  ByteBuilder file = BigEndian();
  file.Text("8BPS").U16(f.large ? 2 : 1).Repeat(0, 6).U16(f.channels).Longs({f.height, f.width});
  file.Words({f.bits, f.mode}).U32(static_cast<std::uint32_t>(f.colours.size())).Raw(f.colours);
  file.U32(3)
      .List({1, 2, 3})
      .Repeat(0, f.large ? 4 : 0)
      .U32(2)
      .List({4, 5});  // resources, layers and masks: passed over
  return file.U16(f.compression).Raw(body).bytes();
}

}  // namespace imx::test
