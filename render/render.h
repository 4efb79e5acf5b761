/// Colour rendering: an image reduced to palette indices, or packed as 24-bit rows.
///
/// A render is three stages, of which the grey, black and white, and packed requests need only the
/// last:
///
///     palette   fixed (fixed_palettes.h), built from the image (palette_build.h), the previous
///               render's, or the caller's
///     lookups   cells and exact tree, which find a colour's entry (nearest.h, exact_tree.h);
///               the fixed palettes have tables of their own instead
///     pixels    error diffusion (diffusion.h, grey.h), ordered dither (ordered.h), or neither
///
/// The lookups are what the time goes into, and what the stages meet in. The *mirror palette* is
/// the list of entries that lookups answer with. The *cells* hold for each of 64 x 64 x 64 colour
/// boxes the entry to take, the *exact tree* the entry of each colour that is in the mirror as it
/// stands. Entering a colour (AddPaletteEntry) goes to all three, so a palette that is built from
/// the image is mapped while it grows, and growth asks the cells which colours are still far from
/// every entry. A palette that is there already is entered colour by colour (MapPalette).
///
/// What one render leaves behind shows in the next, and files depend on it byte for byte:
///
///   - RenderPalette() is replaced by a render that keeps its palette. Mode 3 renders with it; in
///     the others but 4 its entries stand where the render itself leaves the palette open. Its
///     `count` limits what modes 2 and 3 may use.
///   - Mapping the palette that is mapped already does nothing: the cells keep what full searches
///     have put into them, and with it the answers that depend on the order of earlier pixels.
///   - Mapping another palette fills the exact tree on its first colour, while the mirror still
///     holds the previous palette. All colours of that one are found under their previous index
///     until the next palette is built or mapped.
///   - The locks of the entries hold until they are set anew.
///   - An exact tree that memory was refused for is not asked for again. Growth then finds no
///     colour to be missing, and lookups go by the cells alone.
///
/// All of it is in one struct (renderer_state.h). ResetRenderer() forgets it, for a host that does
/// many files and wants each to come out as if it were the first.
#pragma once

#include <cstdint>

#include "imagelib/guards.h"
#include "imagelib/image.h"

namespace imx {

/// What the caller wants.
enum class RenderCode : std::int32_t {
  packed24 = 0,    ///< rows of blue, green, red bytes, each padded to a multiple of 4 bytes
  colour8 = 1,     ///< up to 256 colours
  grey8 = 2,       ///< 256 greys
  colour4 = 3,     ///< as colour8, for 4-bit files: index 0 is black; 16 colours at renderBits 4
  grey4 = 4,       ///< 16 greys
  blackWhite = 5,  ///< index 0 black, 1 white
};

/// Where the palette of a colour request comes from. Any other value acts as kRenderFromImage.
enum RenderMode : std::int32_t {
  kRenderFixed = 0,      ///< the default palette; for 4 bits the 16 fixed colours
  kRenderGrey = 1,       ///< a colour request becomes the grey request of the same depth
  kRenderFromImage = 2,  ///< built from the image
  kRenderPrevious = 3,   ///< RenderPalette(), as the previous render left it
  kRenderGiven = 4,      ///< the caller's, for 8 bits; for 4 bits as kRenderFromImage
};

/// The library's render settings, which every saver that renders passes on.
struct RenderSettings {
  /// The render palette has 1 << renderBits entries, 0..8; 24 stands for no palette.
  std::int32_t renderBits = 8;
  std::int32_t renderMode = kRenderFromImage;
  std::int32_t renderOrdered = 0;  ///< 0 error diffusion; else ordered dither (8-bit colour only)
  std::int32_t renderStrength = 100;  ///< strength of the dither in percent
};

RenderSettings& Rendering();

struct PaletteRecord {
  Palette colours;
  std::int32_t count;  ///< entries in use
};

/// The palette that the last render with `keep` left behind; its `count` is 256 unless a host
/// changes it. Null while the renderer is not started.
PaletteRecord* RenderPalette();

/// Makes the renderer's buffers and resets it, also when it is running already. 0 when done; 1,
/// nothing left allocated, when memory runs out. A host that never calls it has the same done by
/// the first render.
std::int32_t StartRenderer();

/// Puts all that is carried from call to call as it is when the process starts. The settings stay,
/// and so do the buffers, so this is cheap and cannot fail.
void ResetRenderer();

/// Releases the renderer's buffers. LibraryShutdown does so too.
void StopRenderer();

/// Renders `image` into bytes that the caller owns; empty when memory runs out.
///
/// Codes 1..5 give one index byte per pixel, rows top-down, `width` bytes each without padding (the
/// block may be larger); code 0 gives PackedRowSize(width) bytes per row; any other code gives
/// zeros. `palette` receives the entries that the indices point into; in mode 4 it is also the
/// palette to render to. With `keep` the palette becomes the one that mode 3 uses. `mode` is a
/// RenderMode, `strength` a percentage.
TrackedBytes RenderImage(const ImageRecord& image, Palette& palette, RenderCode code,
                         std::int32_t mode, bool ordered, bool keep, std::int32_t strength);

/// Bytes of one row of code 0.
constexpr std::uint64_t PackedRowSize(std::int32_t width) {
  return (std::uint64_t{3} * static_cast<std::uint32_t>(width) + 3) / 4 * 4;
}

}  // namespace imx
