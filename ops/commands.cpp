#include "ops/commands.h"

#include "ops/operations.h"

namespace imx {
namespace {

OperationSettings settings;
ClipRegion currentRegion = {};

bool ClampCurrentRegion(const ImageRecord* image, std::int32_t margin = 0) {
  return IsValidImage(image) && ClampRegion(*image, currentRegion, margin);
}

void Show(NewImage made) {
  const auto show = Services().showImage;
  if (made && show && show(made.image->name, made.image.get())) {
    static_cast<void>(made.image.release());
  }
}

}  // namespace

OperationSettings& Operations() {
  return settings;
}

ClipRegion& CurrentClipRegion() {
  return currentRegion;
}

void ClipToRegion(ImageRecord* image) {
  if (ClampCurrentRegion(image)) Show(Clipped(*image, currentRegion));
}

void RescaleRegion(ImageRecord* image) {
  if (ClampCurrentRegion(image)) Show(Rescaled(*image, currentRegion, settings.scaleFactor));
}

void ResampleRegion(ImageRecord* image) {
  if (ClampCurrentRegion(image, 1)) Show(Resampled(*image, currentRegion, settings.resampleScale));
}

void MergeRegion(ImageRecord* image) {
  const ImageRecord* source = settings.mergeSource;
  if (!source || !ClampCurrentRegion(image) || !IsValidImage(source)) return;
  MergeInto(*image, currentRegion, *source);
}

void ApplyGamma(ImageRecord* image) {
  if (IsValidImage(image)) CorrectGamma(*image, settings.gammaValue);
}

}  // namespace imx
