#include "formats/codec_state.h"

namespace imx {
namespace {

struct CodecState {
  SequenceState sequence;
  RawState raw;
  OutputOptions output;
  PixelTable flicColours = {};
};

CodecState state;

}  // namespace

SequenceState& Sequence() {
  return state.sequence;
}
RawState& Raw() {
  return state.raw;
}
OutputOptions& Output() {
  return state.output;
}
PixelTable& FlicColours() {
  return state.flicColours;
}

void ResetCodecState() {
  state = {};
}

}  // namespace imx
