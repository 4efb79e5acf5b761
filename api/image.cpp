#include "imagelib/image.h"

#include <algorithm>
#include <cstring>

#include "api/call.h"
#include "imagelib/copy_image.h"
#include "imagelib/text.h"

namespace imx::api {
namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr std::uint8_t kOpaque = 255;

Outcome NewImage(std::int32_t width, std::int32_t height, const std::uint8_t* rgba, bool alpha,
                 imx_image** image) {
  ImageGuard record(AllocImage(width, height, nullptr, nullptr));
  if (record && rgba) {
    const std::size_t pixels = record->pixelCount;
    std::memcpy(record->pixels, rgba, pixels * kPixelBytes);
    for (std::size_t i = 0; i < pixels && !alpha; ++i) {
      record->pixels[kPixelBytes * i + 3] = kOpaque;
    }
  }
  if (record && alpha) record->flags |= kFlagAlpha;
  return GiveImage(std::move(record), 0, image);
}

TextField* Field(ImageRecord& record, imx_text which) {
  switch (which) {
    case IMX_TEXT_AUTHOR:
      return &record.author;
    case IMX_TEXT_COMMENT:
      return &record.comment;
    case IMX_TEXT_NOTICE:
      return &record.notice;
    case IMX_TEXT_NAME:
      return &record.name;
    case IMX_TEXT_FORMAT:
      return &record.formatLabel;
  }
  return nullptr;
}

Outcome SetText(imx_image& image, imx_text which, const char* text) {
  TextField* const field = Field(*image.record, which);
  if (!field || which == IMX_TEXT_FORMAT) return BadArgument("which");
  if (!CopyText(*field, text ? text : "")) return BadArgument("the text is longer than 254 bytes");
  return {};
}

}  // namespace
}  // namespace imx::api

using imx::api::BadArgument;
using imx::api::Field;
using imx::api::GiveImage;
using imx::api::NewImage;
using imx::api::Outcome;
using imx::api::Run;
using imx::api::SetText;

const char* imx_version(void) {
  return IMX_VERSION;
}

imx_status imx_image_new(int32_t width, int32_t height, const uint8_t* rgba, int32_t alpha,
                         imx_image** image, imx_report* report) {
  if (image) *image = nullptr;
  return Run(report, {}, [&] {
    if (!image || width < 1 || height < 1) return BadArgument("image, width or height");
    return NewImage(width, height, rgba, alpha != 0, image);
  });
}

imx_status imx_image_copy(const imx_image* image, imx_image** copy, imx_report* report) {
  if (copy) *copy = nullptr;
  return Run(report, {}, [&] {
    return image && copy ? GiveImage(imx::CopyImage(*image->record), image->frames, copy)
                         : BadArgument("image or copy");
  });
}

void imx_image_free(imx_image* image) {
  if (!image) return;
  Run(nullptr, {}, [image] {
    delete image;
    return Outcome();
  });
}

int32_t imx_image_width(const imx_image* image) {
  return image->record->width;
}

int32_t imx_image_height(const imx_image* image) {
  return image->record->height;
}

int32_t imx_image_depth(const imx_image* image) {
  return static_cast<int32_t>(image->record->depth);
}

int32_t imx_image_has_alpha(const imx_image* image) {
  return (image->record->flags & imx::kFlagAlpha) != 0 ? 1 : 0;
}

void imx_image_set_alpha(imx_image* image, int32_t alpha) {
  std::uint32_t& flags = image->record->flags;
  flags = alpha ? flags | imx::kFlagAlpha : flags & ~std::uint32_t{imx::kFlagAlpha};
}

int32_t imx_image_frames(const imx_image* image) {
  return image->frames;
}

uint8_t* imx_image_pixels(imx_image* image) {
  return image->record->pixels;
}

const char* imx_image_text(const imx_image* image, imx_text which) {
  const imx::TextField* const field = Field(*image->record, which);
  return field ? *field : "";
}

imx_status imx_image_set_text(imx_image* image, imx_text which, const char* text,
                              imx_report* report) {
  return Run(report, {},
             [&] { return image ? SetText(*image, which, text) : BadArgument("image"); });
}

int32_t imx_image_palette(const imx_image* image, uint8_t rgb[768]) {
  const imx::Palette& palette = image->record->palette;
  for (std::int32_t i = 0; i < imx::kPaletteSize; ++i) {
    const uint8_t colour[] = {palette.red[i], palette.green[i], palette.blue[i]};
    std::copy(colour, colour + 3, rgb + 3 * i);
  }
  return std::clamp(image->record->paletteCount, 0, imx::kPaletteSize);
}

imx_status imx_image_set_palette(imx_image* image, const uint8_t* rgb, int32_t count,
                                 imx_report* report) {
  return Run(report, {}, [&] {
    if (!image || !rgb || count < 1 || count > imx::kPaletteSize) {
      return BadArgument("image, rgb or count");
    }
    imx::Palette& palette = image->record->palette;
    palette = {};
    for (std::int32_t i = 0; i < count; ++i, rgb += 3) {
      palette.red[i] = rgb[0];
      palette.green[i] = rgb[1];
      palette.blue[i] = rgb[2];
    }
    image->record->paletteCount = count;
    return Outcome();
  });
}
