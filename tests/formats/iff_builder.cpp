#include "tests/formats/iff_builder.h"

namespace imx::test {

Bytes IffChunk(std::string_view id, const Bytes& data) {
  ByteBuilder chunk = BigEndian();
  chunk.Text(id).U32(static_cast<std::uint32_t>(data.size())).Raw(data);
  if (data.size() % 2 != 0) chunk.U8(0);
  return chunk.bytes();
}

Bytes IffText(std::string_view id, std::string_view text) {
  return IffChunk(id, Bytes(text.begin(), text.end()));
}

Bytes IffHeader(const IlbmHeader& header) {
  ByteBuilder data = BigEndian();
  data.Words({header.width, header.height, 0, 0}).U8(header.planes).U8(header.masking);
  data.U32(0);                            // no compression, no key colour
  data.List({10, 11}).Words({320, 200});  // aspect, page: of no effect
  return IffChunk("BMHD", data.bytes());
}

Bytes IffViewMode(std::uint32_t mode) {
  return IffChunk("CAMG", BigEndian().U32(mode).bytes());
}

}  // namespace imx::test
