#include "dispatch/host_alpha.h"

#include <cstdint>

#include "dispatch/save_choices.h"
#include "imagelib/image.h"
#include "imagelib/registry.h"

namespace imx {
namespace {

constexpr std::uint8_t kOpaque = 255;

/// Visits the alpha byte of each pixel, by rows, until a visit returns false. False then.
template <typename Visit>
bool EachAlpha(const ImageRecord& image, Visit&& visit) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    std::uint8_t* pixel = PixelRow(image, y);
    for (std::int32_t x = 0; x < image.width; ++x, pixel += 4) {
      if (!visit(pixel[3])) return false;
    }
  }
  return true;
}

bool EveryAlphaIs(const ImageRecord& image, std::uint8_t value) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    const std::uint8_t* const row = PixelRow(image, y);
    std::uint8_t differing = 0;
    for (std::size_t x = 0; x < static_cast<std::size_t>(image.width); ++x) {
      differing |= static_cast<std::uint8_t>(row[4 * x + 3] ^ value);
    }
    if (differing != 0) return false;
  }
  return true;
}

void FillAlpha(const ImageRecord& image, std::uint8_t value) {
  EachAlpha(image, [value](std::uint8_t& alpha) {
    alpha = value;
    return true;
  });
}

/// Types that know 24 bits only write alpha where there is some.
bool AlphaIsUnwanted(const ImageRecord& image) {
  return DepthBits(DepthChoiceBit(image.saveType, image.saveDepth)) == 24 &&
         DepthChoice(image.saveType, 32) != kNoDepthChoice;
}

}  // namespace

void NotePluginAlpha(const LoadResult& loaded) {
  if (!loaded.image || !loaded.image->pixels || !loaded.kind.library) return;
  ImageRecord& image = *loaded.image;
  if (!EveryAlphaIs(image, PixelRow(image, 0)[3])) image.flags |= kFlagAlpha;
}

AlphaAsChosen::AlphaAsChosen(ImageRecord& image) : image_(image) {
  if ((image.flags & kFlagAlpha) == 0) {
    if (!EveryAlphaIs(image, 0)) return;
    change_ = Change::madeOpaque;
  } else {
    if (!AlphaIsUnwanted(image)) return;
    dropped_ = TrackedBytes(image.pixelCount, "host_alpha");
    ok_ = static_cast<bool>(dropped_);
    if (!ok_) return;
    std::uint8_t* kept = dropped_.data();
    EachAlpha(image, [&kept](std::uint8_t alpha) {
      *kept++ = alpha;
      return true;
    });
    image.flags &= ~std::uint32_t{kFlagAlpha};
    change_ = Change::dropped;
  }
  FillAlpha(image, kOpaque);
}

AlphaAsChosen::~AlphaAsChosen() {
  if (change_ == Change::madeOpaque) FillAlpha(image_, 0);
  if (change_ != Change::dropped) return;
  const std::uint8_t* kept = dropped_.data();
  EachAlpha(image_, [&kept](std::uint8_t& alpha) {
    alpha = *kept++;
    return true;
  });
  image_.flags |= kFlagAlpha;
}

}  // namespace imx
