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
  file_ = CreateUnfinishedFile(directory, &reason_);
  if (ok()) Remember(path());
}

TemporaryFile::~TemporaryFile() {
  if (!ok()) return;
  RemoveFile(path().c_str());
  Forget(path());
  LetGo(file_);
}

bool TemporaryFile::MoveTo(const std::string& target, bool durable) {
  if (!MoveIntoPlace(path(), target, durable, &reason_)) return false;
  Forget(path());
  LetGo(file_);
  file_ = {};
  return true;
}

void RemoveTemporaryFiles() {
  for (Slot& slot : slots) {
    if (slot.used) RemoveFile(slot.path);
  }
}

}  // namespace imx
