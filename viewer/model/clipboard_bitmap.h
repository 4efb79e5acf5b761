/// Images as the clipboard carries them: packed device-independent bitmaps.
/// Layout: BITMAPV5HEADER and BITMAPINFOHEADER of the Windows GDI, rows behind them, bottom-up.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "ops/clip_region.h"

namespace imx {

/// A region of the image, which lies within it, with a version 5 header: 32 bits, blue first, and
/// alpha that is not multiplied in. An image without meaningful alpha comes out opaque.
std::vector<std::uint8_t> PackedBitmapV5(const ImageRecord& image, const ClipRegion& region);

/// The same in 24 bits with the short header, without alpha.
std::vector<std::uint8_t> PackedBitmap24(const ImageRecord& image, const ClipRegion& region);

/// The file that a packed bitmap makes: the file header is put in front. Empty when it is too short
/// for any header.
std::vector<std::uint8_t> FileOfPackedBitmap(std::span<const std::uint8_t> packed);

}  // namespace imx
