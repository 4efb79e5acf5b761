/// How the host learns whether a saver failed.
///
/// Savers keep their own return values, some of which are 0 for a save that went wrong, and the
/// dispatch passes none of them on. FileWriter notes here what really happened to the file, so a
/// host that saves beside the target and moves the whole file into place knows when not to.
#pragma once

#include <string_view>

namespace imx {

enum class SaveOutcome {
  none,    ///< no saver has finished a file since BeginSaveOutcome
  whole,   ///< every file that was begun was finished
  failed,  ///< a file could not be opened, written or closed, or was left unfinished
};

/// Forgets what earlier saves left behind. Called by the host before a save.
void BeginSaveOutcome();

/// What the save came to so far.
SaveOutcome GetSaveOutcome();

/// Why it failed, in words for the user ("No space left on device"); empty when nothing is known
/// beyond the fact (a save stopped half way). Valid until the next save.
std::string_view SaveFailureReason();

/// Noted by the writers. A failure is sticky until BeginSaveOutcome; the first reason is kept.
void NoteSaveWhole();
void NoteSaveFailed(const char* reason);

}  // namespace imx
