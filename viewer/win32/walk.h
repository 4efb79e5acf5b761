/// Going through the pictures of a folder and the frames of a sequence, in one window.
#pragma once

#include "viewer/model/folder.h"
#include "viewer/win32/image_view.h"

namespace imx {

/// Shows another picture of the folder that the image is from. Asks before changes are lost.
void WalkFolder(ImageView& view, FolderStep step);

/// Shows the frame that is so many further on, round about.
void StepFrame(ImageView& view, std::int32_t by);

/// Starts or stops playing the sequence.
void TogglePlaying(ImageView& view);
void StopPlaying(ImageView& view);

/// Answers the timer of a window that plays.
void PlayOn(ImageView& view);

/// Whether the image is from a file with more than one frame.
bool IsSequence(ImageView& view);

}  // namespace imx
