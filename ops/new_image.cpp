#include "ops/new_image.h"

#include "ops/operations.h"

namespace imx {
namespace {

OperationSettings settings;

}  // namespace

OperationSettings& Operations() {
  return settings;
}

void ShowNewImage(ImageGuard image, const ImageRecord& source) {
  image->flags |= kFlagChanged | (source.flags & kFlagAlpha);
  image->fileType = source.fileType;
  const auto show = Services().showImage;
  if (show && show(image->name, image.get())) image.release();
}

}  // namespace imx
