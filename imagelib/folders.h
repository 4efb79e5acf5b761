/// Folders: made, and looked through.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace imx {

/// Makes `folder` and those above it that are missing. True as well when it is there already; false
/// on failure, `reason` then says why.
bool MakeFolders(const std::string& folder, std::string* reason);

enum class EntryKind {
  file,    ///< an ordinary file, or a link to one
  folder,  ///< a folder itself, so that whoever walks a tree comes to an end
  other,
};

/// Tells `entry` the name and kind of everything in `folder`, in the order in which the system
/// gives it. False when the folder cannot be read, `reason` then says why.
bool ListFolder(const std::string& folder,
                const std::function<void(std::string_view name, EntryKind kind)>& entry,
                std::string* reason);

}  // namespace imx
