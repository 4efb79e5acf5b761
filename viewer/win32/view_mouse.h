/// The mouse in the viewer's image windows: the tools' rectangle, the selection, moving and zooming
/// the picture.
#pragma once

#include <optional>

#include "viewer/win32/image_view.h"

namespace imx {

/// Answers a mouse message; none for others.
std::optional<LRESULT> OnMouse(ImageView& view, UINT message, WPARAM wParam, LPARAM lParam);

/// Selects a region, of which the part within the image counts, or nothing.
void Select(ImageView& view, std::optional<ClipRegion> region);

}  // namespace imx
