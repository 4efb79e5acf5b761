/// Texts of saving an image.
#pragma once

#include <string>

namespace imx {

struct ImageRecord;

/// "Save As PNG (*.png) Image in 24-bit (16m colors) mode", by the image's choices.
std::string SaveDialogTitle(const ImageRecord& image);

/// The name that the save dialog starts with: without its ending when it has exactly one dot.
std::string SaveStartName(const std::string& name);

/// The folder of a file's path, with its separator; empty when the path has none.
std::string FolderOfPath(const std::string& path);

/// The question before an image with changes is closed.
std::string SaveChangesQuestion(const ImageRecord& image);

/// What to tell when a save failed. `reason` may be empty.
std::string SaveFailureText(const std::string& path, const std::string& reason);

}  // namespace imx
