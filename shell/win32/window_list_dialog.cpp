#include "shell/win32/window_list_dialog.h"

#include "resources/resource_ids.h"
#include "shell/model/window_list.h"
#include "shell/win32/dialogs.h"

namespace imx {
namespace {

struct WindowChoice {
  const std::vector<DisplayRecord*>& listed;
  DisplayRecord* chosen;
};

WindowChoice& ChoiceOf(void* state) {
  return *static_cast<WindowChoice*>(state);
}

void Open(HWND dialog, void* state) {
  for (const DisplayRecord* record : ChoiceOf(state).listed) {
    SendDlgItemMessageA(dialog, IDC_WINDOW_LIST, LB_ADDSTRING, 0,
                        reinterpret_cast<LPARAM>(WindowListLine(*record).c_str()));
  }
  SendDlgItemMessageA(dialog, IDC_WINDOW_LIST, LB_SETCURSEL, 0, 0);
}

void Accept(HWND dialog, void* state) {
  WindowChoice& choice = ChoiceOf(state);
  const LRESULT line = SendDlgItemMessageA(dialog, IDC_WINDOW_LIST, LB_GETCURSEL, 0, 0);
  if (line < 0 || static_cast<std::size_t>(line) >= choice.listed.size()) return;
  choice.chosen = choice.listed[static_cast<std::size_t>(line)];
}

constexpr DialogActions kListDialog = {Open, nullptr, nullptr, Accept};

DisplayRecord* Ask(int resource, const std::vector<DisplayRecord*>& listed) {
  WindowChoice choice = {listed, nullptr};
  RunDialog(resource, kListDialog, &choice);
  return choice.chosen;
}

}  // namespace

DisplayRecord* AskForFileToSave(const std::vector<DisplayRecord*>& listed) {
  return Ask(IDD_SELECT_FILE, listed);
}

DisplayRecord* AskForMergeSource(const std::vector<DisplayRecord*>& listed) {
  return Ask(IDD_MERGE_SOURCE, listed);
}

}  // namespace imx
