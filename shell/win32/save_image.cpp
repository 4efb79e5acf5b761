#include "shell/win32/save_image.h"

#include <vector>

#include "dispatch/safe_save.h"
#include "dispatch/save_choices.h"
#include "imagelib/registry.h"
#include "shell/model/save_texts.h"
#include "shell/model/window_list.h"
#include "shell/win32/file_dialogs.h"
#include "shell/win32/host_callbacks.h"
#include "shell/win32/output_dialog.h"
#include "shell/win32/shell_state.h"
#include "shell/win32/window_list_dialog.h"

namespace imx {
namespace {

void Inform(const char* text) {
  ShowBox(text, "Info", MB_ICONINFORMATION);
}

// The only image, or the one that the user picks; null when there is none or the user cancelled.
ImageRecord* PickImage(ListedImages which, const char* noneText) {
  const std::vector<DisplayRecord*> listed = ListWindows(Shell().windows, which);
  if (listed.empty()) {
    Inform(noneText);
    return nullptr;
  }
  const DisplayRecord* const record =
      listed.size() == 1 ? listed.front() : AskForFileToSave(listed);
  return record ? record->image : nullptr;
}

SaveResult SaveByChoices(const std::string& path, ImageRecord& image) {
  if (DepthChoiceBit(image.saveType, image.saveDepth) == -1) {
    return {false, "no file type has been chosen for it yet."};
  }
  if (path.empty()) return {false, "no file name has been chosen yet."};
  return SaveImageSafely(path, &image);
}

void TellLosses(const std::string& path, const ImageRecord& image) {
  std::string lines;
  TellLostTexts(image, [&lines](const char* line) { (lines += '\n') += line; });
  if (!lines.empty()) Inform((path + ":" + lines).c_str());
}

}  // namespace

void RunSaveImage() {
  ImageRecord* const image = PickImage(ListedImages::all, "No files to save!");
  if (image) SaveWithChoices(*image);
}

void RunSaveUnsaved() {
  ImageRecord* const image = PickImage(ListedImages::unsaved, "No files are unsaved!");
  if (image) SaveCurrentChoice(LastFullPath(), *image);
}

bool SaveWithChoices(ImageRecord& image) {
  if (!AskForOutput(image)) return false;
  const ChosenFile target = AskForSaveTarget(image);
  return !target.path.empty() && SaveCurrentChoice(target.path, image);
}

bool SaveCurrentChoice(const std::string& path, ImageRecord& image) {
  DisplayRecord& record = *image.display;
  const bool changed = WouldLoseChanges(record);
  image.flags &= ~std::uint32_t{kFlagChanged | kFlagNameGenerated};
  const SaveResult result = SaveByChoices(path, image);
  record.edited = changed && !result.saved ? 1 : 0;
  if (result.saved && Shell().imageHooks.saved) Shell().imageHooks.saved(record, path);
  if (result.saved) {
    TellLosses(path, image);
  } else {
    ShowBox(SaveFailureText(path, result.reason).c_str(), "Failure", MB_ICONSTOP);
  }
  return result.saved;
}

}  // namespace imx
