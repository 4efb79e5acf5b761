#include "tests/setup/memory_platform.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "imagelib/text.h"

namespace imx::test {
namespace {

struct OpenFile {
  Node* node;
  std::size_t at;
};

using Search = std::vector<FileEntry>;  // what is still to come, the next one last

MemoryPlatform& self(void* context) {
  return *static_cast<MemoryPlatform*>(context);
}

// Empty for a name without a directory.
std::string parentOf(const std::string& path) {
  return path.substr(
      0,
      path.size() - std::min(path.size(), PathFileName(path, kWindowsPathSeparators).size() + 1));
}

FileEntry entryOf(const std::string& path, const Node& node) {
  FileEntry entry;
  copyPath(entry.name, PathFileName(path, kWindowsPathSeparators));
  entry.attributes =
      (node.isDirectory ? kDirectoryAttribute : 0) | (node.readOnly ? kReadOnlyAttribute : 0);
  entry.sizeLow = static_cast<std::uint32_t>(node.content.size());
  entry.sizeHigh = node.sizeHigh;
  return entry;
}

}  // namespace

std::string digestOf(const std::string& content) {
  std::string digest = std::to_string(std::hash<std::string>()(content));
  digest.resize(kSha256Digits, '0');
  return digest;
}

bool NoCaseLess::operator()(const std::string& a, const std::string& b) const {
  return std::lexicographical_compare(
      a.begin(), a.end(), b.begin(), b.end(),
      [](unsigned char x, unsigned char y) { return std::tolower(x) < std::tolower(y); });
}

MemoryPlatform::MemoryPlatform() {
  platform_.context = this;
  setSearchFunctions();
  setDirectoryFunctions();
  setFileFunctions();
  setContentFunctions();
  setSystemFunctions();
  setScreenFunctions();
  addDirectory("C:\\Program Files");
  addDirectory("C:\\Windows\\System32");
  addDirectory("C:\\Menu\\Programs");
}

void MemoryPlatform::setSearchFunctions() {
  platform_.findFirst = [](void* context, const char* pattern, FileEntry* entry) -> void* {
    MemoryPlatform& me = self(context);
    Search found = me.entriesLike(pattern);
    if (me.diskFails() || found.empty()) return nullptr;
    *entry = found.back();
    found.pop_back();
    me.openFiles += 1;
    return new Search(std::move(found));
  };
  platform_.findNext = [](void* context, void* handle, FileEntry* entry) {
    Search& rest = *static_cast<Search*>(handle);
    if (self(context).diskFails() || rest.empty()) return false;
    *entry = rest.back();
    rest.pop_back();
    return true;
  };
  platform_.findClose = [](void* context, void* handle) {
    delete static_cast<Search*>(handle);
    self(context).openFiles -= 1;
  };
}

void MemoryPlatform::setDirectoryFunctions() {
  platform_.isDirectory = [](void* context, const char* path) {
    return self(context).hasDirectory(path);
  };
  platform_.makeDirectory = [](void* context, const char* path) {
    MemoryPlatform& me = self(context);
    if (me.diskFails() || path == me.unmakable || me.find(path) || !me.canCreate(path)) {
      return false;
    }
    me.nodes_[me.placeOf(path)].isDirectory = true;
    me.directoriesMade.push_back(path);
    return true;
  };
  platform_.removeDirectory = [](void* context, const char* path) {
    MemoryPlatform& me = self(context);
    me.removalsTried.push_back(path);
    // "." and ".." are in every one.
    if (me.diskFails() || me.entriesLike(std::string(path) + "\\*").size() != 2) return false;
    return me.nodes_.erase(me.placeOf(path)) == 1;
  };
}

void MemoryPlatform::setFileFunctions() {
  platform_.copyFile = [](void* context, const char* from, const char* to) {
    MemoryPlatform& me = self(context);
    const Node* const source = me.find(from);
    if (me.diskFails() || !source || source->isDirectory || me.find(to) || !me.canCreate(to)) {
      return false;
    }
    me.nodes_[me.placeOf(to)] = {false, source->content};
    me.written.push_back(to);
    return true;
  };
  platform_.moveFile = [](void* context, const char* from, const char* to) {
    MemoryPlatform& me = self(context);
    const Node* const old = me.find(to);
    if (me.diskFails() || !me.find(from) || (old && (old->isDirectory || me.isHeld(to)))) {
      return false;
    }
    me.nodes_[me.placeOf(to)] = *me.find(from);
    me.nodes_.erase(me.placeOf(from));
    std::replace(me.written.begin(), me.written.end(), std::string(from), std::string(to));
    return true;
  };
  platform_.removeFile = [](void* context, const char* path) {
    MemoryPlatform& me = self(context);
    return !me.diskFails() && !me.isHeld(path) && me.nodes_.erase(me.placeOf(path)) == 1;
  };
  platform_.isSameFile = [](void* context, const char* a, const char* b) {
    const MemoryPlatform& me = self(context);
    return me.find(a) && me.find(a) == me.find(b);
  };
  platform_.setAttributes = [](void* context, const char* path, std::uint32_t attributes) {
    MemoryPlatform& me = self(context);
    if (me.find(path)) {
      me.nodes_[me.placeOf(path)].readOnly = (attributes & kReadOnlyAttribute) != 0;
    }
  };
}

void MemoryPlatform::setContentFunctions() {
  platform_.openForReading = [](void* context, const char* path) -> void* {
    MemoryPlatform& me = self(context);
    const Node* const node = me.find(path);
    if (me.diskFails() || !node || node->isDirectory) return nullptr;
    me.openFiles += 1;
    return new OpenFile{&me.nodes_[me.placeOf(path)], 0};
  };
  platform_.createFile = [](void* context, const char* path) -> void* {
    MemoryPlatform& me = self(context);
    if (me.diskFails() || !me.canCreate(path) || me.find(path)) return nullptr;
    me.nodes_[me.placeOf(path)] = {};
    me.written.push_back(path);
    me.openFiles += 1;
    return new OpenFile{&me.nodes_[me.placeOf(path)], 0};
  };
  // In small pieces, as a slow disk gives them.
  platform_.readBytes = [](void* context, void* handle, char* to, std::size_t size,
                           std::size_t* count) {
    OpenFile& file = *static_cast<OpenFile*>(handle);
    *count = file.node->content.copy(to, std::min<std::size_t>(size, 2), file.at);
    file.at += *count;
    return !self(context).diskFails();
  };
  platform_.writeBytes = [](void* context, void* file, const char* data, std::size_t count) {
    // A broken disk takes half of it.
    const std::size_t taken = self(context).diskFails() ? count / 2 : count;
    static_cast<OpenFile*>(file)->node->content.append(data, taken);
    return taken == count;
  };
  platform_.closeFile = [](void* context, void* file) {
    delete static_cast<OpenFile*>(file);
    self(context).openFiles -= 1;
    return !self(context).diskFails();
  };
  // Not SHA-256, but of its form and of the content.
  platform_.hashFile = [](void* context, const char* path, Sha256Text& digest,
                          std::uint64_t* size) {
    MemoryPlatform& me = self(context);
    if (me.diskFails() || !me.find(path)) return false;
    const std::string& content = me.find(path)->content;
    *size = content.size();
    std::memcpy(digest, digestOf(content).c_str(), sizeof digest);
    return true;
  };
  platform_.makeGuardedDirectory = [](void* context, const char* path) {
    MemoryPlatform& me = self(context);
    if (me.diskFails()) return false;
    me.addDirectory(path);
    return true;
  };
  platform_.removeProgram = [](void* context, const char* path) {
    self(context).platform_.removeFile(context, path);
  };
  platform_.failureReason = [](void*) { return std::string("the disk is broken"); };
}

void MemoryPlatform::setSystemFunctions() {
  // Paths without a drive are below the current directory.
  platform_.fullPath = [](void* context, const char* path, PathText& absolute) {
    const std::string_view text = path;
    const bool isFull = text.starts_with("\\\\") || (text.size() > 1 && text[1] == ':');
    return joinPath(absolute, {isFull ? "" : self(context).currentDirectory, text});
  };
  platform_.diskSpace = [](void* context, const char* root, DiskSpace* space) {
    const auto& known = self(context).disks;
    const auto found = known.find(root);
    *space = found != known.end() ? found->second : DiskSpace{0x10000, 8, 512};
    return space->bytesPerSector != 0;
  };
  platform_.osVersion = [](void* context, OsVersion* answer) {
    *answer = self(context).version;
    return true;
  };
  platform_.obtainShellAllocator = [](void* context) { return self(context).allocatorResult; };
  platform_.windowsDirectory = [](void*, PathText& path) { copyPath(path, "C:\\Windows"); };
  platform_.systemDirectory = [](void*, PathText& path) {
    copyPath(path, "C:\\Windows\\System32");
  };
  platform_.currentDirectory = [](void* context, PathText& path) {
    copyPath(path, self(context).currentDirectory);
  };
  platform_.commonDataFolder = [](void*, PathText& path) { copyPath(path, "C:\\Common"); };
  platform_.ownPath = [](void*, PathText& path) { copyPath(path, "E:\\setup.exe"); };
  platform_.setMachineText = [](void* context, const char* key, const char* name,
                                const char* value) {
    self(context).machine[key][name] = value;
    return true;
  };
  platform_.setMachineNumber = [](void* context, const char* key, const char* name,
                                  std::uint32_t value) {
    self(context).machine[key][name] = std::to_string(value);
    return true;
  };
  platform_.removeMachineKey = [](void* context, const char* key) {
    self(context).machine.erase(key);
    return true;
  };
  platform_.temporaryFolder = [](void*, PathText& path) { copyPath(path, "C:\\Temp\\"); };
  platform_.localTime = [](void*, TimeText& text) {
    std::memcpy(text, "2001-02-03 04:05:06", sizeof text);
  };
  platform_.pause = [](void* context, std::uint32_t) {
    MemoryPlatform& me = self(context);
    if (me.busyPauses > 0 && --me.busyPauses == 0) me.busy.clear();
  };
  platform_.machineValue = [](void* context, const char* key, const char* name, PathText& value) {
    const bool known = std::string_view(key) == "SOFTWARE\\Microsoft\\Windows\\CurrentVersion" &&
                       std::string_view(name) == "ProgramFilesDir";
    return known && !self(context).programFiles.empty() &&
           copyPath(value, self(context).programFiles);
  };
  // Latin-1, of UTF-8.
  platform_.toSystemCodePage = [](void*, const char* path, PathText& converted) {
    std::string latin;
    for (const char* at = path; *at; ++at) {
      const auto lead = static_cast<unsigned char>(*at);
      if (lead > 0xC3) return false;
      latin += lead < 0xC2 ? *at : static_cast<char>((lead & 3) << 6 | (*++at & 63));
    }
    return copyPath(converted, latin);
  };
  platform_.programsFolder = [](void* context, PathText& path) {
    copyPath(path, "C:\\Menu\\Programs");
    return self(context).programsResult;
  };
  platform_.initializeCom = [](void* context) { return self(context).comResult; };
  platform_.makeShortcut = [](void* context, const char* target, const char* linkFile,
                              const char* description) {
    if (self(context).diskFails()) return -1;
    self(context).links.push_back({target, linkFile, description});
    self(context).addFile(linkFile, target);
    return kResultOk;
  };
}

void MemoryPlatform::setScreenFunctions() {
  platform_.showPage = [](void* context, Page page) {
    self(context).pages.push_back(page);
    return !self(context).onPage || self(context).onPage(page);
  };
  platform_.tell = [](void* context, const char* line) { self(context).told.emplace_back(line); };
  platform_.showText = platform_.tell;
  platform_.clearStopRequest = [](void* context) {
    if (self(context).onClearStop) self(context).onClearStop();
  };
  platform_.exploreFolder = [](void* context, const char* folder) {
    self(context).explored.emplace_back(folder);
  };
  platform_.showMainWindow = [](void* context) { self(context).mainShown = true; };
  platform_.sendExit = [](void* context) { self(context).exits += 1; };
}

void MemoryPlatform::addDirectory(const std::string& path) {
  if (path.empty()) return;
  addDirectory(parentOf(path));
  nodes_[path].isDirectory = true;
}

Node& MemoryPlatform::addFile(const std::string& path, const std::string& content) {
  addDirectory(parentOf(path));
  return nodes_[path] = {false, content};
}

// Against being replaced or removed.
bool MemoryPlatform::isHeld(const std::string& path) const {
  const Node* const node = find(path);
  return node && (node->readOnly || EqualNoCase(path, busy));
}

bool MemoryPlatform::hasDirectory(const std::string& path) const {
  const Node* const node = find(path);
  return node && node->isDirectory;
}

std::string MemoryPlatform::contentOf(const std::string& path) const {
  const Node* const node = find(path);
  return node && !node->isDirectory ? node->content : "(none)";
}

std::vector<std::string> MemoryPlatform::filesBelow(const std::string& start) const {
  std::vector<std::string> files;
  for (const auto& [path, node] : nodes_) {
    if (!node.isDirectory && path.starts_with(start)) files.push_back(path);
  }
  return files;
}

// Of one path, or of all in a directory ("...\*"); the first one last.
std::vector<FileEntry> MemoryPlatform::entriesLike(const std::string& pattern) const {
  if (!pattern.ends_with("\\*")) {
    const Node* const node = find(pattern);
    return node ? std::vector{entryOf(pattern, *node)} : std::vector<FileEntry>();
  }
  const std::string directory = placeOf(pattern.substr(0, pattern.size() - 2));
  if (!hasDirectory(directory)) return {};
  const Node dots = {true, ""};
  std::vector<FileEntry> entries = {entryOf(".", dots), entryOf("..", dots)};
  for (const auto& [path, node] : nodes_) {
    if (EqualNoCase(parentOf(path), directory)) entries.push_back(entryOf(path, node));
  }
  std::reverse(entries.begin(), entries.end());
  return entries;
}

bool MemoryPlatform::canCreate(const std::string& path) const {
  return path.size() < kPathSize && (parentOf(path).empty() || hasDirectory(parentOf(path)));
}

void MemoryPlatform::substitute(const std::string& drive, const std::string& directory) {
  drives_[drive] = directory;
}

// The one spelling by which the nodes are kept.
std::string MemoryPlatform::placeOf(std::string path) const {
  const bool isFull = path.starts_with("\\\\") || (path.size() > 1 && path[1] == ':');
  if (!isFull) path = currentDirectory + path;
  const auto drive = drives_.find(path.substr(0, 2));
  if (drive != drives_.end()) path.replace(0, 2, drive->second);
  for (std::size_t at; (at = path.find("\\\\", 1)) != std::string::npos;) path.erase(at, 1);
  if (path.ends_with("\\")) path.pop_back();
  return path;
}

const Node* MemoryPlatform::find(const std::string& path) const {
  const auto found = nodes_.find(placeOf(path));
  return found == nodes_.end() ? nullptr : &found->second;
}

}  // namespace imx::test
