#include "shell/win32/factor_dialog.h"

#include "ops/commands.h"
#include "resources/resource_ids.h"
#include "shell/model/number_text.h"
#include "shell/win32/dialogs.h"

namespace imx {
namespace {

float& FactorOf(void* state) {
  return *static_cast<float*>(state);
}

void Open(HWND dialog, void* state) {
  SetDlgItemTextA(dialog, IDC_FACTOR, FactorText(FactorOf(state)).c_str());
}

void Accept(HWND dialog, void* state) {
  ReadFactor(ControlText(dialog, IDC_FACTOR, kFactorCharacters), FactorOf(state));
}

constexpr DialogActions kFactorDialog = {Open, nullptr, nullptr, Accept};

}  // namespace

void AskForGamma() {
  RunDialog(IDD_GAMMA, kFactorDialog, &Operations().gammaValue);
}

void AskForScaleFactor() {
  RunDialog(IDD_RESCALE, kFactorDialog, &Operations().scaleFactor);
}

void AskForResampleScale() {
  RunDialog(IDD_RESAMPLE, kFactorDialog, &Operations().resampleScale);
}

}  // namespace imx
