/// Files that are being made, and what killed processes left of theirs.
///
/// A name is "imx-unfinished-PID@HOST-" and six letters or digits that nobody else has, so that it
/// tells what the file is and whose process makes it. It has no extension.
#pragma once

#include <string>
#include <string_view>

namespace imx {

struct UnfinishedFile {
  std::string path;  ///< empty: there is none
  int hold = -1;     ///< what shows other processes that its maker is alive, where there is such
};

/// Creates an empty file in `folder` (empty: the system's place for temporary files) that only this
/// user may open. On failure there is none, and `reason` says why.
UnfinishedFile CreateUnfinishedFile(const std::string& folder, std::string* reason);

/// Called when the file is in its place or gone.
void LetGo(const UnfinishedFile& file);

/// Removes what processes of this host left unfinished in `folder` (empty: as above) when they were
/// killed. Files of processes that live, of other hosts and of other users stay. A folder is looked
/// through once in the life of the program: the cost of many saves must not grow with what is
/// there.
void RemoveLeftovers(const std::string& folder);

/// The part of a name in front of its six last characters.
std::string UnfinishedStem(unsigned long process, const std::string& host);

/// Whether a file of that name is an unfinished one, whosesoever.
bool IsUnfinished(std::string_view name);

/// The process that made the file called `name`; 0 when that is no unfinished file of `host`.
unsigned long MakerOf(std::string_view name, const std::string& host);

/// RemoveLeftovers without its memory; one for each system.
void RemoveLeftoversNow(const std::string& folder);

}  // namespace imx
