// Any file under any name through the load dispatch. In front of the file's bytes stand six: the
// extension's row in the registry (past them none), the frame, the raw layout (0: none) with the
// side of its square, the quirks, and whether the header is enough.

#include "dispatch/load.h"
#include "fuzz/targets.h"
#include "imagelib/quirks.h"
#include "imagelib/registry.h"
#include "imagelib/system_files.h"

namespace imx::test {

void FuzzDispatch(Run& run) {
  const int row = run.input.Choice(kRegistryRows + 1);
  const std::int32_t frame = run.input.Byte();
  const int kind = run.input.Choice(kRawKinds + 1) - 1;
  const std::int32_t side = run.input.Byte();
  // A number whose bits are as good as any other choice of quirks.
  constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;
  const QuirkScope quirks(QuirkSet(run.input.Byte() * kSpread));
  const bool headerOnly = run.input.Bit();
  const std::string path =
      run.temp.Write(std::string("in.") + TypeExtension(row), run.input.Rest());
  LoadChoices choices{.rawKind = kind,
                      .rawWidth = side,
                      .rawHeight = side,
                      .maxBytes = kImageCeiling,
                      .headerOnly = headerOnly};
  LoadResult result = Load(path.c_str(), choices);
  if (result.want == LoadWant::frame) {
    Require(!result.image, "an image although the frame is to be chosen");
    choices.frame = frame;
    result = Load(path.c_str(), choices);
  }
  RequireSound(result.image.get(), headerOnly);
  Require(result.image || (result.failure != LoadFailure::none && !result.reason.empty()),
          "neither an image nor a reason");
  RemoveFile(path.c_str());
}

}  // namespace imx::test
