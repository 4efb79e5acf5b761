#include "formats/avi_source.h"

namespace imx {

bool AviIsAvailable() {
  return false;
}

AviStream* OpenAviStream(const char*, AviInfo*) {
  return nullptr;
}

std::span<const std::uint8_t> AviFrame(AviStream*, std::int32_t) {
  return {};
}

void CloseAviStream(AviStream*) {}

}  // namespace imx
