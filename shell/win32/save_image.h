/// The save commands.
#pragma once

#include <string>

namespace imx {

struct ImageRecord;

/// Asks which image, how and where to, and saves it.
void RunSaveImage();

/// Saves an image that has changed, or never had a name, by the choices made for it, to the path
/// last confirmed in a file dialog.
void RunSaveUnsaved();

/// Asks how and where to, and saves the image. False when the user cancelled, or the save failed.
bool SaveWithChoices(ImageRecord& image);

/// Takes the image, which has a window, off the unsaved ones and saves it by its choices. What was
/// at `path` is only replaced by a whole new file. False on failure, which is reported.
bool SaveCurrentChoice(const std::string& path, ImageRecord& image);

}  // namespace imx
