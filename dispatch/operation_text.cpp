#include "dispatch/operation_text.h"

#include "dispatch/load.h"
#include "imagelib/memory_edge.h"

namespace imx {

std::string OperationText(const OperationError& error) {
  switch (error.fault) {
    case OperationFault::none:
      break;
    case OperationFault::outside:
      return "nothing of the region lies within the image";
    case OperationFault::noPixels:
      return "not a pixel would be left";
    case OperationFault::sourceTooSmall:
      return "images below 3 x 3 pixels cannot be resampled";
    case OperationFault::tooLarge:
      return OversizedText(error.refusedBytes);
    case OperationFault::noMemory:
      return kOutOfMemory;
  }
  return {};
}

}  // namespace imx
