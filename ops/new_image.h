/// Where the operations' new images begin and end.
#pragma once

#include "ops/operations.h"

namespace imx {

/// No image, for this reason.
NewImage NoImage(OperationFault fault);

/// An empty image of the source's path.
NewImage AllocateNew(const ImageRecord& source, std::int32_t width, std::int32_t height);

/// Marks the image as changed and gives it the file type, alpha flag and texts of its source.
void TakeAfter(const ImageRecord& source, ImageRecord& image);

}  // namespace imx
