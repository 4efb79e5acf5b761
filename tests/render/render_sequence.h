/// Renders one after the other, the fast renderer beside the plain one: what one render leaves
/// behind decides about the next.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>

#include "imagelib/guards.h"
#include "tests/render/reference_renderer.h"

namespace imx::test {

/// Throws that decide what is rendered and how.
struct Dice {
  std::function<std::uint32_t()> next;

  /// 0 .. sides-1
  int Roll(int sides) { return static_cast<int>(next() % static_cast<std::uint32_t>(sides)); }
  std::uint8_t Byte() { return static_cast<std::uint8_t>(Roll(256)); }
  int Pick(std::initializer_list<int> values) {
    return values.begin()[Roll(static_cast<int>(values.size()))];
  }
};

/// Every pixel anywhere within `spread` of one colour: with a small spread the palette grows into
/// its exact passes before it is full.
ImageGuard Noise(Dice& dice, int width, int height, int spread);

/// Each begins with a renderer that is started afresh.
class RenderSequence {
 public:
  /// Pictures have at most 60 x 40 pixels; one in ten up to `largest` times that each way, enough
  /// for the palette to fill in its threshold passes.
  RenderSequence(Dice dice, int largest);

  /// Changes what a host may change between renders, and renders something. What differs in words;
  /// empty when nothing does.
  std::string Step();

  /// Renders with both.
  std::string Render(const ImageRecord& image, const RenderCall& call);

  Dice dice;
  ReferenceRenderer plain;
  Palette palette = {};

 private:
  void Shake();
  ImageGuard AnyPicture();
  RenderCall AnyCall();

  int largest_;
};

}  // namespace imx::test
