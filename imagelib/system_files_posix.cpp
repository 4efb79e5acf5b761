#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "imagelib/system_files.h"

namespace imx {
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

std::string CreateUniqueFile(const std::string& directory, std::string* reason) {
  const char* temporary = std::getenv("TMPDIR");
  if (!temporary || !*temporary) temporary = "/tmp";
  std::string path = (directory.empty() ? temporary : directory) + "/imx-XXXXXX";
  const int descriptor = mkstemp(path.data());
  if (descriptor < 0) {
    Failed(reason);
    return {};
  }
  close(descriptor);
  return path;
}

void RemoveFile(const char* path) {
  unlink(path);
}

std::string FollowLinks(const std::string& path) {
  std::string target = path;
  char link[4096];
  for (int i = 0; i < kMostLinks; ++i) {
    const ssize_t length = readlink(target.c_str(), link, sizeof link);
    if (length <= 0 || static_cast<std::size_t>(length) == sizeof link) break;
    const std::string next(link, static_cast<std::size_t>(length));
    target = next.front() == '/' ? next : target.substr(0, target.rfind('/') + 1) + next;
  }
  return target;
}

bool IsWritable(const std::string& path, std::string* reason) {
  if (access(path.c_str(), W_OK) == 0 || errno == ENOENT) return true;
  return Failed(reason);
}

bool MoveIntoPlace(const std::string& from, const std::string& to, std::string* reason) {
  struct stat replaced;
  mode_t mode = NewFileMode();
  if (stat(to.c_str(), &replaced) == 0) {
    mode = replaced.st_mode & 0777;
    // Someone else's file stays theirs where the system lets us.
    if (chown(from.c_str(), replaced.st_uid, replaced.st_gid) != 0) errno = 0;
  }
  if (chmod(from.c_str(), mode) != 0) return Failed(reason);
  if (std::rename(from.c_str(), to.c_str()) != 0) return Failed(reason);
  return true;
}

}  // namespace imx
