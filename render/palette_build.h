/// A palette chosen from an image's own colours.
#pragma once

#include <cstdint>

#include "render/render.h"

namespace imx {

/// Fills the record's first `count` entries, at most n (0..256), with colours of the image and sets
/// `count`; further entries are left alone. Entry 0 becomes black when `keepEntryZero` is false.
/// Locked entries keep the record's colours. Afterwards the palette is mapped for lookups. 0 when
/// done, -1 when memory runs out.
std::int32_t BuildPaletteFromImage(const ImageRecord& image, PaletteRecord& record, std::int32_t n,
                                   bool keepEntryZero);

}  // namespace imx
