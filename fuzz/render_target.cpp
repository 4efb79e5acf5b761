// Sequences of renders against the plain renderer.

#include "fuzz/targets.h"
#include "tests/render/render_sequence.h"

namespace imx::test {

void FuzzRenderer(Run& run) {
  constexpr int kMostSteps = 6;
  RenderSequence sequence({[&run] { return static_cast<std::uint32_t>(run.input.Choice(65536)); }},
                          1);
  for (int step = 0; step < kMostSteps && !run.input.ended(); ++step) {
    const std::string difference = sequence.Step();
    Require(difference.empty(), difference);
  }
}

}  // namespace imx::test
