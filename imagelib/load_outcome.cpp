#include "imagelib/load_outcome.h"

namespace imx {
namespace {

bool endedEarly = false;
bool readPastEnd = false;

}  // namespace

void BeginLoadOutcome() {
  endedEarly = readPastEnd = false;
}

bool FileEndedEarly(bool image) {
  return endedEarly || (!image && readPastEnd);
}

void NoteFileEndedEarly() {
  endedEarly = true;
}

void NoteReadPastEnd() {
  readPastEnd = true;
}

}  // namespace imx
