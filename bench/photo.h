/// The picture that the benchmarks work on.
#pragma once

#include <cstdint>

#include "imagelib/guards.h"

namespace imx::bench {

/// A picture with what makes photographs hard to code: shading, texture of all sizes, sharp edges
/// and grain. Opaque, the alpha flag clear; the same in every run.
ImageGuard Photo(std::int32_t width, std::int32_t height);

}  // namespace imx::bench
