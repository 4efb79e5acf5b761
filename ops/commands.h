/// The operations as a desktop program's commands: each works on an image and the current region,
/// which it clamps to the image in place, with what the dialogs have set. A new image goes to the
/// host's showImage service, and is freed when the host does not take it. On an image that is null
/// or not alive, and on every failure, they do nothing and say nothing.
#pragma once

#include "ops/clip_region.h"

namespace imx {

struct ImageRecord;

/// What the operations' dialogs and options set.
struct OperationSettings {
  float gammaValue = 1.0f;
  float scaleFactor = 1.0f;
  float resampleScale = 1.0f;
  ImageRecord* mergeSource = nullptr;  ///< not owned
};

OperationSettings& Operations();

/// The one region of the process.
ClipRegion& CurrentClipRegion();

/// Clipped.
void ClipToRegion(ImageRecord* image);
/// Rescaled by scaleFactor.
void RescaleRegion(ImageRecord* image);
/// Resampled by resampleScale.
void ResampleRegion(ImageRecord* image);
/// MergeInto the image, from mergeSource.
void MergeRegion(ImageRecord* image);
/// CorrectGamma by gammaValue.
void ApplyGamma(ImageRecord* image);

}  // namespace imx
