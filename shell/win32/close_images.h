/// What is asked before images that have changed are closed.
#pragma once

#include "shell/model/window_table.h"

namespace imx {

/// Whether the image's window may close: nothing would be lost, or the user saved the changes or
/// does not want them. Asks.
bool MayClose(const DisplayRecord& record);

/// The same for all image windows, asked in their order until the user cancels.
bool MayCloseAll();

}  // namespace imx
