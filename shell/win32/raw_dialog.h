/// The dialog that asks how a headerless file is laid out.
#pragma once

namespace imx {

/// Tells the loader what the user chose; false, with nothing told, when the user cancelled.
bool AskForRawLayout();

}  // namespace imx
