#include "ops/scale_map.h"

#include <algorithm>

namespace imx {
namespace {

/// Walks `count` positions over `extent`: a float step added up in double, which both maps share.
template <typename Visit>
void WalkPositions(std::int32_t extent, std::int32_t count, Visit visit) {
  const auto step = static_cast<float>(static_cast<double>(extent) / count);
  double position = 0.0;
  for (std::int32_t i = 0; i < count; ++i) {
    const auto index = static_cast<std::int32_t>(position);
    visit(static_cast<std::size_t>(i), index, position - index);
    position += static_cast<double>(step);
  }
}

}  // namespace

std::int32_t ScaledLength(std::int32_t extent, float factor) {
  const double length = extent * static_cast<double>(factor);
  if (!(length >= 1.0)) return 0;  // not a number included
  return length < 2147483648.0 ? static_cast<std::int32_t>(length) : INT32_MAX;
}

TrackedArray<std::int32_t> MakeIndexMap(std::int32_t extent, std::int32_t count) {
  if (count < 1) return {};
  TrackedArray<std::int32_t> map(static_cast<std::uint32_t>(count), "make_smap1");
  if (!map) return map;
  WalkPositions(extent, count, [&](std::size_t i, std::int32_t index, double) {
    map[i] = std::min(index, extent - 1);  // the rounded step may overshoot in long maps
  });
  return map;
}

TrackedArray<float> MakeFractionMap(std::int32_t extent, std::int32_t count) {
  if (count < 1) return {};
  TrackedArray<float> map(static_cast<std::uint32_t>(count), "make_fmap1");
  if (!map) return map;
  WalkPositions(extent, count, [&](std::size_t i, std::int32_t, double fraction) {
    map[i] = static_cast<float>(fraction);
  });
  return map;
}

}  // namespace imx
