#include <cstdint>
#include <cstdio>

#include "cli/commands.h"
#include "cli/input.h"
#include "imagelib/image.h"

namespace imx {

int RunPixels(const Request& request) {
  const Input input = LoadInput(request.operands[0], request);
  if (!input) return kFailed;
  const ImageGuard& image = input.image;
  const std::size_t rowBytes = std::size_t{4} * static_cast<std::size_t>(image->width);
  for (std::int32_t y = 0; y < image->height;) {
    // Rows that follow each other in memory go out together.
    std::int32_t rows = 1;
    while (y + rows < image->height &&
           PixelRow(*image, y + rows) == PixelRow(*image, y + rows - 1) + rowBytes) {
      ++rows;
    }
    // A failure is found when standard output is closed.
    if (std::fwrite(PixelRow(*image, y), rowBytes, static_cast<std::size_t>(rows), stdout) == 0) {
      break;
    }
    y += rows;
  }
  return input.Status();
}

}  // namespace imx
