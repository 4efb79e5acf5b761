/// Opening and saving files beyond the shell's dialogs: several at once, the recent ones, and
/// saving by the image's own type.
#pragma once

#include "viewer/win32/image_view.h"

namespace imx {

/// Asks for files and shows each in a window of its own.
void RunOpenSeveral();

/// Asks for a name, offering the image's own type, and saves the image.
void RunSaveAs(ImageView& view);

/// Notes a file that was opened or saved for the menu of recent files.
void NoteRecent(const ImageRecord& image);

/// Fills the menu of recent files, which begins with the command ID_FIRST_RECENT.
void FillRecentMenu(HMENU menu);

/// Opens a file of that menu.
void OpenRecent(std::size_t place);

}  // namespace imx
