/// The frames of a GIF file as other programs show them: placed on the logical screen with their
/// own colours, transparency as alpha, each behind the disposal of the one before.
/// Layout: the Graphics Interchange Format of CompuServe, version 89a.
#pragma once

#include <cstdint>

#include "formats/gif_data.h"

namespace imx {

struct ImageRecord;

struct GifScreen {
  std::int32_t width = 0, height = 0;
  std::uint8_t flags = 0;
  std::uint8_t background = 0;
  std::uint8_t aspect = 0;
};

/// Reads what follows the signature, without the colour table.
GifScreen ReadGifScreen(FileReader& in);

/// What the blocks hold, told without decoding.
struct GifOutline {
  std::int32_t frames = 0;
  GifFrame first;
  bool needsScreen = false;  ///< frames laid over each other from the top left look different
};

/// Walks the blocks behind the screen, its colour table first; the file's position moves.
GifOutline OutlineGif(FileReader& in, const GifScreen& screen);

/// Makes the frame that is chosen (codec_state.h), else the first. `in` stands behind the screen.
/// Null when there is none, or it cannot be had.
ImageRecord* LoadGifFrame(FileReader& in, LzwStrings& strings, const GifScreen& screen,
                          const GifOutline& outline);

/// Puts the first `count` colours into the record's palette.
void KeepColours(ImageRecord& image, const PixelTable& colours, std::int32_t count);

}  // namespace imx
