#include "viewer/win32/resize_dialog.h"

#include "resources/resource_ids.h"
#include "shell/model/number_text.h"
#include "shell/win32/dialogs.h"

namespace imx {
namespace {

struct SizeChoice {
  ImageSize from;
  ImageSize size;
  bool filling = false;  ///< the dialog itself writes into its fields
};

SizeChoice& ChoiceOf(void* state) {
  return *static_cast<SizeChoice*>(state);
}

void Fill(HWND dialog, SizeChoice& choice, int control, std::int32_t length) {
  choice.filling = true;
  SetDlgItemInt(dialog, control, static_cast<UINT>(length), TRUE);
  choice.filling = false;
}

void Open(HWND dialog, void* state) {
  SizeChoice& choice = ChoiceOf(state);
  Fill(dialog, choice, IDC_RESIZE_WIDTH, choice.from.width);
  Fill(dialog, choice, IDC_RESIZE_HEIGHT, choice.from.height);
  CheckDlgButton(dialog, IDC_RESIZE_KEEP, BST_CHECKED);
}

void Read(HWND dialog, int control, std::int32_t& length) {
  ReadDimension(ControlText(dialog, control, kDimensionCharacters), length);
}

void Command(HWND dialog, int control, int notification, void* state) {
  SizeChoice& choice = ChoiceOf(state);
  if (notification != EN_CHANGE || choice.filling) return;
  const bool keep = IsDlgButtonChecked(dialog, IDC_RESIZE_KEEP) == BST_CHECKED;
  const bool across = control == IDC_RESIZE_WIDTH;
  std::int32_t& length = across ? choice.size.width : choice.size.height;
  Read(dialog, control, length);
  if (!keep || length < 1) return;
  SizeWish wish;
  (across ? wish.width : wish.height) = length;
  const ImageSize fitted = FittedSize(choice.from, wish);
  choice.size = fitted;
  Fill(dialog, choice, across ? IDC_RESIZE_HEIGHT : IDC_RESIZE_WIDTH,
       across ? fitted.height : fitted.width);
}

void Accept(HWND dialog, void* state) {
  SizeChoice& choice = ChoiceOf(state);
  Read(dialog, IDC_RESIZE_WIDTH, choice.size.width);
  Read(dialog, IDC_RESIZE_HEIGHT, choice.size.height);
}

constexpr DialogActions kSizeDialog = {Open, Command, nullptr, Accept};

}  // namespace

std::optional<ImageSize> AskForSize(ImageSize from) {
  SizeChoice choice = {from, from};
  if (!RunDialog(IDD_RESIZE, kSizeDialog, &choice)) return std::nullopt;
  if (choice.size.width < 1 || choice.size.height < 1) return std::nullopt;
  return choice.size;
}

}  // namespace imx
