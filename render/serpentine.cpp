#include "render/serpentine.h"

namespace imx {

std::int64_t ScaleError(std::int32_t error, std::int32_t strength) {
  return std::int64_t{error} * strength / 100;
}

ErrorFeed::ErrorFeed(std::int32_t strength) {
  for (std::int32_t sum = -kLargestSum; sum <= kLargestSum; ++sum) {
    // No more than 255 either way can show in the clamped value.
    const std::int64_t share = std::clamp<std::int64_t>(ScaleError(sum / 2, strength), -255, 255);
    share_[sum + kLargestSum] = static_cast<std::int16_t>(share);
  }
}

}  // namespace imx
