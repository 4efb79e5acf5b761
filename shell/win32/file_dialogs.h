/// The dialogs that ask for a file, and what they remember.
#pragma once

#include <string>

namespace imx {

struct ImageRecord;

/// A file that the user confirmed.
struct ChosenFile {
  std::string path;   ///< full; empty when the user cancelled
  std::string title;  ///< the name alone, for display
};

/// Builds the open dialog's file types and forgets what was remembered.
void PrepareFileDialogs();

ChosenFile AskForFileToOpen();

/// Asks where to save the image, whose output is settled.
ChosenFile AskForSaveTarget(const ImageRecord& image);

/// The full path last confirmed in either dialog; empty at start.
const std::string& LastFullPath();

/// A path was confirmed in another dialog that counts as one of them.
void RememberFullPath(const std::string& path);

}  // namespace imx
