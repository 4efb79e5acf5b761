/// Operations on whole images and on the current clip region.
///
/// Each reports progress row by row and fails silently, with nothing changed, on a dead image, a
/// region outside it, or when memory runs out. A new image goes to the host's showImage service,
/// and is freed when the host does not take it.
#pragma once

#include <cstdint>
#include <string>

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

/// New image: the region scaled by scaleFactor, nearest neighbour.
void RescaleRegion(ImageRecord* image);

/// New image: the region scaled by resampleScale, bilinear. The region keeps off the last column
/// and row, so that every sampled pixel has its neighbours.
void ResampleRegion(ImageRecord* image);

/// The whole image, at least 3 x 3, resampled bilinearly to width x height. Owned by the caller;
/// null on failure.
ImageRecord* ResampleImage(const ImageRecord* image, std::int32_t width, std::int32_t height);

/// Resamples mergeSource to one pixel less than the region each way and puts it at the region's
/// top left corner, blended by its alpha when it has any.
void MergeRegion(ImageRecord* image);

/// Raises red, green and blue (as fractions of 255) to the power gammaValue. 1.0 changes nothing.
void ApplyGamma(ImageRecord* image);

/// New image: a copy of the region.
void ClipToRegion(ImageRecord* image);

/// Number of distinct colours, alpha aside; -1 on failure.
std::int32_t CountColours(const ImageRecord* image);

/// The answer to counting the colours of a width x height image.
std::string ColourCountText(std::int32_t colours, std::int32_t width, std::int32_t height);

}  // namespace imx
