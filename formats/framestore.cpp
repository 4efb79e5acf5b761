#include "formats/framestore.h"

#include <algorithm>
#include <cstring>

#include "formats/iff.h"
#include "imagelib/guards.h"
#include "ops/operations.h"

namespace imx {
namespace {

constexpr std::int32_t kFrameWidth = 752;
constexpr std::int32_t kFrameHeight = 480;
constexpr std::int32_t kSmallestResampled = 3;  // what bilinear resampling asks of its source

struct Size {
  std::int32_t width, height;
};

/// The largest size of the image's shape that fits the frame.
Size FittedSize(const ImageRecord& image) {
  const std::int64_t width = image.width;
  const std::int64_t height = image.height;
  if (width * kFrameHeight >= height * kFrameWidth) {
    const std::int64_t fitted = std::max<std::int64_t>(1, height * kFrameWidth / width);
    return {kFrameWidth, static_cast<std::int32_t>(fitted)};
  }
  const std::int64_t fitted = std::max<std::int64_t>(1, width * kFrameHeight / height);
  return {static_cast<std::int32_t>(fitted), kFrameHeight};
}

/// Images too small to interpolate are repeated pixel by pixel.
ImageGuard Fit(const ImageRecord& image, Size size) {
  if (image.width >= kSmallestResampled && image.height >= kSmallestResampled) {
    return ResampledTo(image, size.width, size.height).image;
  }
  ImageGuard fitted(AllocImage(size.width, size.height, image.name, nullptr));
  if (!fitted) return fitted;
  for (std::int32_t y = 0; y < size.height; ++y) {
    const std::uint8_t* from =
        PixelRow(image, static_cast<std::int32_t>(std::int64_t{y} * image.height / size.height));
    std::uint8_t* to = PixelRow(*fitted, y);
    for (std::int64_t x = 0; x < size.width; ++x) {
      std::memcpy(to + 4 * x, from + 4 * (x * image.width / size.width), 4);
    }
  }
  return fitted;
}

void Centre(const ImageRecord& picture, ImageRecord* frame) {
  const std::int32_t left = (frame->width - picture.width) / 2;
  const std::int32_t top = (frame->height - picture.height) / 2;
  for (std::int32_t y = 0; y < picture.height; ++y) {
    std::memcpy(PixelRow(*frame, top + y) + 4 * left, PixelRow(picture, y),
                std::size_t{4} * static_cast<std::uint32_t>(picture.width));
  }
}

}  // namespace

std::int32_t SaveFramestore(const ImageRecord* image, const char* path, std::int32_t compression) {
  ImageGuard frame(AllocImage(kFrameWidth, kFrameHeight, image->name, nullptr));
  if (!frame) return 1;
  const Size size = FittedSize(*image);
  if (size.width == image->width && size.height == image->height) {
    Centre(*image, frame.get());
  } else {
    const ImageGuard fitted = Fit(*image, size);
    if (!fitted) return 1;
    Centre(*fitted, frame.get());
  }
  CopyText(frame->author, image->author);
  CopyText(frame->comment, image->comment);
  CopyText(frame->notice, image->notice);
  return SaveIff(frame.get(), path, 0, compression);
}

}  // namespace imx
