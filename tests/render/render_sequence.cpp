#include "tests/render/render_sequence.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <sstream>
#include <utility>

#include "render/render.h"
#include "render/renderer_state.h"
#include "tests/support/pictures.h"

namespace imx::test {

ImageGuard Noise(Dice& dice, int width, int height, int spread) {
  const int low[3] = {dice.Roll(257 - spread), dice.Roll(257 - spread), dice.Roll(257 - spread)};
  std::mt19937 grain(dice.next());
  ImageGuard image = Solid(width, height, {0, 0, 0, 255});
  for (std::uint32_t i = 0; i < image->pixelCount * 4; ++i) {
    const auto up = static_cast<int>(grain() % static_cast<unsigned>(spread));
    image->pixels[i] = static_cast<std::uint8_t>(low[i % 4 % 3] + up);
  }
  return image;
}

RenderSequence::RenderSequence(Dice thrown, int largest)
    : dice(std::move(thrown)), largest_(largest) {
  Rendering() = {};
  StartRenderer();
}

std::string RenderSequence::Step() {
  if (dice.Roll(3) == 0) Shake();
  if (dice.Roll(6) == 0) {
    // Colours of one corner leave most cells to the full search.
    const int spread = dice.Pick({256, 256, 16});
    std::mt19937 grain(dice.next());
    for (auto* plane : {palette.red, palette.green, palette.blue}) {
      std::generate_n(plane, 256, [&] {
        return static_cast<std::uint8_t>(grain() % static_cast<unsigned>(spread));
      });
    }
  }
  const ImageGuard image = AnyPicture();
  return Render(*image, AnyCall());
}

std::string RenderSequence::Render(const ImageRecord& image, const RenderCall& call) {
  Colours wantedPalette = ColoursOf(palette);
  const std::vector<std::uint8_t> wanted = RenderByReference(plain, image, wantedPalette, call);
  const TrackedBytes got = RenderImage(image, palette, static_cast<RenderCode>(call.code),
                                       call.mode, call.ordered, call.keep, call.strength);
  const char* const fault =
      !got || got.size() < wanted.size()                           ? "nothing is rendered"
      : std::memcmp(got.data(), wanted.data(), wanted.size()) != 0 ? "other indices"
      : ColoursOf(palette) != wantedPalette                        ? "another palette"
      : ColoursOf(RenderPalette()->colours) != plain.renderPalette ? "another palette is kept"
                                                                   : nullptr;
  if (!fault) return {};
  std::ostringstream text;
  text << fault << ": code " << call.code << ", mode " << call.mode << ", ordered " << call.ordered
       << ", keep " << call.keep << ", strength " << call.strength << ", " << image.width << 'x'
       << image.height << ", bits " << plain.renderBits;
  return text.str();
}

void RenderSequence::Shake() {
  if (dice.Roll(8) == 0) {
    ResetRenderer();
    plain = ReferenceRenderer();
  }
  plain.renderBits = dice.Pick({8, 8, 8, 8, 4, 4, 1, 2, 3, 5, 7, 0, 24});
  Rendering().renderBits = plain.renderBits;
  plain.renderPaletteCount = dice.Pick({256, 256, 256, 200, 15, 9, 1});
  RenderPalette()->count = plain.renderPaletteCount;
  const bool locks = dice.Roll(3) == 0;
  std::mt19937 grain(dice.next());
  for (auto& lock : plain.locks) {
    const auto face = static_cast<std::uint8_t>(grain() % 6);
    lock = static_cast<std::uint8_t>(locks && face > 3 ? face - 3 : 0);
  }
  std::copy(plain.locks.begin(), plain.locks.end(), renderer.mapping.entryLocks);
}

ImageGuard RenderSequence::AnyPicture() {
  const int scale = dice.Roll(10) == 0 ? largest_ : 1;
  const int width = 1 + dice.Roll(60 * scale);
  const int height = 1 + dice.Roll(40 * scale);
  switch (dice.Roll(6)) {
    case 0:
      return Drawing(width, height);
    case 1:
      return AlphaGradient(width, height);
    case 2:
      return Solid(width, height, {dice.Byte(), dice.Byte(), dice.Byte(), 255});
    case 3:
      return Noise(dice, width, height, dice.Pick({2 + dice.Roll(5), 30 + dice.Roll(40), 256}));
    default:
      return PhotoLike(width, height, static_cast<std::uint32_t>(dice.Roll(1000)));
  }
}

RenderCall RenderSequence::AnyCall() {
  return {dice.Pick({0, 1, 1, 1, 1, 1, 1, 2, 3, 3, 3, 4, 5, 6, -1}),
          dice.Pick({0, 0, 1, 2, 2, 2, 3, 3, 3, 4, 4, 5, -1}), dice.Roll(3) == 0, dice.Roll(4) != 0,
          dice.Pick({100, 100, 100, 0, 1, 30, 99, 150, -60, 2000000000})};
}

}  // namespace imx::test
