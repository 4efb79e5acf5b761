#include "render/render.h"

#include <algorithm>
#include <cstring>

#include "render/diffusion.h"
#include "render/fixed_palettes.h"
#include "render/grey.h"
#include "render/ordered.h"
#include "render/palette_build.h"
#include "render/renderer_state.h"

namespace imx {
namespace {

bool EnsureRenderPalette() {
  if (renderer.renderPalette) return true;
  // Whatever released it released the other buffers too: what they stood for is over.
  ResetRenderer();
  if (!renderer.renderPalette.Ensure(1, "render1")) return false;
  renderer.renderPalette.get()->count = kPaletteSize;
  return true;
}

void CopyEntries(const Palette& from, Palette& to, std::int32_t count) {
  std::copy_n(from.red, count, to.red);
  std::copy_n(from.green, count, to.green);
  std::copy_n(from.blue, count, to.blue);
}

/// Number of palette entries that the settings ask for in this mode.
std::int32_t EntryCount(std::int32_t mode) {
  const std::int32_t bits = renderer.settings.renderBits;
  const std::int32_t entries = bits == 24 ? 0 : 1 << std::clamp(bits, 0, 8);
  const bool limited =
      (entries == 256 || entries == 16) && (mode == kRenderFromImage || mode == kRenderPrevious);
  const std::int32_t limit = renderer.renderPalette.get()->count;
  return limited && limit < entries ? std::max(limit, 2) : entries;
}

/// One call of RenderImage.
struct Render {
  const ImageRecord& image;
  Palette& palette;
  RenderCode code;
  std::int32_t mode;
  bool ordered;
  std::int32_t strength;
  std::int32_t entries;
  PaletteRecord local;
  ErrorRows rows;
  TrackedBytes output;
};

bool AllocateBuffers(Render& render) {
  const auto width = static_cast<std::uint32_t>(render.image.width);
  const auto height = static_cast<std::uint32_t>(render.image.height);
  render.rows = {{width, "render10"}, {width, "render11"}, {width, "render12"}};
  if (!render.rows.red || !render.rows.green || !render.rows.blue) return false;
  const bool unlimited = renderer.settings.renderBits == 24;
  std::uint64_t rowSize = unlimited ? std::uint64_t{3} * width : std::uint64_t{width} + 4;
  if (render.code == RenderCode::packed24) rowSize = PackedRowSize(render.image.width);
  render.output = {rowSize * height, unlimited ? "render13" : "render14"};
  return static_cast<bool>(render.output);
}

void PackRows(const ImageRecord& image, std::uint8_t* packed) {
  ForEachRenderedRow("- Conversion -", image.height, [&](std::int32_t y) {
    const std::uint8_t* p = PixelRow(image, y);
    std::uint8_t* to = packed;
    for (std::int32_t x = 0; x < image.width; ++x, p += 4, to += 3) {
      to[0] = p[2];
      to[1] = p[1];
      to[2] = p[0];
    }
    packed += PackedRowSize(image.width);
  });
}

/// The palette of a colour request, and how its entries are matched.
bool ChoosePalette(Render& render, ColourMatch* match) {
  const bool fourBits = render.code == RenderCode::colour4;
  *match = ColourMatch::nearest;
  if (render.mode == kRenderFixed) {
    *match = fourBits ? ColourMatch::fixed16 : ColourMatch::cube;
    if (fourBits) {
      WriteFixed16(render.palette);
    } else {
      WriteCubePalette(render.palette, render.entries);
    }
    return true;
  }
  if (render.mode == kRenderPrevious) {
    const PaletteRecord& previous = *renderer.renderPalette.get();
    render.palette = previous.colours;
    return MapPalette(previous) == 0;
  }
  if (render.mode == kRenderGiven && !fourBits) {
    render.local = {render.palette, render.entries};
    return MapPalette(render.local) == 0;
  }
  if (BuildPaletteFromImage(render.image, render.local, render.entries, !fourBits) != 0) {
    return false;
  }
  CopyEntries(render.local.colours, render.palette, render.entries);
  return true;
}

bool RenderColour(Render& render) {
  ColourMatch match;
  if (!ChoosePalette(render, &match)) return false;
  if (render.ordered && render.code == RenderCode::colour8) {
    return OrderColour(render.image, render.palette, match, render.entries, render.strength,
                       render.output.data());
  }
  DiffuseColour(render.image, render.palette, match, render.strength, render.rows,
                render.output.data());
  return true;
}

bool RenderPixels(Render& render) {
  std::uint8_t* output = render.output.data();
  switch (render.code) {
    case RenderCode::packed24:
      PackRows(render.image, output);
      return true;
    case RenderCode::colour8:
    case RenderCode::colour4:
      return RenderColour(render);
    case RenderCode::grey8:
      RenderGrey8(render.image, render.entries, render.palette, output);
      return true;
    case RenderCode::grey4:
      RenderGrey4(render.image, render.entries, render.strength, render.palette, render.rows.red,
                  output);
      return true;
    case RenderCode::blackWhite:
      RenderBlackWhite(render.image, render.strength, render.palette, render.rows.red, output);
      return true;
  }
  return true;  // an unknown code leaves the zeros
}

}  // namespace

RenderSettings& Rendering() {
  return renderer.settings;
}

PaletteRecord* RenderPalette() {
  return renderer.renderPalette.get();
}

std::int32_t StartRenderer() {
  ResetRenderer();
  if (EnsureRenderPalette() && EnsureCells("render2", "render3")) return 0;
  StopRenderer();
  return 1;
}

void ResetRenderer() {
  renderer.mapping = {};
  renderer.exact = {};
  if (PaletteRecord* const previous = renderer.renderPalette.get()) *previous = {{}, kPaletteSize};
  // As new blocks are. The tree is filled and the distance table is right whatever came before.
  const ColourCells cells = Cells();
  if (cells.cellDistance) std::memset(cells.cellDistance, 0, kCellCount);
  if (cells.cellIndex) std::memset(cells.cellIndex, 0, kCellCount);
}

void StopRenderer() {
  renderer.exactTree.Free();
  renderer.distanceTable.Free();
  renderer.cellIndex.Free();
  renderer.cellDistance.Free();
  renderer.renderPalette.Free();
  ResetRenderer();
}

TrackedBytes RenderImage(const ImageRecord& image, Palette& palette, RenderCode code,
                         std::int32_t mode, bool ordered, bool keep, std::int32_t strength) {
  if (!EnsureRenderPalette()) return {};
  renderer.mapping.renderAdaptive =
      mode == kRenderFromImage || mode == kRenderPrevious || mode == kRenderGiven;
  if (mode == kRenderGrey && code == RenderCode::colour8) code = RenderCode::grey8;
  if (mode == kRenderGrey && code == RenderCode::colour4) code = RenderCode::grey4;

  Render render = {image, palette, code, mode, ordered, strength, EntryCount(mode), {}, {}, {}};
  if (mode != kRenderGiven) {
    const Palette& previous = renderer.renderPalette.get()->colours;
    CopyEntries(previous, palette, render.entries);
    CopyEntries(previous, render.local.colours, render.entries);
  }
  if (!AllocateBuffers(render) || !RenderPixels(render)) return {};
  if (keep) CopyEntries(palette, renderer.renderPalette.get()->colours, render.entries);
  return std::move(render.output);
}

}  // namespace imx
