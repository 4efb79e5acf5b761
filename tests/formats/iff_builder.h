/// IFF files built chunk by chunk. Layout: EA IFF 85 and its ILBM supplement.
#pragma once

#include <cstdint>
#include <string_view>

#include "tests/support/bytes.h"

namespace imx::test {

/// Id, length, data, and a pad byte behind data of odd length.
Bytes IffChunk(std::string_view id, const Bytes& data);

Bytes IffText(std::string_view id, std::string_view text);

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
Bytes IffHeader(const IlbmHeader& header);

/// A "CAMG" chunk.
Bytes IffViewMode(std::uint32_t mode);

}  // namespace imx::test
