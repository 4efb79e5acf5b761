#include "imagelib/save_outcome.h"

#include <cstdio>

namespace imx {
namespace {

SaveOutcome outcome = SaveOutcome::none;
char failureReason[256];  // nothing is allocated while a save fails

}  // namespace

void BeginSaveOutcome() {
  outcome = SaveOutcome::none;
  failureReason[0] = 0;
}

SaveOutcome GetSaveOutcome() {
  return outcome;
}

std::string_view SaveFailureReason() {
  return failureReason;
}

void NoteSaveWhole() {
  if (outcome == SaveOutcome::none) outcome = SaveOutcome::whole;
}

void NoteSaveFailed(const char* reason) {
  outcome = SaveOutcome::failed;
  if (failureReason[0] == 0 && reason) {
    std::snprintf(failureReason, sizeof failureReason, "%s", reason);
  }
}

}  // namespace imx
