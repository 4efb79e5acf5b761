/// Pixels of a zoomed image, row by row and only those that are seen: nearest when enlarged,
/// averages when reduced.
#pragma once

#include <cstdint>
#include <span>

#include "imagelib/guards.h"
#include "viewer/model/view.h"

namespace imx {

/// How the averages of pixels are made.
enum class Averages {
  plain,    ///< each channel by itself
  byAlpha,  ///< colours count by their alpha: what cannot be seen does not colour its neighbours
};

/// A copy of an image at a quarter of its size each way: what a strongly reduced picture costs to
/// draw does not grow with the image then.
struct QuarterCopy {
  TrackedBytes pixels;  ///< R, G, B, A; empty = not made
  Extent size;
  Averages averages = Averages::plain;
};

/// Where the shown pixels of a zoomed image come from.
struct ScaledSource {
  const std::uint8_t* pixels;  ///< R, G, B, A; of the image or its quarter copy
  Extent size;
  std::int32_t shown;  ///< so many shown pixels ...
  std::int32_t taken;  ///< ... stand for so many of these
  Averages averages;
};

/// The source for this zoom. The quarter copy is made where it helps and is not there or has other
/// averages; without the memory for it the image itself is the source.
ScaledSource SourceFor(const ImageRecord& image, Zoom zoom, Averages averages, QuarterCopy& copy);

/// Makes the shown pixels from `first` on of row `y` of the shown image, R, G, B, A, as many as
/// `rgba` holds. Those beyond the source repeat its last ones.
void MakeScaledRow(const ScaledSource& source, std::int32_t y, std::int32_t first,
                   std::span<std::uint8_t> rgba);

}  // namespace imx
