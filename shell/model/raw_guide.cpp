#include "shell/model/raw_guide.h"

#include <utility>

#include "formats/codec_state.h"
#include "imagelib/registry.h"

namespace imx {

RawGuide BeginRawGuide() {
  return {Raw().width, Raw().height, Raw().kind};
}

std::vector<std::string> RawKindLabels() {
  std::vector<std::string> labels;
  for (std::int32_t kind = 0; RawKindName(kind); ++kind) labels.emplace_back(RawKindName(kind));
  return labels;
}

void SwapDimensions(RawGuide& guide) {
  std::swap(guide.width, guide.height);
}

bool IsComplete(const RawGuide& guide) {
  return guide.kind >= 0 && guide.width >= 1 && guide.height >= 1;
}

void AcceptRawGuide(const RawGuide& guide) {
  Raw().width = guide.width;
  Raw().height = guide.height;
  Raw().kind = guide.kind;
}

}  // namespace imx
