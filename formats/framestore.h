/// Video framestores: one 752 x 480 frame as a 24-plane ILBM, extension ".fs".
/// Reading needs nothing of its own: the IFF loader passes the format's extra chunks over.
#pragma once

#include <cstdint>

namespace imx {

struct ImageRecord;

/// Writes the image, scaled to fit and centred on black; ByteRun1-coded when `compression` is not
/// 0. 1 when there is no memory to scale it, else the result of SaveIff().
std::int32_t SaveFramestore(const ImageRecord* image, const char* path, std::int32_t compression);

}  // namespace imx
