#include "shell/win32/raw_dialog.h"

#include "resources/resource_ids.h"
#include "shell/model/number_text.h"
#include "shell/model/raw_guide.h"
#include "shell/win32/dialogs.h"

namespace imx {
namespace {

RawGuide& GuideOf(void* state) {
  return *static_cast<RawGuide*>(state);
}

// OK waits for an answer that a file can be loaded with.
void EnableOk(HWND dialog, const RawGuide& guide) {
  EnableWindow(GetDlgItem(dialog, IDOK), IsComplete(guide));
}

void ShowDimensions(HWND dialog, RawGuide guide) {
  SetDlgItemInt(dialog, IDC_RAW_WIDTH, static_cast<UINT>(guide.width), TRUE);
  SetDlgItemInt(dialog, IDC_RAW_HEIGHT, static_cast<UINT>(guide.height), TRUE);
}

void Open(HWND dialog, void* state) {
  const RawGuide& guide = GuideOf(state);
  FillDropDown(dialog, IDC_RAW_KIND, RawKindLabels(), guide.kind);
  ShowDimensions(dialog, guide);
  EnableOk(dialog, guide);
}

void Command(HWND dialog, int control, int notification, void* state) {
  RawGuide& guide = GuideOf(state);
  if (control == IDC_RAW_WIDTH && notification == EN_CHANGE) {
    ReadDimension(ControlText(dialog, control, kDimensionCharacters), guide.width);
  } else if (control == IDC_RAW_HEIGHT && notification == EN_CHANGE) {
    ReadDimension(ControlText(dialog, control, kDimensionCharacters), guide.height);
  } else if (control == IDC_RAW_KIND && notification == CBN_SELCHANGE) {
    guide.kind = DropDownSelection(dialog, control);
  } else if (control == IDC_SWAP) {
    SwapDimensions(guide);
    ShowDimensions(dialog, guide);
  }
  EnableOk(dialog, guide);
}

constexpr DialogActions kRawDialog = {Open, Command, nullptr, nullptr};

}  // namespace

bool AskForRawLayout() {
  RawGuide guide = BeginRawGuide();
  if (!RunDialog(IDD_RAW_GUIDE, kRawDialog, &guide)) return false;
  AcceptRawGuide(guide);
  return true;
}

}  // namespace imx
