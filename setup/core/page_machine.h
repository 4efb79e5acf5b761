/// The wizard's pages, and which follows which.
#pragma once

#include <optional>

#include "setup/core/install_settings.h"

namespace imx {

enum class Page {
  // In the order in which they are gone through.
  welcome,
  components,
  documentation,  ///< passed over without Glint
  locations,
  programGroup,
  confirmation,
  storage,
  // Shown when there is something to tell or to ask.
  halted,
  abortQuery,
  changeRequired,
  finished,
  removeQuery,
};
inline constexpr int kPageCount = 12;

/// The pages that an installation goes through.
inline constexpr Page kCourse[] = {Page::welcome,   Page::components,   Page::documentation,
                                   Page::locations, Page::programGroup, Page::confirmation,
                                   Page::storage};

/// Whether the wizard goes on from `page` without showing anything.
bool isSkipped(Page page, const InstallSettings& settings);

/// The page after `page`, which was accepted or skipped, by settings.navStep; none behind the
/// storage page, when the installation is due.
std::optional<Page> nextPage(Page page, const InstallSettings& settings);

}  // namespace imx
