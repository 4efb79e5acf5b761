#include "plugins/plugin.h"

#include <algorithm>
#include <cstring>

namespace imx {
namespace {

template <typename Test>
bool EveryPixel(const PluginRecord& record, Test&& test) {
  for (std::int32_t y = 0; y < record.height; ++y) {
    const std::uint8_t* pixel = RecordRow(record, y);
    for (std::int32_t x = 0; x < record.width; ++x, pixel += 4) {
      if (!test(pixel)) return false;
    }
  }
  return true;
}

PluginFault lastFault = kPluginNoFault;
char faultText[256];

}  // namespace

bool IsGreyRecord(const PluginRecord& record) {
  return EveryPixel(record, [](const std::uint8_t* p) { return p[0] == p[1] && p[1] == p[2]; });
}

bool HasAlphaChannel(const PluginRecord& record) {
  const std::uint8_t first = RecordRow(record, 0)[3];
  return !EveryPixel(record, [first](const std::uint8_t* p) { return p[3] == first; });
}

bool HasRoom(const PluginHost& host, std::uint64_t bytes) {
  const auto size = static_cast<std::uint32_t>(std::min<std::uint64_t>(bytes, UINT32_MAX));
  void* block = host.allocate(size, 0);
  if (block) host.free(block);
  return block != nullptr;
}

void SetField(char* field, std::size_t size, std::string_view text) {
  const std::size_t length = std::min(text.size(), size - 1);
  std::memcpy(field, text.data(), length);
  field[length] = 0;
}

void NoteFault(PluginFault fault, std::string_view text) {
  if (lastFault != kPluginNoFault) return;
  lastFault = fault;
  SetField(faultText, sizeof faultText, text);
}

void ForgetFault() {
  lastFault = kPluginNoFault;
  faultText[0] = 0;
}

}  // namespace imx

IMX_PLUGIN_EXPORT std::int32_t IMX_PLUGIN_CALL ImageFault(const char** text) {
  *text = imx::faultText[0] ? imx::faultText : nullptr;
  return imx::lastFault;
}
