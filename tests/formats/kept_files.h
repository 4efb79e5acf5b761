/// The files of each fuzz target in fuzz/KIND/TARGET; loaders have their codecs' names.
#pragma once

#include <filesystem>
#include <map>
#include <string>

#include "tests/support/files.h"

namespace imx::test {

/// Names and contents of the files of one kind:
///   samples   small ones of kinds that no saving makes
///   oversized_headers  headers that promise much more than the file holds
///   corpus    what fuzzers found: once a fault, or most of a loader's branches
inline std::map<std::string, Bytes> KeptFiles(const std::string& target, const std::string& kind) {
  std::map<std::string, Bytes> files;
  const std::string folder = IMX_SOURCE_DIR "/fuzz/" + kind + "/" + target;
  if (!FileExists(folder)) return files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    files[entry.path().filename().string()] = ReadFile(entry.path().string());
  }
  return files;
}

}  // namespace imx::test
