#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "imagelib/system_files.h"

namespace imx {

const std::string_view kPathSeparators = "/";
namespace {

constexpr int kMostLinks = 40;  // as many as the kernel follows

mode_t NewFileMode() {
  const mode_t mask = umask(0);
  umask(mask);
  return static_cast<mode_t>(0666) & ~mask;
}

/// The signals that were held back before an EndHold; one lives at a time.
sigset_t before;

bool Failed(std::string* reason) {
  *reason = SystemErrorText();
  return false;
}

/// An open file, closed at the end of its life.
struct Descriptor {
  explicit Descriptor(int opened) : number(opened) {}
  ~Descriptor() {
    if (number >= 0) close(number);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  const int number;
};

/// True as well where the file system has nothing to wait for.
bool Sync(const Descriptor& file) {
  return fsync(file.number) == 0 || errno == EINVAL || errno == ENOTSUP || errno == ENOSYS;
}

/// Sets `next` to what `path` points to; empty when it is no link. False, with the system's error,
/// when it is one that must not be followed.
bool ReadLink(const std::string& path, std::string* next) {
  // Opened once, so that what is judged is what is read.
  const Descriptor link(open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat status = {}, folder = {};
  if (link.number < 0 || fstat(link.number, &status) != 0 || !S_ISLNK(status.st_mode)) return true;
  if (stat(FolderOf(path).c_str(), &folder) != 0) return false;
  const bool isShared = (folder.st_mode & S_ISVTX) && (folder.st_mode & S_IWOTH);
  if (isShared && status.st_uid != geteuid() && status.st_uid != folder.st_uid) {
    errno = EACCES;
    return false;
  }
  char text[4096];
  const ssize_t length = readlinkat(link.number, "", text, sizeof text);
  if (length > 0 && static_cast<std::size_t>(length) < sizeof text) {
    next->assign(text, static_cast<std::size_t>(length));
  }
  return true;
}

}  // namespace

std::string SystemErrorText() {
  return std::strerror(errno);
}

PathKind KindOfPath(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return PathKind::missing;
  if (S_ISDIR(status.st_mode)) return PathKind::directory;
  return S_ISREG(status.st_mode) ? PathKind::regular : PathKind::stream;
}

EndHold::EndHold() {
  sigset_t ends;
  sigemptyset(&ends);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) sigaddset(&ends, signal);
  sigprocmask(SIG_BLOCK, &ends, &before);
}

EndHold::~EndHold() {
  sigprocmask(SIG_SETMASK, &before, nullptr);
}

void RemoveFile(const char* path) {
  unlink(path);
}

std::string FolderOf(const std::string& path) {
  const std::size_t separator = path.rfind('/');
  if (separator == std::string::npos) return ".";
  return separator == 0 ? "/" : path.substr(0, separator);
}

bool FollowLinks(const std::string& path, std::string* target, std::string* reason) {
  *target = path;
  for (int i = 0; i < kMostLinks; ++i) {
    std::string next;
    if (!ReadLink(*target, &next)) return Failed(reason);
    if (next.empty()) break;
    *target = next.front() == '/' ? next : target->substr(0, target->rfind('/') + 1) + next;
  }
  return true;
}

std::string FileIdentity(const std::string& path) {
  struct stat status = {};
  const auto text = [&] {
    return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
  };
  if (stat(path.c_str(), &status) == 0) return text();
  std::string target, ignored;
  if (!FollowLinks(path, &target, &ignored)) target = path;
  if (stat(FolderOf(target).c_str(), &status) != 0) return target;
  return text() + "/" + target.substr(target.rfind('/') + 1);
}

std::optional<std::int64_t> ModificationTime(const std::string& path) {
  constexpr std::int64_t kSecond = 1'000'000'000;
  struct stat status = {};
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return status.st_mtim.tv_sec * kSecond + status.st_mtim.tv_nsec;
}

std::uint64_t FileSize(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

bool IsWritable(const std::string& path, std::string* reason) {
  if (access(path.c_str(), W_OK) == 0 || errno == ENOENT) return true;
  return Failed(reason);
}

bool MoveIntoPlace(const std::string& from, const std::string& to, bool durable,
                   std::string* reason) {
  const Descriptor file(open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (file.number < 0) return Failed(reason);
  struct stat replaced;
  mode_t mode = NewFileMode();
  if (stat(to.c_str(), &replaced) == 0) {
    mode = replaced.st_mode & 0777;
    // Someone else's file stays theirs where the system lets us.
    if (fchown(file.number, replaced.st_uid, replaced.st_gid) != 0) errno = 0;
  }
  if (fchmod(file.number, mode) != 0) return Failed(reason);
  if (durable && !Sync(file)) return Failed(reason);
  if (std::rename(from.c_str(), to.c_str()) != 0) return Failed(reason);
  return true;
}

bool SyncFolder(const std::string& folder, std::string* reason) {
  const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // A folder may be open for writing only.
  return opened.number < 0 || Sync(opened) || Failed(reason);
}

}  // namespace imx
