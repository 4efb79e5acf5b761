#include "tests/setup/memory_platform.h"

#include <algorithm>

#include "imagelib/core/text.h"

namespace imx::test {
namespace {

// Lower case, single separators (but for a leading pair), none at the end.
std::string keyOf(std::string_view path) {
  std::string key;
  for (const char c : path) {
    if (c == '\\' && key.size() > 1 && key.back() == '\\') continue;
    key += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  if (!key.empty() && key.back() == '\\') key.pop_back();
  return key;
}

std::string parentOf(const std::string& key) {
  const std::size_t at = key.rfind('\\');
  return at == std::string::npos ? std::string() : key.substr(0, at);
}

FileEntry entryOf(const Node& node) {
  FileEntry entry;
  copyPath(entry.name, PathFileName(node.path));
  entry.attributes = node.isDirectory ? kDirectoryAttribute : 0;
  entry.sizeLow = static_cast<std::uint32_t>(node.content.size());
  entry.sizeHigh = node.sizeHigh;
  return entry;
}

}  // namespace

struct PlatformFunctions {
  static MemoryPlatform& self(void* context) { return *static_cast<MemoryPlatform*>(context); }

  static void* findFirst(void* context, const char* pattern, FileEntry* entry) {
    MemoryPlatform& me = self(context);
    if (me.diskFails()) return nullptr;
    auto* const search = new MemoryPlatform::Search{{}, 0};
    const std::string_view text = pattern;
    if (text.ends_with("\\*")) {
      const std::string directory = keyOf(text.substr(0, text.size() - 2));
      if (me.hasDirectory(directory)) search->entries = dotEntries();
      for (const auto& [key, node] : me.nodes_) {
        if (parentOf(key) == directory) search->entries.push_back(entryOf(node));
      }
    } else if (!text.ends_with("\\")) {  // the real thing finds nothing then
      if (const Node* const node = me.find(pattern)) search->entries.push_back(entryOf(*node));
    }
    if (search->entries.empty()) {
      delete search;
      return nullptr;
    }
    me.openFiles += 1;
    *entry = search->entries[0];
    return search;
  }

  static std::vector<FileEntry> dotEntries() {
    std::vector<FileEntry> entries(2);
    copyPath(entries[0].name, ".");
    copyPath(entries[1].name, "..");
    for (FileEntry& entry : entries) entry.attributes = kDirectoryAttribute;
    return entries;
  }

  static bool findNext(void* context, void* handle, FileEntry* entry) {
    if (self(context).diskFails()) return false;
    auto* const search = static_cast<MemoryPlatform::Search*>(handle);
    if (++search->at >= search->entries.size()) return false;
    *entry = search->entries[search->at];
    return true;
  }

  static void findClose(void* context, void* handle) {
    delete static_cast<MemoryPlatform::Search*>(handle);
    self(context).openFiles -= 1;
  }

  static bool isDirectory(void* context, const char* path) {
    return self(context).hasDirectory(path);
  }

  static bool canCreate(MemoryPlatform& me, const std::string& key) {
    return key.size() < kPathSize && me.hasDirectory(parentOf(key));
  }

  static bool copyFile(void* context, const char* from, const char* to) {
    MemoryPlatform& me = self(context);
    const Node* const source = me.find(from);
    const std::string key = keyOf(to);
    if (me.diskFails() || !source || source->isDirectory || !canCreate(me, key)) return false;
    me.nodes_[key] = Node{to, false, source->content, source->readOnly, 0};
    me.written.push_back(to);
    return true;
  }

  static void setNormalAttributes(void* context, const char* path) {
    const auto found = self(context).nodes_.find(keyOf(path));
    if (found != self(context).nodes_.end()) found->second.readOnly = false;
  }

  static bool makeDirectory(void* context, const char* path) {
    MemoryPlatform& me = self(context);
    const std::string key = keyOf(path);
    if (me.diskFails() || key == keyOf(me.unmakable) || me.find(path) || !canCreate(me, key)) {
      return false;
    }
    me.nodes_[key] = Node{path, true, "", false, 0};
    me.directoriesMade.push_back(path);
    return true;
  }

  static bool removeDirectory(void* context, const char* path) {
    MemoryPlatform& me = self(context);
    me.removalsTried.push_back(path);
    const std::string key = keyOf(path);
    if (me.diskFails() || !me.hasDirectory(key)) return false;
    for (const auto& [other, node] : me.nodes_) {
      if (parentOf(other) == key) return false;
    }
    me.nodes_.erase(key);
    return true;
  }

  static void* openForReading(void* context, const char* path) {
    MemoryPlatform& me = self(context);
    const Node* const node = me.find(path);
    if (me.diskFails() || !node || node->isDirectory) return nullptr;
    me.openFiles += 1;
    return new MemoryPlatform::OpenFile{keyOf(path), 0};
  }

  static void* openForWriting(void* context, const char* path) {
    MemoryPlatform& me = self(context);
    const std::string key = keyOf(path);
    const Node* const old = me.find(path);
    if (me.diskFails() || !canCreate(me, key) || (old && (old->isDirectory || old->readOnly))) {
      return nullptr;
    }
    me.nodes_[key] = Node{path, false, "", false, 0};
    me.written.push_back(path);
    me.openFiles += 1;
    return new MemoryPlatform::OpenFile{key, 0};
  }

  static bool readByte(void* context, void* file, std::uint8_t* byte) {
    MemoryPlatform& me = self(context);
    auto* const open = static_cast<MemoryPlatform::OpenFile*>(file);
    const std::string& content = me.nodes_[open->key].content;
    if (me.diskFails() || open->at >= content.size()) return false;
    *byte = static_cast<std::uint8_t>(content[open->at++]);
    return true;
  }

  static std::size_t writeBytes(void* context, void* file, const char* data, std::size_t count) {
    MemoryPlatform& me = self(context);
    // A broken disk takes half of it.
    const std::size_t taken = me.diskFails() ? count / 2 : count;
    me.nodes_[static_cast<MemoryPlatform::OpenFile*>(file)->key].content.append(data, taken);
    return taken;
  }

  static void closeFile(void* context, void* file) {
    delete static_cast<MemoryPlatform::OpenFile*>(file);
    self(context).openFiles -= 1;
  }

  // Paths without a drive are below the current directory.
  static bool fullPath(void* context, const char* path, PathText& absolute) {
    const std::string_view text = path;
    if (text.substr(0, 2) == "\\\\" || (text.size() > 1 && text[1] == ':')) {
      return copyPath(absolute, text);
    }
    return joinPath(absolute, {self(context).currentDirectory, text});
  }

  static bool diskSpace(void* context, const char* root, DiskSpace* space) {
    const auto& disks = self(context).disks;
    const auto found = disks.find(keyOf(root));
    *space = found != disks.end() ? found->second : DiskSpace{0x10000, 8, 512};
    return found == disks.end() || found->second.bytesPerSector != 0;
  }

  static bool osVersion(void* context, OsVersion* version) {
    *version = self(context).version;
    return true;
  }

  static ResultCode obtainShellAllocator(void* context) { return self(context).allocatorResult; }
  static void windowsDirectory(void*, PathText& path) { copyPath(path, "C:\\Windows"); }
  static void systemDirectory(void*, PathText& path) { copyPath(path, "C:\\Windows\\System32"); }
  static void currentDirectory(void* context, PathText& path) {
    copyPath(path, self(context).currentDirectory);
  }

  static bool machineValue(void* context, const char* key, const char* name, PathText& value) {
    const bool known = std::string_view(key) == "SOFTWARE\\Microsoft\\Windows\\CurrentVersion" &&
                       std::string_view(name) == "ProgramFilesDir";
    return known && !self(context).programFiles.empty() &&
           copyPath(value, self(context).programFiles);
  }

  static ResultCode programsFolder(void* context, PathText& path) {
    copyPath(path, "C:\\Menu\\Programs");
    return self(context).programsResult;
  }

  static ResultCode initializeCom(void* context) { return self(context).comResult; }

  static ResultCode makeShortcut(void* context, const char* target, const char* linkFile,
                                 const char* description) {
    if (self(context).diskFails()) return -1;
    self(context).links.push_back({target, linkFile, description});
    return kResultOk;
  }

  static bool showPage(void* context, Page page) {
    MemoryPlatform& me = self(context);
    me.pages.push_back(page);
    return !me.onPage || me.onPage(page);
  }

  static void clearStopRequest(void* context) {
    if (self(context).onClearStop) self(context).onClearStop();
  }

  static void exploreFolder(void* context, const char* folder) {
    self(context).explored.emplace_back(folder);
  }

  static void showMainWindow(void* context) { self(context).mainShown = true; }
  static void sendExit(void* context) { self(context).exits += 1; }
};

MemoryPlatform::MemoryPlatform()
    : platform_{.context = this,
                .findFirst = PlatformFunctions::findFirst,
                .findNext = PlatformFunctions::findNext,
                .findClose = PlatformFunctions::findClose,
                .isDirectory = PlatformFunctions::isDirectory,
                .copyFile = PlatformFunctions::copyFile,
                .setNormalAttributes = PlatformFunctions::setNormalAttributes,
                .makeDirectory = PlatformFunctions::makeDirectory,
                .removeDirectory = PlatformFunctions::removeDirectory,
                .openForReading = PlatformFunctions::openForReading,
                .openForWriting = PlatformFunctions::openForWriting,
                .readByte = PlatformFunctions::readByte,
                .writeBytes = PlatformFunctions::writeBytes,
                .closeFile = PlatformFunctions::closeFile,
                .fullPath = PlatformFunctions::fullPath,
                .diskSpace = PlatformFunctions::diskSpace,
                .osVersion = PlatformFunctions::osVersion,
                .obtainShellAllocator = PlatformFunctions::obtainShellAllocator,
                .windowsDirectory = PlatformFunctions::windowsDirectory,
                .systemDirectory = PlatformFunctions::systemDirectory,
                .currentDirectory = PlatformFunctions::currentDirectory,
                .machineValue = PlatformFunctions::machineValue,
                .programsFolder = PlatformFunctions::programsFolder,
                .initializeCom = PlatformFunctions::initializeCom,
                .makeShortcut = PlatformFunctions::makeShortcut,
                .showPage = PlatformFunctions::showPage,
                .clearStopRequest = PlatformFunctions::clearStopRequest,
                .exploreFolder = PlatformFunctions::exploreFolder,
                .showMainWindow = PlatformFunctions::showMainWindow,
                .sendExit = PlatformFunctions::sendExit} {
  nodes_[""] = Node{"", true, "", false, 0};  // where names without a directory end up
  addDirectory("C:\\Program Files");
  addDirectory("C:\\Windows\\System32");
  addDirectory("C:\\Menu\\Programs");
}

void MemoryPlatform::addDirectory(const std::string& path) {
  const std::string key = keyOf(path);
  if (nodes_.contains(key)) return;
  const std::size_t parent = path.rfind('\\');
  if (parent != std::string::npos && parent > 1) addDirectory(path.substr(0, parent));
  nodes_[key] = Node{path, true, "", false, 0};
}

Node& MemoryPlatform::addFile(const std::string& path, const std::string& content) {
  addDirectory(path.substr(0, path.rfind('\\')));
  return nodes_[keyOf(path)] = Node{path, false, content, false, 0};
}

const Node* MemoryPlatform::find(const std::string& path) const {
  const auto found = nodes_.find(keyOf(path));
  return found == nodes_.end() ? nullptr : &found->second;
}

bool MemoryPlatform::hasDirectory(const std::string& path) const {
  const Node* const node = find(path);
  return node && node->isDirectory;
}

std::string MemoryPlatform::contentOf(const std::string& path) const {
  const Node* const node = find(path);
  return node && !node->isDirectory ? node->content : "(none)";
}

std::vector<std::string> MemoryPlatform::filesBelow(const std::string& directory) const {
  std::vector<std::string> files;
  const std::string prefix = keyOf(directory) + "\\";
  for (const auto& [key, node] : nodes_) {
    if (!node.isDirectory && key.starts_with(prefix)) files.push_back(node.path);
  }
  return files;
}

}  // namespace imx::test
