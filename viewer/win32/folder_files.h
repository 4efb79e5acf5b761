/// What a folder of the file system holds.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace imx {

struct FolderFile {
  std::string name;
  std::uint64_t bytes = 0;
  std::string format;  ///< short label; empty where it was not asked for
};

/// The files of a folder, which is given with its separator, in no order.
std::vector<FolderFile> FilesOf(const std::string& folder);

/// Those of a type that can be loaded, with their formats, in the order of names.
std::vector<FolderFile> PicturesOf(const std::string& folder);

}  // namespace imx
