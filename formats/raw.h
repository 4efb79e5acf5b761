/// Headerless 8-bit files: single channels, interleaved triples, or one file for each channel.
#pragma once

#include <cstdint>

namespace imx {

struct ImageRecord;

/// Layout codes; the order of the guide's "Load As Type" list (RawKindName).
enum RawKind : std::int32_t {
  kRawGrey = 0,
  kRawRed = 1,
  kRawGreen = 2,
  kRawBlue = 3,
  kRawRgb = 4,
  kRawRbg = 5,
  kRawGbr = 6,
  kRawGrb = 7,
  kRawBgr = 8,
  kRawBrg = 9,
  kRawThreeFiles = 10,
};

/// The layout that the name's extension tells, or -1.
std::int32_t RawKindByName(const char* fileName);

/// 1 when a layout is known: one was chosen already (Raw().kind), or the name's extension tells,
/// which then sets the kind and the extensions of the three channel files. Else 0.
std::int32_t GuessRawLayout(const char* fileName);

/// The record of width x height pixels, or null when a file cannot be opened or the size is
/// refused. A file that is too short leaves the remaining pixels as they were made.
ImageRecord* LoadRaw(const char* path, std::int32_t kind, std::int32_t width, std::int32_t height);

/// Writes kinds 0 .. 4. 0 on success, 1 on failure.
std::int32_t SaveRaw(const ImageRecord* image, const char* path, std::int32_t kind);

}  // namespace imx
