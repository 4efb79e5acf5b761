/// The dialogs that pick one of the open images.
#pragma once

#include <vector>

#include "shell/model/window_table.h"

namespace imx {

/// The user's choice among `listed`, of which there is at least one; null when the user cancelled.
DisplayRecord* AskForFileToSave(const std::vector<DisplayRecord*>& listed);
DisplayRecord* AskForMergeSource(const std::vector<DisplayRecord*>& listed);

}  // namespace imx
