/// What safe saving and the hosts ask of the file system.
#pragma once

#include <string>

namespace imx {

enum class PathKind {
  missing,  ///< nothing there, or not to be seen
  regular,  ///< an ordinary file
  directory,
  stream,  ///< a pipe, a device: can neither be sought in nor replaced
};

/// What `path` names; symbolic links are followed.
PathKind KindOfPath(const std::string& path);

/// Puts off what would end the program from outside, while it lives.
class EndHold {
 public:
  EndHold();
  ~EndHold();
  EndHold(const EndHold&) = delete;
  EndHold& operator=(const EndHold&) = delete;
};

/// Creates an empty file of a new name in `directory` (empty: the system's place for temporary
/// files) that only this user may open. Its path, without an extension; empty on failure, `reason`
/// then says why.
std::string CreateUniqueFile(const std::string& directory, std::string* reason);

/// Removes a file if it is there. May be called from a signal handler.
void RemoveFile(const char* path);

/// The file that writing to `path` would write: where symbolic links lead to, if `path` is one.
std::string FollowLinks(const std::string& path);

/// Whether `path` may be written: it can, or it does not exist. `reason` says why not.
bool IsWritable(const std::string& path, std::string* reason);

/// Moves `from` to `to` in the same folder in one step, replacing what was there. The file gets the
/// replaced one's permissions, else those of any new file. On failure nothing has changed and
/// `reason` says why.
bool MoveIntoPlace(const std::string& from, const std::string& to, std::string* reason);

/// The system's words for its last error.
std::string SystemErrorText();

}  // namespace imx
