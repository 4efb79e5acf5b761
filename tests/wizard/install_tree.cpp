#include "tests/wizard/install_tree.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <regex>
#include <string_view>
#include <utility>

#include "imagelib/windows_api.h"
#include "tests/support/files.h"

// After the system's basic header.
#include <objbase.h>
#include <shlobj.h>

namespace imx::test {
namespace fs = std::filesystem;

namespace {

/// Where a file or folder of the install data goes; empty when it is not wanted.
std::string DestinationOf(const fs::path& path, const Choices& choices) {
  const std::string name = path.filename().string();
  for (const auto& [folder, to] : {std::pair("data", choices.dataDir),
                                   {"images", choices.picturesDir},
                                   {"html_docs", choices.helpDir}}) {
    if (*path.begin() == folder) return to + path.string().substr(std::strlen(folder));
  }
  if (name.ends_with(".ini")) return WindowsDirectory() + "\\" + name;
  if (!name.starts_with("msv")) return choices.programDir + "\\" + name;
  const std::string library = SystemDirectory() + "\\" + name;
  return FileExists(library) ? "" : library;
}

/// Whether the tokens of a file of the install data are replaced.
bool IsTemplate(const fs::path& path) {
  const std::string folder = path.parent_path().string();
  if (folder.empty()) return path == "winglint.ini" || path == "twistel.ini";
  static constexpr std::string_view kEndings[] = {".tml", ".mpt", ".mpr", ".psy", ".ini"};
  const std::string ending = path.extension().string();
  return (folder == "data" || folder == "data\\psys") &&
         std::find(std::begin(kEndings), std::end(kEndings), ending) != std::end(kEndings);
}

/// A template's text with its directory tokens replaced.
Bytes ExpandTokens(const Bytes& bytes, const Choices& choices) {
  static const std::regex token("%[^idhD]*([idhD])[\\s\\S]{2}");
  std::string barred = choices.dataDir;
  std::replace(barred.begin(), barred.end(), ' ', '|');
  const std::map<std::string, std::string> directories = {
      {"i", choices.picturesDir}, {"d", choices.dataDir}, {"h", choices.helpDir}, {"D", barred}};
  std::string text(bytes.begin(), bytes.end());
  std::string expanded;
  for (std::smatch match; std::regex_search(text, match, token); text = match.suffix()) {
    expanded += match.prefix().str() + directories.at(match[1]);
  }
  expanded += text;
  return {expanded.begin(), expanded.end()};
}

}  // namespace

std::string WindowsDirectory() {
  char path[MAX_PATH] = "";
  GetWindowsDirectoryA(path, sizeof path);
  return path;
}

std::string SystemDirectory() {
  char path[MAX_PATH] = "";
  GetSystemDirectoryA(path, sizeof path);
  return path;
}

std::string ProgramsFolder() {
  char path[MAX_PATH] = "";
  SHGetSpecialFolderPathA(nullptr, path, CSIDL_PROGRAMS, FALSE);
  return path;
}

Expectation ExpectInstallation(const std::string& medium, const Choices& choices) {
  Expectation expectation;
  expectation.tree[choices.programDir].isDirectory = true;
  const fs::path package = fs::path(medium) / "nt9895";
  for (const auto& entry : fs::recursive_directory_iterator(package)) {
    const fs::path path = entry.path().lexically_relative(package);
    const std::string to = DestinationOf(path, choices);
    if (to.empty()) continue;
    TreeEntry& expected = expectation.tree[to];
    expected.isDirectory = entry.is_directory();
    if (expected.isDirectory) continue;
    expected.content = ReadFile(entry.path().string());
    ++expectation.files;
    expectation.bytes += expected.content.size();
    if (IsTemplate(path)) expected.content = ExpandTokens(expected.content, choices);
  }
  return expectation;
}

Tree ReadTree(const std::string& directory) {
  Tree tree;
  std::error_code missing;
  for (const auto& entry : fs::recursive_directory_iterator(directory, missing)) {
    TreeEntry& found = tree[entry.path().string()];
    found.isDirectory = entry.is_directory();
    if (!found.isDirectory) found.content = ReadFile(entry.path().string());
  }
  return tree;
}

std::string ReadShortcut(const std::string& path) {
  std::string result;
  IShellLinkA* link = nullptr;
  if (FAILED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkA,
                              reinterpret_cast<void**>(&link)))) {
    return result;
  }
  IPersistFile* file = nullptr;
  if (SUCCEEDED(link->QueryInterface(IID_IPersistFile, reinterpret_cast<void**>(&file)))) {
    if (file->Load(fs::path(path).wstring().c_str(), STGM_READ) == S_OK) {
      char target[MAX_PATH] = "";
      char description[MAX_PATH] = "";
      link->GetPath(target, sizeof target, nullptr, SLGP_RAWPATH);
      link->GetDescription(description, sizeof description);
      result = std::string(target) + "|" + description;
    }
    file->Release();
  }
  link->Release();
  return result;
}

}  // namespace imx::test
