#include "setup/core/platform.h"

namespace imx {

bool lookUp(const Platform& platform, const char* path, FileEntry* entry) {
  return forEachEntry(platform, path, [&](const FileEntry& found) {
    *entry = found;
    return false;
  });
}

}  // namespace imx
