#include "ops/operations.h"

#include <cmath>

#include "api/call.h"

namespace imx::api {
namespace {

/// Puts what an operation made in the place of the image.
Outcome Replace(imx_image& image, NewImage made) {
  if (!made) return FailedOperation(made.error);
  image.record = std::move(made.image);
  return {};
}

Outcome ResizeTo(imx_image& image, const ImageSize& size) {
  // An image that has the size already is left alone to the last bit.
  if (size == ImageSize{image.record->width, image.record->height}) return {};
  return Replace(image, Resized(*image.record, size));
}

ClipRegion RegionOf(const imx_image& image, const imx_region* region) {
  if (region) return {region->left, region->top, region->right, region->bottom};
  return {0, 0, image.record->width - 1, image.record->height - 1};
}

imx_difference Described(const ImageDifference& found) {
  imx_difference difference = {};
  difference.different_pixels = found.differentPixels;
  for (std::size_t i = 0; i < found.channels.size(); ++i) {
    difference.largest[i] = found.channels[i].largest;
    difference.mean[i] = found.channels[i].mean;
    difference.psnr[i] = found.channels[i].psnr;
  }
  return difference;
}

bool IsFactor(float factor) {
  return std::isfinite(factor) && factor > 0;
}

/// Does `work` on the record of an image that must be there.
template <typename Work>
imx_status OnImage(const imx_image* image, bool argumentsAreGood, imx_report* report, Work&& work) {
  return Run(report, {}, [&] {
    return image && argumentsAreGood ? work() : BadArgument("image or another argument");
  });
}

/// The same for work that cannot fail.
template <typename Work>
imx_status ChangeImage(imx_image* image, bool argumentsAreGood, imx_report* report, Work&& work) {
  return OnImage(image, argumentsAreGood, report, [&] {
    work(*image->record);
    return Outcome();
  });
}

}  // namespace
}  // namespace imx::api

using imx::api::BadArgument;
using imx::api::ChangeImage;
using imx::api::Described;
using imx::api::FailedOperation;
using imx::api::GiveStructure;
using imx::api::IsFactor;
using imx::api::OnImage;
using imx::api::Outcome;
using imx::api::RegionOf;
using imx::api::Replace;
using imx::api::ResizeTo;

imx_status imx_clip(imx_image* image, const imx_region* region, imx_report* report) {
  return OnImage(image, region, report, [&] {
    return Replace(*image, imx::Clipped(*image->record, RegionOf(*image, region)));
  });
}

imx_status imx_rescale(imx_image* image, const imx_region* region, float factor,
                       imx_report* report) {
  return OnImage(image, IsFactor(factor), report, [&] {
    return Replace(*image, imx::Rescaled(*image->record, RegionOf(*image, region), factor));
  });
}

imx_status imx_resample(imx_image* image, const imx_region* region, float factor,
                        imx_report* report) {
  return OnImage(image, IsFactor(factor), report, [&] {
    return Replace(*image, imx::Resampled(*image->record, RegionOf(*image, region), factor));
  });
}

imx_status imx_resize(imx_image* image, int32_t width, int32_t height, imx_report* report) {
  return OnImage(image, width > 0 && height > 0, report, [&] {
    return ResizeTo(*image, {width, height});
  });
}

imx_status imx_fit(imx_image* image, int32_t width, int32_t height, imx_report* report) {
  return OnImage(image, width >= 0 && height >= 0 && (width > 0 || height > 0), report, [&] {
    const imx::ImageSize size = {image->record->width, image->record->height};
    return ResizeTo(*image, imx::FittedSize(size, {width, height}));
  });
}

imx_status imx_rotate(imx_image* image, int32_t quarters, imx_report* report) {
  return OnImage(image, true, report, [&] {
    return Replace(*image, imx::Rotated(*image->record, (quarters % 4 + 4) % 4));
  });
}

imx_status imx_flip(imx_image* image, imx_report* report) {
  return ChangeImage(image, true, report, imx::FlipUpsideDown);
}

imx_status imx_flop(imx_image* image, imx_report* report) {
  return ChangeImage(image, true, report, imx::FlopLeftToRight);
}

imx_status imx_gamma(imx_image* image, float gamma, imx_report* report) {
  return ChangeImage(image, IsFactor(gamma), report,
                     [&](imx::ImageRecord& record) { imx::CorrectGamma(record, gamma); });
}

imx_status imx_flatten(imx_image* image, uint8_t red, uint8_t green, uint8_t blue,
                       imx_report* report) {
  return ChangeImage(image, true, report,
                     [&](imx::ImageRecord& record) { imx::Flatten(record, red, green, blue); });
}

imx_status imx_merge(imx_image* image, const imx_region* region, const imx_image* source,
                     imx_report* report) {
  return OnImage(image, source && source != image, report, [&] {
    return FailedOperation(
        imx::MergeInto(*image->record, RegionOf(*image, region), *source->record));
  });
}

imx_status imx_count_colours(const imx_image* image, int32_t* colours, imx_report* report) {
  return OnImage(image, colours, report, [&] {
    *colours = imx::CountColours(image->record.get());
    if (*colours < 0) throw std::bad_alloc();
    return Outcome();
  });
}

imx_status imx_compare(const imx_image* first, const imx_image* second, int32_t tolerance,
                       imx_difference* difference, imx_report* report) {
  const bool isUsable = second && difference && tolerance >= 0 && tolerance <= 255;
  return OnImage(first, isUsable, report, [&] {
    const imx::ImageRecord &a = *first->record, &b = *second->record;
    if (a.width != b.width || a.height != b.height) {
      return BadArgument("the images are of different sizes");
    }
    GiveStructure(Described(imx::Compare(a, b, tolerance)), difference);
    return Outcome();
  });
}
