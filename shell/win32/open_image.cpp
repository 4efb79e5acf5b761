#include "shell/win32/open_image.h"

#include "dispatch/host_alpha.h"
#include "dispatch/load.h"
#include "formats/codec_state.h"
#include "imagelib/guards.h"
#include "imagelib/system_files.h"
#include "imagelib/text.h"
#include "ops/commands.h"
#include "resources/resource_ids.h"
#include "shell/model/display_texts.h"
#include "shell/win32/file_dialogs.h"
#include "shell/win32/frame_dialog.h"
#include "shell/win32/host_callbacks.h"
#include "shell/win32/image_window.h"
#include "shell/win32/raw_dialog.h"
#include "shell/win32/shell_state.h"

namespace imx {
namespace {

void ReportNoWindow(ImageGuard image) {
  CurrentClipRegion() = {0, 0, 639, 479};
  ClipToRegion(image.get());
  image = ImageGuard();
  ShowBox("Could not open window, no image loaded!", "Failure", MB_ICONSTOP);
}

void ReportFile(const std::string& path, const std::string& what) {
  ShowBox((path + "\n" + what).c_str(), "Failure", MB_ICONSTOP);
}

void ReportNoImage(const std::string& path, const std::string& reason) {
  std::string text = "No image could be loaded from\n" + path;
  if (!reason.empty()) text += "\n" + reason;
  ShowBox(text.c_str(), "Failure", MB_ICONSTOP);
}

// Opens what the user chose in the open dialog.
void OpenChosenFile(const ChosenFile& file, std::int32_t rawKind = -1) {
  if (file.path.empty()) return;
  std::string reason;
  const OpenOutcome outcome = OpenImageFile(file.path, file.title, rawKind, &reason);
  if (outcome == OpenOutcome::noImage && Shell().reportsNoImage) ReportNoImage(file.path, reason);
}

enum class Answer { notAsked, confirmed, cancelled };

// Asks for what the load wanted to be told.
Answer AskForLoadChoices(const LoadResult& result, LoadChoices& choices) {
  switch (result.want) {
    case LoadWant::frame:
      choices.frame = AskForFrame(result.frames);
      return choices.frame == -1 ? Answer::cancelled : Answer::confirmed;
    case LoadWant::rawLayout:
      if (!AskForRawLayout()) return Answer::cancelled;
      choices.rawKind = Raw().kind;
      choices.rawWidth = Raw().width;
      choices.rawHeight = Raw().height;
      return Answer::confirmed;
    case LoadWant::nothing:
      break;
  }
  return Answer::notAsked;
}

std::string FullPath(const std::string& path) {
  char full[MAX_PATH] = "";
  const DWORD length = GetFullPathNameA(path.c_str(), sizeof full, full, nullptr);
  return length > 0 && length < sizeof full ? full : path;
}

}  // namespace

void RunOpenImage() {
  OpenChosenFile(AskForFileToOpen());
}

void RunOpenRawImage() {
  if (!AskForRawLayout()) return;
  const std::int32_t kind = Raw().kind;
  OpenChosenFile(AskForFileToOpen(), kind);
}

OpenOutcome OpenImageFile(const std::string& path, const std::string& fileTitle,
                          std::int32_t rawKind, std::string* reason) {
  LoadChoices choices;
  choices.way = Shell().readingWay;
  choices.rawKind = rawKind;
  choices.rawWidth = Raw().width;  // as answered last
  choices.rawHeight = Raw().height;
  LoadResult result = Load(path.c_str(), choices);
  const Answer answer = AskForLoadChoices(result, choices);
  if (answer == Answer::cancelled) return OpenOutcome::cancelled;
  if (answer == Answer::confirmed) result = Load(path.c_str(), choices);
  if (result.failure == LoadFailure::outOfMemory) {
    ReportFile(path, "There is not enough memory to load it.");
    return OpenOutcome::noMemory;
  }
  if (!result.image) {
    if (reason) *reason = result.reason;
    return OpenOutcome::noImage;
  }
  NotePluginAlpha(result);
  if (result.failure != LoadFailure::none)
    ReportFile(path, "It is not whole: " + result.reason + ".");
  ImageGuard image = std::move(result.image);
  CopyTextCut(image->name, LoadedImageName(fileTitle, image->frame));
  CopyTextCut(image->path, path);
  std::string name = image->name;
  if (choices.way != ReadingWay::exact) name += ReadingNote(result.applied, result.shown);
  if (!OpenImageWindow(name.c_str(), image.get())) {
    ReportNoWindow(std::move(image));
    return OpenOutcome::noWindow;
  }
  static_cast<void>(image.release());
  return OpenOutcome::shown;
}

void OpenNamedFile(const std::string& path) {
  const std::string full = FullPath(path);
  if (Shell().imageHooks.folder && KindOfPath(full) == PathKind::directory) {
    Shell().imageHooks.folder(full);
    return;
  }
  std::string reason;
  const OpenOutcome outcome = OpenImageFile(full, std::string(PathFileName(full)), -1, &reason);
  if (outcome == OpenOutcome::noImage) ReportNoImage(full, reason);
}

void ToggleReadAsOthers() {
  ReadingWay& way = Shell().readingWay;
  const bool asOthers = way != ReadingWay::interop;
  way = asOthers ? ReadingWay::interop : ReadingWay::atNeed;
  CheckMenuItem(GetMenu(Shell().mainWindow), ID_READ_AS_OTHERS,
                asOthers ? MF_CHECKED : MF_UNCHECKED);
}

}  // namespace imx
