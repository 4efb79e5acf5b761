/// What hosts tell the codecs beyond their arguments, and what codecs keep from one call to the
/// next: plain process-wide state.
#pragma once

#include <cstdint>

#include "formats/pixel_rows.h"

namespace imx {

/// Choice of one frame of a sequence. A load without a chosen frame only counts and asks.
struct SequenceState {
  bool frameWanted = false;       ///< set by a sequence loader: choose a frame, then load again
  std::int32_t frameCount = 0;    ///< set by the counting pass
  std::int32_t chosenFrame = -1;  ///< 0-based; -1 = none chosen
};

/// Layout of a headerless file.
struct RawState {
  bool guideWanted = false;  ///< set by the raw loader: settle kind and size, then load again
  std::int32_t kind = -1;    ///< layout code 0..10; -1 = none chosen
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t channelSet = -1;  ///< extensions of three channel files; -1 = by the file's name
};

/// Output choices that savers read.
struct OutputOptions {
  std::int32_t compression = 1;
  std::int32_t quality = 100;  ///< 0..100
  std::int32_t interlace = 0;
  std::int32_t lastRow = 2;     ///< registry row last chosen
  std::int32_t depthBits = 24;  ///< bits per pixel for the savers that take a depth
  /// Where the user wants the file, when the host first writes it beside that place; else null.
  const char* finalPath = nullptr;
};

// The hosts', set before a load or a save.
SequenceState& Sequence();
RawState& Raw();
OutputOptions& Output();

/// The colours that the FLI and FLC loader saw last: a file without a colour chunk shows in those
/// of the one before.
PixelTable& FlicColours();

/// Puts all of the above as it is when the process starts: a file that is handled next comes out as
/// if it were the first.
void ResetCodecState();

}  // namespace imx
