/// Scroll bars that choose a number.
#pragma once

#include <cstdint>

namespace imx {

enum class ScrollStep { lineBack, lineOn, pageBack, pageOn, thumb };

/// Where a step leads from `position` on a bar from 0 to `last`: lines go by 1, pages by 10, the
/// thumb to `thumb`; none beyond the ends.
std::int32_t ScrolledPosition(std::int32_t position, std::int32_t last, ScrollStep step,
                              std::int32_t thumb);

}  // namespace imx
