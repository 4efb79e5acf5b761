/// What the viewer tells about itself.
#pragma once

#include <string>

namespace imx {

/// The program's name and version, and which file types it opens and saves.
std::string AboutText(const std::string& version);

}  // namespace imx
