/// FLI and FLC animations, one frame at a time.
/// Layout: the Autodesk Animator FLI and Animator Pro FLC formats.
#pragma once

namespace imx {

struct ImageRecord;

/// With no frame chosen (Sequence()), stores the frame count, asks for a frame and returns null.
/// Otherwise plays the animation up to the chosen frame; null when the file is no animation.
/// Damage or a stop gives the frames decoded so far.
ImageRecord* LoadFlic(const char* path);

}  // namespace imx
