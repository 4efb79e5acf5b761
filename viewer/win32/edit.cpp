#include "viewer/win32/edit.h"

#include <utility>

#include "dispatch/operation_text.h"
#include "imagelib/copy_image.h"
#include "imagelib/text.h"
#include "shell/win32/host_callbacks.h"
#include "shell/win32/image_window.h"
#include "viewer/win32/quiet_load.h"
#include "viewer/win32/resize_dialog.h"
#include "viewer/win32/view_paint.h"
#include "viewer/win32/walk.h"

namespace imx {
namespace {

void TrimHistories() {
  const std::vector<History*> histories = AllHistories();
  Trim(histories, kHistoryBytes);
}

void TellNoUndo(ImageView& view) {
  view.notice = "too large to be undone";
}

// The new image takes the place of the old one, whose name and ways of saving it keeps.
void ReplaceBy(ImageView& view, NewImage made) {
  if (!made) {
    ShowBox(("The image cannot be changed: " + OperationText(made.error) + ".").c_str(), "Failure",
            MB_ICONSTOP);
    return;
  }
  ImageRecord& image = *made.image;
  const ImageRecord& old = view.image();
  CopyText(image.name, old.name);
  CopyText(image.formatLabel, old.formatLabel);
  CopyText(image.extension, old.extension);
  image.flags = (image.flags & ~std::uint32_t{kFlagNameGenerated}) | kFlagChanged |
                (old.flags & kFlagNameGenerated);
  image.depth = old.depth;
  image.frame = old.frame;
  image.saveType = old.saveType;
  image.saveDepth = old.saveDepth;
  const bool edited = std::exchange(view.record->edited, 1) != 0;
  view.notice.clear();
  ImageGuard before = ExchangeImage(view, std::move(made.image));
  if (BytesOf(*before) > kHistoryBytes) {
    TellNoUndo(view);
    before.reset();
  }
  KeepForUndo(view, std::move(before), edited);
}

void ChangeInPlace(ImageView& view, void (*change)(ImageRecord&)) {
  StopPlaying(view);
  ImageGuard before = BeforeChange(view);
  const bool edited = std::exchange(view.record->edited, 1) != 0;
  const ShortWork work(BytesOf(view.image()));
  change(view.image());
  view.image().flags |= kFlagChanged;
  KeepForUndo(view, std::move(before), edited);
  RepaintFromPixels(*view.record);
}

void Go(ImageView& view, HistoryWay way, HistoryWay back) {
  std::optional<HistoryStep> step = TakeStep(view.history, way);
  if (!step) return;
  StopPlaying(view);
  view.notice.clear();
  const bool edited = std::exchange(view.record->edited, step->edited ? 1 : 0) != 0;
  KeepStep(view.history, back, ExchangeImage(view, std::move(step->image)), edited);
  TrimHistories();
}

}  // namespace

ImageGuard BeforeChange(ImageView& view) {
  view.notice.clear();
  ImageGuard before;
  if (BytesOf(view.image()) <= kHistoryBytes) before = CopyImage(view.image());
  if (!before) TellNoUndo(view);
  return before;
}

void KeepForUndo(ImageView& view, ImageGuard before, bool editedBefore) {
  if (before) {
    Remember(view.history, std::move(before), editedBefore);
    TrimHistories();
  } else {
    view.history = {};  // what lies before cannot be reached any more
  }
  ShowStatus(view);
}

void Undo(ImageView& view) {
  Go(view, HistoryWay::undo, HistoryWay::redo);
}

void Redo(ImageView& view) {
  Go(view, HistoryWay::redo, HistoryWay::undo);
}

void Crop(ImageView& view) {
  if (!view.selection) return;
  StopPlaying(view);
  const ShortWork work(BytesOf(view.image()));
  ReplaceBy(view, Clipped(view.image(), *view.selection));
}

void FlipAcross(ImageView& view) {
  ChangeInPlace(view, FlopLeftToRight);
}

void FlipDown(ImageView& view) {
  ChangeInPlace(view, FlipUpsideDown);
}

void Rotate(ImageView& view, std::int32_t quarters) {
  StopPlaying(view);
  const ShortWork work(BytesOf(view.image()));
  ReplaceBy(view, Rotated(view.image(), quarters));
}

void RunResize(ImageView& view) {
  StopPlaying(view);
  const ImageSize from = {view.image().width, view.image().height};
  const std::optional<ImageSize> size = AskForSize(from);
  if (!size || *size == from) return;
  const ShortWork work(BytesOf(view.image()));
  ReplaceBy(view, Resized(view.image(), *size));
}

}  // namespace imx
