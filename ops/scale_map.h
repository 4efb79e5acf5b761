/// Maps from output positions onto a source extent.
#pragma once

#include <cstdint>

#include "imagelib/guards.h"

namespace imx {

/// Length of `extent` scaled by `factor`, truncated; 0 when that is less than 1 or no number, and
/// at most INT32_MAX, which no image can have.
std::int32_t ScaledLength(std::int32_t extent, float factor);

/// Source index of each of `count` output positions over `extent` source positions. False in a
/// test when it could not be had.
TrackedArray<std::int32_t> MakeIndexMap(std::int32_t extent, std::int32_t count);

/// The fraction beyond that index, 0 up to 1.
TrackedArray<float> MakeFractionMap(std::int32_t extent, std::int32_t count);

}  // namespace imx
