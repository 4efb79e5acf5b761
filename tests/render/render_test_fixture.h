/// The fixture of tests that render.
#pragma once

#include <cstdint>
#include <vector>

#include "render/nearest.h"
#include "render/render.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {

/// Every test starts with a fresh renderer and the settings' start values.
class RenderTest : public LibraryTest {
 protected:
  void SetUp() override {
    Rendering() = {};
    ASSERT_EQ(StartRenderer(), 0);
  }

  /// Renders the picture; the palette is left in `palette`.
  std::vector<int> Render(const ImageGuard& image, RenderCode code, std::int32_t mode,
                          bool ordered = false, std::int32_t strength = 100) {
    const TrackedBytes bytes = RenderImage(*image, palette, code, mode, ordered, true, strength);
    if (!bytes) return {};
    return {bytes.data(), bytes.data() + image->pixelCount};
  }

  Rgba Entry(int index) const {
    return {palette.red[index], palette.green[index], palette.blue[index], 255};
  }

  Palette palette = {};
};

inline Rgba GreyPixel(std::uint8_t value) {
  return {value, value, value, 255};
}

}  // namespace imx::test
