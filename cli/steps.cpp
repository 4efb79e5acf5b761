#include "cli/steps.h"

#include "cli/host.h"
#include "cli/input.h"
#include "imagelib/host.h"
#include "ops/clip_region.h"
#include "ops/operations.h"

namespace imx {
namespace {

using Kind = ImageStep::Kind;

/// Where an operation's new image goes while it runs.
ImageGuard madeImage;

bool KeepMadeImage(const char* /*name*/, ImageRecord* image) {
  madeImage = ImageGuard(image);
  return true;
}

void SelectWholeImage(const ImageRecord& image) {
  CurrentClipRegion() = {0, 0, image.width - 1, image.height - 1};
}

/// Runs an operation that makes a new image, which takes the place of the old one.
bool Replace(void (*operation)(ImageRecord* image), ImageGuard* image) {
  Services().showImage = KeepMadeImage;
  operation(image->get());
  Services().showImage = nullptr;
  if (!madeImage) return false;
  *image = std::move(madeImage);
  madeImage = ImageGuard();
  SelectWholeImage(**image);
  return true;
}

/// Runs an operation that works in place.
bool Change(void (*operation)(ImageRecord* image), ImageRecord& image) {
  image.flags &= ~static_cast<std::uint32_t>(kFlagPixelsChanged);
  operation(&image);
  const bool changed = (image.flags & kFlagPixelsChanged) != 0;
  image.flags &= ~static_cast<std::uint32_t>(kFlagPixelsChanged);
  return changed;
}

bool Merge(const Request& request, const std::string& file, ImageRecord& image) {
  const ImageGuard source = LoadInput(file, request);
  if (!source) return false;
  Operations().mergeSource = source.get();
  const bool merged = Change(MergeRegion, image);
  Operations().mergeSource = nullptr;
  if (!merged) ReportFailure(file, "cannot be merged into the region");
  return merged;
}

bool Apply(const Request& request, const ImageStep& step, ImageGuard* image) {
  OperationSettings& settings = Operations();
  switch (step.kind) {
    case Kind::region:
      CurrentClipRegion() = {step.region[0], step.region[1], step.region[2], step.region[3]};
      return true;
    case Kind::clip:
      return Replace(ClipToRegion, image);
    case Kind::gamma:
      settings.gammaValue = step.factor;
      return step.factor == 1.0f || Change(ApplyGamma, **image);
    case Kind::rescale:
      settings.scaleFactor = step.factor;
      return Replace(RescaleRegion, image);
    case Kind::resample:
      settings.resampleScale = step.factor;
      return Replace(ResampleRegion, image);
    case Kind::merge:
      return Merge(request, step.file, **image);
  }
  return false;
}

const char* NameOf(Kind kind) {
  switch (kind) {
    case Kind::clip:
      return "--clip";
    case Kind::gamma:
      return "--gamma";
    case Kind::rescale:
      return "--rescale";
    case Kind::resample:
      return "--resample";
    case Kind::merge:
      return "--merge";
    case Kind::region:
      break;
  }
  return "--region";
}

}  // namespace

bool ApplySteps(const Request& request, const std::string& name, ImageGuard* image) {
  SelectWholeImage(**image);
  for (const ImageStep& step : request.steps) {
    const RefusalWatch memory;
    if (Apply(request, step, image)) continue;
    const char* why = memory.Refused() ? " needs more memory than there is"
                                       : " is not possible with this image, region and number";
    ReportFailure(name, std::string(NameOf(step.kind)) + why);
    return false;
  }
  return true;
}

}  // namespace imx
