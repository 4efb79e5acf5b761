#include "setup/core/page_machine.h"

#include <iterator>

namespace imx {

bool isSkipped(Page page, const InstallSettings& settings) {
  return page == Page::documentation && settings.installGlint == 0;
}

std::optional<Page> nextPage(Page page, const InstallSettings& settings) {
  const bool withoutGlint = settings.installGlint == 0;
  switch (page) {
    case Page::welcome:
      return Page::components;
    case Page::documentation:
      if (withoutGlint) return Page::locations;
      break;
    case Page::locations:
      if (withoutGlint && settings.navStep == -1) return Page::components;
      break;
    default:
      break;
  }
  const std::int32_t next = static_cast<std::int32_t>(page) + settings.navStep;
  if (next >= static_cast<std::int32_t>(std::size(kCourse))) return std::nullopt;
  return static_cast<Page>(next);
}

}  // namespace imx
