/// Opening an image: the file dialog, the load, the window.
#pragma once

#include <string>

namespace imx {

/// Builds the dialog's file types and forgets earlier choices.
void PrepareOpenDialog();

/// Asks for a file and shows it.
void RunOpenImage();

/// Loads `path` and shows it in a window under `fileTitle`. A file that gives no image is passed
/// over in silence; a window that cannot be had is reported.
void OpenImageFile(const std::string& path, const std::string& fileTitle);

}  // namespace imx
