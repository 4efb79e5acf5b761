#include "shell/win32/output_dialog.h"

#include "imagelib/registry.h"
#include "resources/resource_ids.h"
#include "shell/model/output_choices.h"
#include "shell/win32/dialogs.h"

namespace imx {
namespace {

OutputChoices& ChoicesOf(void* state) {
  return *static_cast<OutputChoices*>(state);
}

void ShowCheckBox(HWND dialog, int control, bool enabled, bool checked) {
  CheckDlgButton(dialog, control, checked ? BST_CHECKED : BST_UNCHECKED);
  EnableWindow(GetDlgItem(dialog, control), enabled);
}

int IsChecked(HWND dialog, int control) {
  return IsDlgButtonChecked(dialog, control) == BST_CHECKED ? 1 : 0;
}

void ShowOptions(HWND dialog, const OutputChoices& choices) {
  const OptionControls options = DescribeOptions(choices);
  ShowCheckBox(dialog, IDC_COMPRESSION, options.compressionEnabled, options.compressionChecked);
  ShowCheckBox(dialog, IDC_INTERLACE, options.interlaceEnabled, options.interlaceChecked);
  SetScrollBar(dialog, IDC_QUALITY, kBestQuality, choices.quality);
  EnableWindow(GetDlgItem(dialog, IDC_QUALITY), options.qualityEnabled);
  SetDlgItemTextA(dialog, IDC_QUALITY_TEXT, options.qualityText.c_str());
}

void ShowDepthsAndOptions(HWND dialog, const OutputChoices& choices) {
  FillDropDown(dialog, IDC_DEPTH, DepthLabels(choices.row), choices.depth);
  ShowOptions(dialog, choices);
}

void Open(HWND dialog, void* state) {
  const OutputChoices& choices = ChoicesOf(state);
  FillDropDown(dialog, IDC_FILE_TYPE, SaverLabels(), SaverPosition(choices.row));
  ShowDepthsAndOptions(dialog, choices);
}

void Command(HWND dialog, int control, int notification, void* state) {
  OutputChoices& choices = ChoicesOf(state);
  if (control == IDC_FILE_TYPE && notification == CBN_SELCHANGE) {
    SelectType(choices, DropDownSelection(dialog, control));
    ShowDepthsAndOptions(dialog, choices);
  } else if (control == IDC_DEPTH && notification == CBN_SELCHANGE) {
    SelectDepth(choices, DropDownSelection(dialog, control));
  } else if (control == IDC_COMPRESSION && notification == BN_CLICKED) {
    choices.compression = IsChecked(dialog, control);
  } else if (control == IDC_INTERLACE && notification == BN_CLICKED) {
    choices.interlace = IsChecked(dialog, control);
  }
}

void Scroll(HWND dialog, ScrollStep step, int thumb, void* state) {
  OutputChoices& choices = ChoicesOf(state);
  choices.quality = ScrolledPosition(choices.quality, kBestQuality, step, thumb);
  SetScrollBar(dialog, IDC_QUALITY, kBestQuality, choices.quality);
  SetDlgItemTextA(dialog, IDC_QUALITY_TEXT, DescribeOptions(choices).qualityText.c_str());
}

constexpr DialogActions kOutputDialog = {Open, Command, Scroll, nullptr};

}  // namespace

bool AskForOutput(ImageRecord& image) {
  OutputChoices choices = BeginOutputChoices(image);
  if (!RunDialog(IDD_OUTPUT_CHOICES, kOutputDialog, &choices)) return false;
  AcceptOutputChoices(choices, image);
  return true;
}

}  // namespace imx
