#include "shell/win32/shell_state.h"

namespace imx {

ShellState& Shell() {
  static ShellState state;
  return state;
}

}  // namespace imx
