#include "shell/model/scroll.h"

#include <algorithm>

namespace imx {
namespace {

constexpr std::int32_t kLine = 1;
constexpr std::int32_t kPage = 10;

std::int64_t Target(std::int64_t position, ScrollStep step, std::int32_t thumb) {
  switch (step) {
    case ScrollStep::lineBack:
      return position - kLine;
    case ScrollStep::lineOn:
      return position + kLine;
    case ScrollStep::pageBack:
      return position - kPage;
    case ScrollStep::pageOn:
      return position + kPage;
    case ScrollStep::thumb:
      return thumb;
  }
  return position;
}

}  // namespace

std::int32_t ScrolledPosition(std::int32_t position, std::int32_t last, ScrollStep step,
                              std::int32_t thumb) {
  const std::int64_t end = std::max(last, 0);
  const std::int64_t target = Target(position, step, thumb);
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(target, 0, end));
}

}  // namespace imx
