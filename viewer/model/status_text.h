/// What the status line of an image window tells.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "imagelib/image.h"
#include "ops/clip_region.h"
#include "viewer/model/view.h"

namespace imx {

struct Status {
  Zoom zoom;
  std::int32_t frames = 0;              ///< of the sequence; 0 = it is none
  std::optional<Point> pixel;           ///< under the mouse, within the image
  std::optional<ClipRegion> selection;  ///< within the image
  bool changed = false;                 ///< closing would lose something
  std::string notice;                   ///< what else there is to tell
};

/// "640 x 480  |  PNG 24-bit  |  frame 3 of 10  |  100%  |  12, 40: 255 128 0 255  |
///  sel. 40 x 30 at 5, 6  |  changed", without the parts that there is nothing to tell of.
std::string StatusText(const ImageRecord& image, const Status& status);

/// "50%", "33.3%".
std::string ZoomText(Zoom zoom);

}  // namespace imx
