#include "viewer/model/status_text.h"

#include <cmath>
#include <cstdio>

namespace imx {
namespace {

std::string Size(std::int32_t width, std::int32_t height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

std::string PixelText(const ImageRecord& image, Point at) {
  const std::uint8_t* const pixel = PixelRow(image, at.y) + std::ptrdiff_t{4} * at.x;
  std::string text = std::to_string(at.x) + ", " + std::to_string(at.y) + ":";
  for (int channel = 0; channel < 4; ++channel) text += " " + std::to_string(pixel[channel]);
  return text;
}

}  // namespace

std::string ZoomText(Zoom zoom) {
  const double percent = 100 * zoom.Factor();
  char text[32];
  const bool whole = std::abs(percent - std::round(percent)) < 0.05;
  std::snprintf(text, sizeof text, whole ? "%.0f%%" : "%.1f%%", percent);
  return text;
}

std::string StatusText(const ImageRecord& image, const Status& status) {
  std::string text = Size(image.width, image.height);
  const auto add = [&](const std::string& part) {
    if (!part.empty()) text += "  |  " + part;
  };
  std::string format = image.formatLabel;
  if (image.depth != 0) {
    format += (format.empty() ? "" : " ") + std::to_string(image.depth) + "-bit";
  }
  add(format);
  if (status.frames > 0) {
    add("frame " + std::to_string(image.frame) + " of " + std::to_string(status.frames));
  }
  add(ZoomText(status.zoom));
  if (status.pixel) add(PixelText(image, *status.pixel));
  if (status.selection) {
    add("sel. " + Size(status.selection->Width(), status.selection->Height()) + " at " +
        std::to_string(status.selection->left) + ", " + std::to_string(status.selection->top));
  }
  if (status.changed) add("changed");
  add(status.notice);
  return text;
}

}  // namespace imx
