#include "shell/win32/frame_dialog.h"

#include "resources/resource_ids.h"
#include "shell/win32/dialogs.h"

namespace imx {
namespace {

struct FrameChoice {
  int frame;
  int last;
};

FrameChoice& ChoiceOf(void* state) {
  return *static_cast<FrameChoice*>(state);
}

void Show(HWND dialog, const FrameChoice& choice) {
  SetScrollBar(dialog, IDC_FRAME, choice.last, choice.frame);
  SetDlgItemInt(dialog, IDC_FRAME_TEXT, static_cast<UINT>(choice.frame), TRUE);
}

void Open(HWND dialog, void* state) {
  const FrameChoice& choice = ChoiceOf(state);
  SetDlgItemInt(dialog, IDC_LAST_FRAME_TEXT, static_cast<UINT>(choice.last), TRUE);
  Show(dialog, choice);
}

void Scroll(HWND dialog, ScrollStep step, int thumb, void* state) {
  FrameChoice& choice = ChoiceOf(state);
  choice.frame = ScrolledPosition(choice.frame, choice.last, step, thumb);
  Show(dialog, choice);
}

constexpr DialogActions kFrameDialog = {Open, nullptr, Scroll, nullptr};

}  // namespace

std::int32_t AskForFrame(std::int32_t count) {
  FrameChoice choice = {0, count - 1};
  return RunDialog(IDD_FRAME, kFrameDialog, &choice) ? choice.frame : -1;
}

}  // namespace imx
