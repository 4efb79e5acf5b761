/// The dialog that asks for one frame of a sequence.
#pragma once

#include <cstdint>

namespace imx {

/// The frame chosen among `count`, from 0; -1 when the user cancelled.
std::int32_t AskForFrame(std::int32_t count);

}  // namespace imx
