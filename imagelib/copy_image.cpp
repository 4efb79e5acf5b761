#include "imagelib/copy_image.h"

#include <cstring>

#include "imagelib/image.h"

namespace imx {

ImageGuard CopyImage(const ImageRecord& image) {
  ImageGuard copy(AllocImage(image.width, image.height, image.name, image.path));
  if (!copy) return copy;
  std::uint8_t* const pixels = copy->pixels;
  std::int32_t* const rowOffsets = copy->rowOffsets;
  *copy = image;
  copy->pixels = pixels;
  copy->rowOffsets = rowOffsets;
  copy->display = nullptr;
  const std::size_t rowBytes = std::size_t{4} * static_cast<std::uint32_t>(image.width);
  for (std::int32_t y = 0; y < image.height; ++y) {
    std::memcpy(PixelRow(*copy, y), PixelRow(image, y), rowBytes);
  }
  return copy;
}

}  // namespace imx
