/// What safe saving and the hosts ask of the file system.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace imx {

enum class PathKind {
  missing,  ///< nothing there, or not to be seen
  regular,  ///< an ordinary file
  directory,
  stream,  ///< a pipe, a device: can neither be sought in nor replaced
};

/// The characters that end the folder part of a path.
extern const std::string_view kPathSeparators;

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

/// Removes a file if it is there. May be called from a signal handler.
void RemoveFile(const char* path);

/// The folder of `path`, in a form that a file name can be put behind.
std::string FolderOf(const std::string& path);

/// Sets `target` to the file that writing to `path` would write: where symbolic links lead to, if
/// `path` is one. False when the system would not write through such a link, or should not: in a
/// folder where everybody may put links (sticky, writable for all), only those of this user and of
/// the folder's owner are followed. `reason` then says why.
bool FollowLinks(const std::string& path, std::string* target, std::string* reason);

/// A text that all names of one file or folder have in common and no name of another has. It need
/// not be there yet if its folder is.
std::string FileIdentity(const std::string& path);

/// When the file was changed last, in the system's own units. None when it is not there.
std::optional<std::int64_t> ModificationTime(const std::string& path);

/// Bytes in the file; 0 when it is not there.
std::uint64_t FileSize(const std::string& path);

/// Whether `path` may be written: it can, or it does not exist. `reason` says why not.
bool IsWritable(const std::string& path, std::string* reason);

/// Moves `from` to `to` in the same folder in one step, replacing what was there. The file gets the
/// replaced one's permissions, else those of any new file; other hard links of that one keep the
/// old contents. `durable`: its bytes are on the disk before. On failure nothing has changed and
/// `reason` says why.
bool MoveIntoPlace(const std::string& from, const std::string& to, bool durable,
                   std::string* reason);

/// Waits until what was moved within `folder` is on the disk, where that is not done with each
/// move. False on failure, `reason` then says why.
bool SyncFolder(const std::string& folder, std::string* reason);

/// The system's words for its last error.
std::string SystemErrorText();

}  // namespace imx
