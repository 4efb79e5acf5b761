/// Operations on images and on regions of them: what they work on comes as arguments, what they
/// make or why they failed is the result. Images are alive; a region may reach beyond its image,
/// of which the part within counts. Each reports progress row by row; one that fails has changed
/// nothing.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "imagelib/guards.h"
#include "ops/clip_region.h"

namespace imx {

enum class OperationFault {
  none,
  outside,         ///< nothing of the region lies within the image
  noPixels,        ///< the result would be less than a pixel wide or high
  sourceTooSmall,  ///< interpolating a whole image asks for 3 x 3 pixels
  tooLarge,        ///< the result exceeds the image ceiling, or what an image can be
  noMemory,
};

/// Why an operation could not be done.
struct OperationError {
  OperationFault fault = OperationFault::none;
  std::uint64_t refusedBytes = 0;  ///< with tooLarge: what the pixels would have taken

  explicit operator bool() const { return fault != OperationFault::none; }
};

/// A new image, or why there is none.
struct NewImage {
  ImageGuard image;  ///< empty when there is an error
  OperationError error;

  explicit operator bool() const { return static_cast<bool>(image); }
};

/// The pixels of a region as an image of their own. This one and the next two are marked as changed
/// and keep path, file type, alpha flag and texts of their source.
NewImage Clipped(const ImageRecord& source, ClipRegion region);

/// The region scaled by `factor`, nearest neighbour. Lengths are truncated.
NewImage Rescaled(const ImageRecord& source, ClipRegion region, float factor);

/// The region scaled by `factor`, bilinear. It keeps off the image's last column and row, so that
/// every sampled pixel has its neighbours.
NewImage Resampled(const ImageRecord& source, ClipRegion region, float factor);

/// The whole image, at least 3 x 3, resampled bilinearly to width x height. Of the source's
/// properties only path and alpha flag are kept.
NewImage ResampledTo(const ImageRecord& source, std::int32_t width, std::int32_t height);

/// Resamples `source` to one pixel less than the region each way and puts it at the region's top
/// left corner, blended by its alpha when it has any.
OperationError MergeInto(ImageRecord& target, ClipRegion region, const ImageRecord& source);

/// Raises red, green and blue (as fractions of 255) to the power `gamma`. 1.0 changes nothing.
void CorrectGamma(ImageRecord& image, float gamma);

/// A width and a height in pixels.
struct ImageSize {
  std::int32_t width;
  std::int32_t height;

  friend bool operator==(const ImageSize&, const ImageSize&) = default;
};

/// How large an image is to become.
struct SizeWish {
  std::int32_t width = 0;   ///< the image's shape is kept within width x height; 0: no limit
  std::int32_t height = 0;  ///< the same
  bool exact = false;       ///< just width x height, both given, whatever the shape
  bool onlyLarger = false;  ///< an image that is within them already stays as it is
};

/// The size that an image of size `from` gets by the wish; at least one pixel each way.
ImageSize FittedSize(ImageSize from, const SizeWish& wish);

/// The whole image in another size, averaged where it gets smaller (Mitchell-Netravali) and
/// interpolated where it gets larger (Catmull-Rom): in linear light, taking the colours as sRGB,
/// and weighted by alpha when the image has any. Marked and described as by the operations above.
NewImage Resized(const ImageRecord& source, ImageSize size);

/// Turns the whole image clockwise, `quarters` times 90 degrees. Marked and described as above.
NewImage Rotated(const ImageRecord& source, std::int32_t quarters);

/// Mirrors the image in place, its rows or its columns. Marked as CorrectGamma does.
void FlipUpsideDown(ImageRecord& image);
void FlopLeftToRight(ImageRecord& image);

/// Puts the image on a colour, mixing stored values as displays do. No alpha is left.
void Flatten(ImageRecord& image, std::uint8_t red, std::uint8_t green, std::uint8_t blue);

/// How far one channel of two images is apart, in levels of 0 to 255.
struct ChannelDifference {
  int largest = 0;
  double mean = 0;
  double psnr = 0;  ///< peak signal-to-noise ratio in dB; infinite where nothing differs
};

struct ImageDifference {
  std::uint64_t differentPixels = 0;               ///< those out of tolerance in any channel
  std::array<ChannelDifference, 4> channels = {};  ///< red, green, blue, alpha
};

/// Compares images of one size, whose channels may be `tolerance` levels apart. An image without
/// the alpha flag is opaque.
ImageDifference Compare(const ImageRecord& a, const ImageRecord& b, std::int32_t tolerance);

/// A picture of how far each pixel of two images of one size is apart, opaque: black where they are
/// equal. A difference of alpha shows in all three colours.
NewImage DifferenceOf(const ImageRecord& a, const ImageRecord& b);

/// Number of distinct colours, alpha aside; -1 for an image that is null or not alive, and when
/// memory runs out.
std::int32_t CountColours(const ImageRecord* image);

/// The answer to counting the colours of a width x height image.
std::string ColourCountText(std::int32_t colours, std::int32_t width, std::int32_t height);

}  // namespace imx
