/// Where new image windows stand on the screen.
#pragma once

#include <cstdint>

#include "shell/model/progress_layout.h"
#include "viewer/model/view.h"

namespace imx {

/// The place of the `number`-th window (from 0) of this size within `space`: below and right of the
/// one before, from the upper left again where it would reach beyond. Never larger than `space`.
Box CascadedPlace(const Box& space, Extent size, std::int32_t step, std::int32_t number);

}  // namespace imx
