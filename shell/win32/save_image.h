/// The save commands.
#pragma once

namespace imx {

void RunSaveImage();
void RunSaveUnsaved();

}  // namespace imx
