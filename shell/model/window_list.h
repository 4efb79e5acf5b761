/// Lists by which the user picks one of the open images.
#pragma once

#include <string>
#include <vector>

#include "shell/model/window_table.h"

namespace imx {

enum class ListedImages { all, unsaved };

/// The records in slot order. They stay the table's.
std::vector<DisplayRecord*> ListWindows(const WindowTable& table, ListedImages which);

/// Line of a record in a list: "[3] photo.png".
std::string WindowListLine(const DisplayRecord& record);

}  // namespace imx
