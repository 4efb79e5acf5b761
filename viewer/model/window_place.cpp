#include "viewer/model/window_place.h"

#include <algorithm>

namespace imx {

Box CascadedPlace(const Box& space, Extent size, std::int32_t step, std::int32_t number) {
  const std::int32_t width = std::min(size.width, space.width());
  const std::int32_t height = std::min(size.height, space.height());
  const std::int32_t room = std::min(space.width() - width, space.height() - height);
  const std::int32_t places = std::max(1, room / std::max(1, step) + 1);
  const std::int32_t offset = number % places * step;
  const std::int32_t left = space.left + offset, top = space.top + offset;
  return {left, top, left + width, top + height};
}

}  // namespace imx
