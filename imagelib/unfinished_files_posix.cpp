#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include "imagelib/system_files.h"
#include "imagelib/unfinished_files.h"

namespace imx {
namespace {

constexpr int kMostAttempts = 100;
constexpr std::size_t kLongestHost = 64;

std::string FolderOrTemporary(const std::string& folder) {
  if (!folder.empty()) return folder;
  const char* const temporary = std::getenv("TMPDIR");
  return temporary && *temporary ? temporary : "/tmp";
}

/// The host's name and a digest of what the system was given at its installation: names alone are
/// often left at what they were delivered with.
std::string ReadHost() {
  struct utsname system = {};
  uname(&system);
  const std::string host = std::string(system.nodename).substr(0, kLongestHost);
  std::uint32_t digest = 2166136261;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> id(std::fopen("/etc/machine-id", "rb"),
                                                           [](std::FILE* f) { return fclose(f); });
  for (int c = 0; id && (c = std::fgetc(id.get())) != EOF;) {
    digest = (digest ^ static_cast<std::uint32_t>(c)) * 16777619;
  }
  char text[16];
  std::snprintf(text, sizeof text, "-%08x", digest);
  return host + text;
}

const std::string& Host() {
  static const std::string host = ReadHost();
  return host;
}

/// Takes the lock that the file's maker holds as long as it lives. Unlike its number, which another
/// process may have by now or which may be one of another container, the lock says for sure.
bool Lock(int file) {
  return flock(file, LOCK_EX | LOCK_NB) == 0;
}

/// Someone else's file, or what only has such a name, is not even waited for.
void RemoveIfLeft(int folder, const char* name) {
  const int file = openat(folder, name, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return;
  struct stat status = {};
  const bool ours =
      fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid();
  if (ours && Lock(file)) unlinkat(folder, name, 0);
  close(file);
}

}  // namespace

UnfinishedFile CreateUnfinishedFile(const std::string& folder, std::string* reason) {
  const std::string stem = FolderOrTemporary(folder) + "/" +
                           UnfinishedStem(static_cast<unsigned long>(getpid()), Host());
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    std::string path = stem + "XXXXXX";
    const int file = mkostemp(path.data(), O_CLOEXEC);
    if (file < 0) break;
    // Where there are no locks nobody else gets one either. Until it has its lock the file looks
    // like a leftover, and may be gone again.
    const bool taken = !Lock(file) && errno == EWOULDBLOCK;
    struct stat status = {};
    if (!taken && fstat(file, &status) == 0 && status.st_nlink > 0) return {std::move(path), file};
    close(file);
  }
  *reason = SystemErrorText();
  // Nobody named that folder, so the reason does.
  if (folder.empty()) *reason = FolderOrTemporary(folder) + ": " + *reason;
  return {};
}

void LetGo(const UnfinishedFile& file) {
  if (file.hold >= 0) close(file.hold);
}

void RemoveLeftoversNow(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(FolderOrTemporary(folder).c_str()),
                                                    [](DIR* d) { return closedir(d); });
  if (!entries) return;
  const std::string& host = Host();
  while (const dirent* entry = readdir(entries.get())) {
    if (MakerOf(entry->d_name, host) != 0) RemoveIfLeft(dirfd(entries.get()), entry->d_name);
  }
}

}  // namespace imx
