/// Frames of the first video stream of AVI files.
/// Layout of a frame: a packed device-independent bitmap (BITMAPINFOHEADER, colours, rows).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace imx {

struct ImageRecord;

/// With no frame chosen (Sequence()), stores the frame count, asks for a frame and returns null.
/// Otherwise the chosen frame, or null when it cannot be had. A stop gives the rows converted so
/// far. Where no AVI decoder is at hand, says so and returns null.
ImageRecord* LoadAviFrame(const char* path);

/// Converts a packed bitmap of 8, 16 (5-5-5) or 24 bits; other depths give a black image, if the
/// quirks of AVI do not say otherwise. Null for a damaged one.
ImageRecord* ImageFromPackedBitmap(std::span<const std::uint8_t> bitmap);

}  // namespace imx
