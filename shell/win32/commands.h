/// Commands of the main window.
#pragma once

namespace imx {

/// Runs the command with this id; false when there is none.
bool RunCommand(int command);

}  // namespace imx
