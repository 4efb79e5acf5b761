/// The time that savers write into files.
#pragma once

#include <ctime>

namespace imx {

/// SOURCE_DATE_EPOCH (seconds since 1970, UTC) when the environment sets it to a number, else the
/// local clock.
std::tm FileTime();

}  // namespace imx
