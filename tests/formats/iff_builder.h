/// IFF files built chunk by chunk. Layout: EA IFF 85 and its ILBM supplement.
#pragma once

#include <cstdint>
#include <string_view>

#include "tests/support/bytes.h"

namespace imx::test {

/// Id, length, data, and a pad byte behind data of odd length.
inline Bytes IffChunk(std::string_view id, const Bytes& data) {
  ByteBuilder chunk = BigEndian();
  chunk.Text(id).U32(static_cast<std::uint32_t>(data.size())).Raw(data);
  if (data.size() % 2 != 0) chunk.U8(0);
  return chunk.bytes();
}

inline Bytes IffText(std::string_view id, std::string_view text) {
  return IffChunk(id, Bytes(text.begin(), text.end()));
}

/// The whole file.
template <typename... Chunks>
Bytes IffForm(std::string_view type, const Chunks&... chunks) {
  ByteBuilder form = BigEndian();
  form.Text("FORM").U32(0).Text(type);
  (form.Raw(chunks), ...);
  form.PatchU32(4, static_cast<std::uint32_t>(form.size() - 8));
  return form.bytes();
}

struct IlbmHeader {
  std::uint32_t width = 1, height = 1, planes = 24, masking = 0;
};

/// A "BMHD" chunk.
inline Bytes IffHeader(const IlbmHeader& header) {
  ByteBuilder data = BigEndian();
  data.Words({header.width, header.height, 0, 0}).U8(header.planes).U8(header.masking);
  data.U32(0);                            // no compression, no key colour
  data.List({10, 11}).Words({320, 200});  // aspect, page: of no effect
  return IffChunk("BMHD", data.bytes());
}

/// A "CAMG" chunk.
inline Bytes IffViewMode(std::uint32_t mode) {
  return IffChunk("CAMG", BigEndian().U32(mode).bytes());
}

}  // namespace imx::test
