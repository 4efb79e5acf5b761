/// Texts that the shell shows about an image.
#pragma once

#include <cstdint>
#include <string>

#include "imagelib/quirks.h"

namespace imx {

/// Title of an image window: "[3] - photo.png".
std::string ImageWindowTitle(std::int32_t number, const std::string& name);

/// Name of a loaded image: the file title; for one frame of a sequence (`frame` is 1 + its number,
/// 0 otherwise) with the frame's number, "clip.fli {fr #4}".
std::string LoadedImageName(const std::string& fileTitle, std::int32_t frame);

/// What an image window's title says behind the name about the way in which the file was read:
/// " (as other programs read it: gif-screen)", " (other programs read it otherwise: gif-screen)",
/// or nothing.
std::string ReadingNote(const QuirkSet& applied, const QuirkSet& shown);

}  // namespace imx
