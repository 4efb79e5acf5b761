/// The save dispatch.
#pragma once

#include <cstdint>

namespace imx {

struct ImageRecord;

/// Saves by the record's saveType and saveDepth and the options in Output(). 0 when a saver was
/// called, whatever came of it (save_outcome.h tells); 1 when the type has no saver, which is
/// reported through LibError, the depth choice is invalid, or memory runs out in the dispatch.
std::int32_t SaveImage(const char* path, ImageRecord* image);

}  // namespace imx
