/// How hosts save. Half a file is never left: the old file is there until a whole new one replaces
/// it. And alpha is what the user means by the image and the depth (AlphaAsChosen).
#pragma once

#include <cstdio>
#include <string>

namespace imx {

struct ImageRecord;

/// What a save came to.
struct SaveResult {
  bool saved;
  /// Why not, in words for the user. Empty when it is not known or the library has reported it
  /// through LibError.
  std::string reason;
};

/// What a save sees to besides the file itself.
struct SaveCare {
  /// The new file is on the disk before it takes the place of the old one.
  bool durable = true;
  /// What killed processes left in the folder is removed, and its new entry is on the disk when the
  /// save is over. Without it the caller does this, once for many saves into one folder:
  /// RemoveLeftovers before them, SyncFolder behind.
  bool folder = true;
};

/// SaveImage into a new file beside `path`, which is then moved there if it is whole. A failed or
/// stopped save leaves what was at `path` as it was, and nothing beside it. The replaced file's
/// permissions are kept, and a symbolic link stays one; other hard links of the replaced file keep
/// the old contents. A link that someone else put into a folder open to all is not followed. A pipe
/// or a device at `path` is given the bytes of the whole file instead.
SaveResult SaveImageSafely(const std::string& path, ImageRecord* image, const SaveCare& care = {});

/// SaveImage into a temporary file whose bytes are then written to `stream`, which is flushed.
SaveResult SaveImageToStream(std::FILE* stream, ImageRecord* image);

}  // namespace imx
