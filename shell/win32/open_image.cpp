#include "shell/win32/open_image.h"

#include "dispatch/load.h"
#include "formats/codec_state.h"
#include "imagelib/guards.h"
#include "imagelib/text.h"
#include "ops/clip_region.h"
#include "ops/operations.h"
#include "shell/model/display_texts.h"
#include "shell/win32/file_dialogs.h"
#include "shell/win32/frame_dialog.h"
#include "shell/win32/host_callbacks.h"
#include "shell/win32/image_window.h"
#include "shell/win32/raw_dialog.h"

namespace imx {
namespace {

// Every load starts without the choices made for an earlier one.
void ResetLoadChoices() {
  Sequence().frameWanted = false;
  Sequence().chosenFrame = -1;
  Raw().guideWanted = false;
  Raw().kind = -1;
}

void ReportNoWindow(ImageGuard image) {
  CurrentClipRegion() = {0, 0, 639, 479};
  ClipToRegion(image.get());
  image = ImageGuard();
  ShowBox("Could not open window, no image loaded!", "Failure", MB_ICONSTOP);
}

enum class Answer { notAsked, confirmed, cancelled };

// Asks what the last load wanted to know.
Answer AskForLoadChoices() {
  if (Sequence().frameWanted) {
    Sequence().chosenFrame = AskForFrame(Sequence().frameCount);
    return Sequence().chosenFrame == -1 ? Answer::cancelled : Answer::confirmed;
  }
  if (Raw().guideWanted) return AskForRawLayout() ? Answer::confirmed : Answer::cancelled;
  return Answer::notAsked;
}

std::string FullPath(const std::string& path) {
  char full[MAX_PATH] = "";
  const DWORD length = GetFullPathNameA(path.c_str(), sizeof full, full, nullptr);
  return length > 0 && length < sizeof full ? full : path;
}

}  // namespace

void RunOpenImage() {
  const ChosenFile file = AskForFileToOpen();
  if (!file.path.empty()) OpenImageFile(file.path, file.title);
}

OpenOutcome OpenImageFile(const std::string& path, const std::string& fileTitle) {
  ResetLoadChoices();
  ImageGuard image(LoadImage(path.c_str()));
  if (!image) {
    const Answer answer = AskForLoadChoices();
    if (answer == Answer::cancelled) return OpenOutcome::cancelled;
    if (answer == Answer::confirmed) image = ImageGuard(LoadImage(path.c_str()));
  }
  if (!image) return OpenOutcome::noImage;
  CopyTextCut(image->name, LoadedImageName(fileTitle, image->frame));
  CopyTextCut(image->path, path);
  if (!OpenImageWindow(image->name, image.get())) {
    ReportNoWindow(std::move(image));
    return OpenOutcome::noWindow;
  }
  image.release();
  return OpenOutcome::shown;
}

void OpenNamedFile(const std::string& path) {
  const std::string full = FullPath(path);
  if (OpenImageFile(full, std::string(PathFileName(full))) == OpenOutcome::noImage) {
    ShowBox(("No image could be loaded from\n" + full).c_str(), "Failure", MB_ICONSTOP);
  }
}

}  // namespace imx
