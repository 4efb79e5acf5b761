/// What the setup program wants of the system it runs on, as one table of functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "setup/core/path_text.h"

namespace imx {

enum class Page;

inline constexpr std::uint32_t kReadOnlyAttribute = 0x01;
inline constexpr std::uint32_t kHiddenAttribute = 0x02;
inline constexpr std::uint32_t kDirectoryAttribute = 0x10;
inline constexpr std::uint32_t kNormalAttributes = 0x80;  ///< none of the others

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

/// A moment of the local time, "2001-02-03 04:05:06".
using TimeText = char[20];

/// A SHA-256 digest in lower-case hexadecimal.
inline constexpr std::size_t kSha256Digits = 64;
using Sha256Text = char[kSha256Digits + 1];

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
  /// Makes the file `to`, which must not be there; a failure may leave a part of it.
  bool (*copyFile)(void* context, const char* from, const char* to);
  bool (*moveFile)(void* context, const char* from, const char* to);  ///< replaces `to`
  bool (*removeFile)(void* context, const char* path);
  /// Whether both paths lead to one file that is there, however they are spelled.
  bool (*isSameFile)(void* context, const char* a, const char* b);
  void (*setAttributes)(void* context, const char* path, std::uint32_t attributes);
  bool (*makeDirectory)(void* context, const char* path);    ///< one level
  bool (*removeDirectory)(void* context, const char* path);  ///< only an empty one
  void* (*openForReading)(void* context, const char* path);  ///< null: cannot be opened
  /// Makes a file to write to; null when it cannot be made, or there is one already.
  void* (*createFile)(void* context, const char* path);
  /// Reads up to `size` bytes into `to` and stores how many, 0 at the end. False when that failed.
  bool (*readBytes)(void* context, void* file, char* to, std::size_t size, std::size_t* count);
  bool (*writeBytes)(void* context, void* file, const char* data, std::size_t count);  ///< all
  bool (*closeFile)(void* context, void* file);
  bool (*hashFile)(void* context, const char* path, Sha256Text& digest, std::uint64_t* size);
  /// Makes a directory that only administrators can write to, or makes one that is there such.
  bool (*makeGuardedDirectory)(void* context, const char* path);
  /// Removes a program's file; that of this one as soon as it has ended.
  void (*removeProgram)(void* context, const char* path);
  bool (*fullPath)(void* context, const char* path, PathText& absolute);
  bool (*diskSpace)(void* context, const char* root, DiskSpace* space);
  /// Why the last of these calls that failed did so, in the system's words.
  std::string (*failureReason)(void* context);

  // The system. Texts that cannot be had are left empty.
  bool (*osVersion)(void* context, OsVersion* version);
  ResultCode (*obtainShellAllocator)(void* context);
  void (*windowsDirectory)(void* context, PathText& path);
  void (*systemDirectory)(void* context, PathText& path);
  void (*currentDirectory)(void* context, PathText& path);
  void (*commonDataFolder)(void* context, PathText& path);  ///< application data of all users
  void (*ownPath)(void* context, PathText& path);           ///< of this program's file
  void (*temporaryFolder)(void* context, PathText& path);   ///< ends in a backslash
  void (*localTime)(void* context, TimeText& text);
  void (*pause)(void* context, std::uint32_t milliseconds);
  /// A text value under the local machine's key.
  bool (*machineValue)(void* context, const char* key, const char* name, PathText& value);
  // Changes below that key; a key that is not there is made, or counts as removed.
  bool (*setMachineText)(void* context, const char* key, const char* name, const char* value);
  bool (*setMachineNumber)(void* context, const char* key, const char* name, std::uint32_t value);
  bool (*removeMachineKey)(void* context, const char* key);
  /// Converts a path to the code page that the system gives programs which ask for none. False when
  /// that lacks a character, or the result does not fit.
  bool (*toSystemCodePage)(void* context, const char* path, PathText& converted);
  ResultCode (*programsFolder)(void* context, PathText& path);
  ResultCode (*initializeCom)(void* context);
  ResultCode (*makeShortcut)(void* context, const char* target, const char* linkFile,
                             const char* description);

  // The screen.
  /// Writes a line to standard error where there is one.
  void (*tell)(void* context, const char* line);
  /// Shows a text of several lines on the console, without one in a box that is to be closed.
  void (*showText)(void* context, const char* text);
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
