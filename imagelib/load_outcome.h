/// How the host learns whether a file held all that its loader wanted of it.
///
/// Loaders give the picture as far as it could be read. That some of it was missing they note here.
#pragma once

namespace imx {

/// Forgets what earlier loads left behind. Called by the dispatch before a load.
void BeginLoadOutcome();

/// Whether the file ended before the picture was whole. With `image` false, the load gave none:
/// then a read past the end counts as well.
bool FileEndedEarly(bool image);

/// Whether pixels are missing since the file's data could not be decoded.
bool PixelsAreDamaged();

/// Noted by loaders: pixels are missing since the data before them could not be decoded.
void NoteDamagedPixels();

/// Noted by loaders: pixels are missing, or what they cannot be made without, since the file ends.
void NoteFileEndedEarly();

/// Noted by FileReader of any read past the end, also one that the picture can do without.
void NoteReadPastEnd();

}  // namespace imx
