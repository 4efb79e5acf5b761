#include "cli/steps.h"

#include "cli/host.h"
#include "cli/input.h"
#include "dispatch/load.h"
#include "dispatch/operation_text.h"
#include "imagelib/image.h"
#include "ops/operations.h"

namespace imx {
namespace {

using Kind = ImageStep::Kind;

/// What the steps work on. The region is the whole image until a step sets another one.
struct Canvas {
  ImageGuard* image;
  ClipRegion region = {};

  void SelectAll() { region = {0, 0, (*image)->width - 1, (*image)->height - 1}; }
};

/// Why a step could not be done; empty when it was.
std::string Reason(const OperationError& error) {
  const bool aboveLimit =
      error.fault == OperationFault::tooLarge && error.refusedBytes > ImageCeiling();
  return OperationText(error) + (aboveLimit ? " (--max-memory)" : "");
}

/// A new image takes the place of the old one.
std::string Replace(NewImage made, Canvas& canvas) {
  if (!made) return Reason(made.error);
  *canvas.image = std::move(made.image);
  canvas.SelectAll();
  return {};
}

/// An image that has the size already is left alone to the last bit.
std::string Resize(const SizeWish& wish, Canvas& canvas) {
  const ImageRecord& image = **canvas.image;
  const ImageSize before = {image.width, image.height};
  const ImageSize size = FittedSize(before, wish);
  if (size != before) return Replace(Resized(image, size), canvas);
  canvas.SelectAll();
  return {};
}

std::string Apply(const ImageStep& step, const ImageRecord* mergeSource, Canvas& canvas) {
  ImageRecord& image = **canvas.image;
  switch (step.kind) {
    case Kind::region:
      canvas.region = {step.region[0], step.region[1], step.region[2], step.region[3]};
      return {};
    case Kind::clip:
      return Replace(Clipped(image, canvas.region), canvas);
    case Kind::gamma:
      CorrectGamma(image, step.factor);
      return {};
    case Kind::rescale:
      return Replace(Rescaled(image, canvas.region, step.factor), canvas);
    case Kind::resample:
      return Replace(Resampled(image, canvas.region, step.factor), canvas);
    case Kind::resize:
      return Resize(step.size, canvas);
    case Kind::flip:
      FlipUpsideDown(image);
      return {};
    case Kind::flop:
      FlopLeftToRight(image);
      return {};
    case Kind::rotate:
      return Replace(Rotated(image, step.quarters), canvas);
    case Kind::flatten:
      Flatten(image, step.below[0], step.below[1], step.below[2]);
      return {};
    case Kind::merge:
      return Reason(MergeInto(image, canvas.region, *mergeSource));
  }
  return {};
}

/// The option of a step that can fail.
std::string NameOf(const ImageStep& step) {
  switch (step.kind) {
    case Kind::clip:
      return "--clip";
    case Kind::gamma:
      return "--gamma";
    case Kind::rescale:
      return "--rescale";
    case Kind::resample:
      return "--resample";
    case Kind::resize:
      return "--resize";
    case Kind::rotate:
      return "--rotate";
    case Kind::merge:
      return "--merge " + step.file;
    default:
      return {};
  }
}

}  // namespace

bool ApplySteps(const Request& request, const std::string& name, Input* input) {
  Canvas canvas{&input->image};
  canvas.SelectAll();
  for (const ImageStep& step : request.steps) {
    Input mergeSource;
    if (step.kind == Kind::merge) {
      mergeSource = LoadInput(step.file, request);
      if (!mergeSource) return false;
      input->whole = input->whole && mergeSource.whole;
    }
    const MemoryBudget budget(ImageCeiling());
    std::string reason = Apply(step, mergeSource.image.get(), canvas);
    if (reason.empty()) continue;
    if (budget.Exceeded()) reason = AboveLimitText() + " (--max-memory)";
    ReportFailure(name, NameOf(step) + ": " + reason);
    return false;
  }
  return true;
}

}  // namespace imx
