/// The window that the sample applications share: a picture of the installation, redrawn by an
/// effect many times a second, and a menu that tells the installed directories.
#pragma once

#include <cstdint>
#include <vector>

#include "imagelib/windows_api.h"

namespace imx {

/// Pixels as 0x00RRGGBB, rows top-down.
struct Canvas {
  int width = 0;
  int height = 0;
  std::vector<std::uint32_t> pixels;
};

/// What tells one application from the other.
struct PictureProgram {
  const char* name;      ///< in the title and the About box
  const char* settings;  ///< the .ini file in the Windows directory
  const char* picture;   ///< file in the pictures directory
  const char* about;     ///< what the application does, in a sentence
  /// Fills `target` (of the source's size) with the picture as it looks after `seconds`.
  void (*draw)(const Canvas& source, double seconds, Canvas& target);
};

/// Opens the window and runs until it is closed. Returns the program's exit status.
int RunPictureProgram(HINSTANCE instance, const PictureProgram& program);

/// The colour with each channel multiplied by `factor` and limited to 255.
std::uint32_t Brighten(std::uint32_t colour, double factor);

}  // namespace imx
