/// What the setup program wants of the system it runs on, as one table of functions.
#pragma once

#include <cstddef>
#include <cstdint>

#include "setup/core/path_text.h"

namespace imx {

enum class Page;

inline constexpr std::uint32_t kDirectoryAttribute = 0x10;

/// One entry of a directory.
struct FileEntry {
  PathText name = {};
  std::uint32_t attributes = 0;
  std::uint32_t sizeLow = 0;
  std::uint32_t sizeHigh = 0;
};

struct OsVersion {
  std::uint32_t platformId = 0;  ///< 0 Win32s, 1 the 95/98 family, 2 NT
  std::uint32_t major = 0;
  std::uint32_t minor = 0;
};

struct DiskSpace {
  std::uint32_t freeClusters = 0;
  std::uint32_t sectorsPerCluster = 0;
  std::uint32_t bytesPerSector = 0;
};

/// Results of the calls that answer with a code: 0 is success, negative a failure.
using ResultCode = std::int32_t;
inline constexpr ResultCode kResultOk = 0;

/// Every member must be set. Each function gets `context` first. Paths use backslashes.
struct Platform {
  void* context;

  // Files. A search takes a pattern and yields its first entry with the search's handle, which
  // findClose releases; null when nothing matches.
  void* (*findFirst)(void* context, const char* pattern, FileEntry* entry);
  bool (*findNext)(void* context, void* search, FileEntry* entry);
  void (*findClose)(void* context, void* search);
  bool (*isDirectory)(void* context, const char* path);
  bool (*copyFile)(void* context, const char* from, const char* to);  ///< replaces `to`
  bool (*moveFile)(void* context, const char* from, const char* to);  ///< replaces `to`
  void (*removeFile)(void* context, const char* path);
  /// Whether both paths lead to one file that is there, however they are spelled.
  bool (*isSameFile)(void* context, const char* a, const char* b);
  void (*setNormalAttributes)(void* context, const char* path);
  bool (*makeDirectory)(void* context, const char* path);    ///< one level
  bool (*removeDirectory)(void* context, const char* path);  ///< only an empty one
  void* (*openForReading)(void* context, const char* path);  ///< null: cannot be opened
  /// Makes a file to write to; null when it cannot be made, or there is one already.
  void* (*createFile)(void* context, const char* path);
  bool (*readByte)(void* context, void* file, std::uint8_t* byte);  ///< false at the end
  std::size_t (*writeBytes)(void* context, void* file, const char* data, std::size_t count);
  bool (*closeFile)(void* context, void* file);  ///< false: it was not all read, or not all written
  bool (*fullPath)(void* context, const char* path, PathText& absolute);
  bool (*diskSpace)(void* context, const char* root, DiskSpace* space);

  // The system. Texts that cannot be had are left empty.
  bool (*osVersion)(void* context, OsVersion* version);
  ResultCode (*obtainShellAllocator)(void* context);
  void (*windowsDirectory)(void* context, PathText& path);
  void (*systemDirectory)(void* context, PathText& path);
  void (*currentDirectory)(void* context, PathText& path);
  /// A text value under the local machine's key.
  bool (*machineValue)(void* context, const char* key, const char* name, PathText& value);
  /// Converts a path to the code page that the system gives programs which ask for none. False when
  /// that lacks a character, or the result does not fit.
  bool (*toSystemCodePage)(void* context, const char* path, PathText& converted);
  ResultCode (*programsFolder)(void* context, PathText& path);
  ResultCode (*initializeCom)(void* context);
  ResultCode (*makeShortcut)(void* context, const char* target, const char* linkFile,
                             const char* description);

  // The screen.
  /// Shows the dialog to its end. False when it could not be shown or was taken away unanswered.
  bool (*showPage)(void* context, Page page);
  /// Forgets a stop request of the progress display that has been answered.
  void (*clearStopRequest)(void* context);
  void (*exploreFolder)(void* context, const char* folder);
  void (*showMainWindow)(void* context);
  void (*sendExit)(void* context);  ///< the main window's Exit command
};

/// The entry that `path` names. False when there is none.
bool lookUp(const Platform& platform, const char* path, FileEntry* entry);

/// Calls visit(entry) for each match of `pattern` while it returns true. False when nothing
/// matches.
template <typename Visit>
bool forEachEntry(const Platform& platform, const char* pattern, Visit&& visit) {
  FileEntry entry;
  void* const search = platform.findFirst(platform.context, pattern, &entry);
  if (!search) return false;
  while (visit(entry) && platform.findNext(platform.context, search, &entry)) {
  }
  platform.findClose(platform.context, search);
  return true;
}

}  // namespace imx
