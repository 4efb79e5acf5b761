#include "imagelib/temporary_file.h"

#include <csignal>
#include <cstddef>
#include <cstring>

#include "imagelib/system_files.h"

namespace imx {
namespace {

/// The live files, where a signal handler can read them: no more than a load from standard input
/// and a save at the same time.
struct Slot {
  volatile std::sig_atomic_t used;
  char path[4096];
};
Slot slots[4];

void Remember(const std::string& path) {
  for (Slot& slot : slots) {
    if (slot.used || path.size() >= sizeof slot.path) continue;
    std::memcpy(slot.path, path.c_str(), path.size() + 1);
    slot.used = 1;
    return;
  }
}

void Forget(const std::string& path) {
  for (Slot& slot : slots) {
    if (slot.used && path == slot.path) slot.used = 0;
  }
}

}  // namespace

TemporaryFile::TemporaryFile(const std::string& directory) {
  // An end between the two steps would leave the file behind.
  const EndHold hold;
  path_ = CreateUniqueFile(directory, &reason_);
  if (ok()) Remember(path_);
}

TemporaryFile::~TemporaryFile() {
  if (!ok()) return;
  RemoveFile(path_.c_str());
  Forget(path_);
}

bool TemporaryFile::MoveTo(const std::string& target) {
  if (!MoveIntoPlace(path_, target, &reason_)) return false;
  Forget(path_);
  path_.clear();
  return true;
}

void RemoveTemporaryFiles() {
  for (Slot& slot : slots) {
    if (slot.used) RemoveFile(slot.path);
  }
}

}  // namespace imx
