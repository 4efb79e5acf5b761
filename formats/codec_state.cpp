#include "formats/codec_state.h"

namespace imx {
namespace {

SequenceState sequence;
RawState raw;
OutputOptions output;

}  // namespace

SequenceState& Sequence() {
  return sequence;
}
RawState& Raw() {
  return raw;
}
OutputOptions& Output() {
  return output;
}

}  // namespace imx
