#include "imagelib/save_outcome.h"

namespace imx {
namespace {

SaveOutcome outcome = SaveOutcome::none;
std::string failureReason;

}  // namespace

void BeginSaveOutcome() {
  outcome = SaveOutcome::none;
  failureReason.clear();
}

SaveOutcome GetSaveOutcome() {
  return outcome;
}

const std::string& SaveFailureReason() {
  return failureReason;
}

void NoteSaveWhole() {
  if (outcome == SaveOutcome::none) outcome = SaveOutcome::whole;
}

void NoteSaveFailed(const char* reason) {
  outcome = SaveOutcome::failed;
  if (failureReason.empty() && reason) failureReason = reason;
}

}  // namespace imx
