/// The dialog of file type, depth and options for saving.
#pragma once

namespace imx {

struct ImageRecord;

/// Settles the image's output; false, with nothing changed, when the user cancelled.
bool AskForOutput(ImageRecord& image);

}  // namespace imx
