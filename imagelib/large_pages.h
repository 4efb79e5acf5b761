/// A hint to the system about large blocks of memory.
#pragma once

#include <cstddef>

namespace imx {

/// Asks for large pages under a block that nothing has touched yet: a picture then takes a few page
/// faults in place of thousands. Does nothing where the system has none to give.
void AskForLargePages(void* start, std::size_t size);

}  // namespace imx
