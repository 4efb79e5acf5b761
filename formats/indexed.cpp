#include "formats/indexed.h"

namespace imx {

RenderCode RenderCodeForDepth(std::int32_t bits) {
  switch (bits) {
    case 8:
      return RenderCode::colour8;
    case 4:
      return RenderCode::colour4;
    default:
      return RenderCode::blackWhite;
  }
}

bool RenderIndexed(const ImageRecord& image, RenderCode code, IndexedImage* indexed) {
  const RenderSettings& settings = Rendering();
  // What mode 4 renders to is the image's own palette; in the others the entries are only filled.
  indexed->palette = settings.renderMode == kRenderGiven ? image.palette : Palette{};
  indexed->width = static_cast<std::size_t>(image.width);
  indexed->indices = RenderImage(image, indexed->palette, code, settings.renderMode,
                                 settings.renderOrdered != 0, true, settings.renderStrength);
  return static_cast<bool>(indexed->indices);
}

}  // namespace imx
