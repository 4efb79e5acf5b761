#include "imagelib/header_only.h"

namespace imx {
namespace {

bool headerOnly = false;
bool alphaUntold = false;

}  // namespace

HeaderOnlyScope::HeaderOnlyScope(bool on) : before_(headerOnly) {
  if (on && !before_) alphaUntold = false;
  headerOnly = on;
}

HeaderOnlyScope::~HeaderOnlyScope() {
  headerOnly = before_;
}

bool HeaderOnly() {
  return headerOnly;
}

void NoteAlphaUntold() {
  alphaUntold = true;
}

bool AlphaIsUntold() {
  return alphaUntold;
}

}  // namespace imx
