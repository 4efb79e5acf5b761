/// Opening an image: the file dialog, the load with its questions, the window.
#pragma once

#include <cstdint>
#include <string>

namespace imx {

/// Asks for a file and shows it.
void RunOpenImage();

/// Asks how a headerless file is laid out, whatever was answered for earlier ones, then for the
/// file, and shows it.
void RunOpenRawImage();

enum class OpenOutcome {
  shown,      ///< in a window
  cancelled,  ///< by the user, asked for a frame or the layout of a headerless file
  noImage,    ///< nothing could be loaded
  noMemory,   ///< for the load, which was reported
  noWindow,   ///< the image could not be shown, which was reported
};

/// Loads `path`, asking for what the file does not tell, and shows it in a window under
/// `fileTitle`. With a raw layout other than -1 the user has settled its layout and size already.
/// `reason`, if given, gets why there is no image.
OpenOutcome OpenImageFile(const std::string& path, const std::string& fileTitle,
                          std::int32_t rawKind = -1, std::string* reason = nullptr);

/// Opens a file that was named outside the open dialog: a dropped one, or one of the command line.
/// One that gives no image is reported.
void OpenNamedFile(const std::string& path);

/// Changes between reading files as other programs do and doing so only where the library's own
/// way gives nothing, and ticks the menu's item. The open images stay as they are.
void ToggleReadAsOthers();

}  // namespace imx
