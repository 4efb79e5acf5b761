#include <cstdio>

#include "cli/commands.h"
#include "cli/host.h"
#include "cli/input.h"
#include "imagelib/image.h"
#include "ops/operations.h"

namespace imx {

int RunCount(const Request& request) {
  const Input input = LoadInput(request.operands[0], request);
  if (!input) return kFailed;
  const ImageRecord& image = *input.image;
  const std::int32_t count = CountColours(&image);
  if (count < 0) {
    ReportFailure(request.operands[0], "not enough memory to count its colours");
    return kFailed;
  }
  std::printf("%s\n", ColourCountText(count, image.width, image.height).c_str());
  return input.Status();
}

}  // namespace imx
