#include "imagelib/load_outcome.h"

namespace imx {
namespace {

bool endedEarly = false;
bool readPastEnd = false;
bool damagedPixels = false;

}  // namespace

void BeginLoadOutcome() {
  endedEarly = readPastEnd = damagedPixels = false;
}

bool FileEndedEarly(bool image) {
  return endedEarly || (!image && readPastEnd);
}

void NoteFileEndedEarly() {
  endedEarly = true;
}

bool PixelsAreDamaged() {
  return damagedPixels;
}

void NoteDamagedPixels() {
  damagedPixels = true;
}

void NoteReadPastEnd() {
  readPastEnd = true;
}

}  // namespace imx
