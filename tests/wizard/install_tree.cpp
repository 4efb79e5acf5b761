#include "tests/wizard/install_tree.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>

#include "shell/win32/windows_api.h"
#include "tests/support/files.h"

// After the system's basic header.
#include <objbase.h>
#include <shlobj.h>

namespace imx::test {
namespace fs = std::filesystem;

namespace {

std::string WithoutCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

bool IsTemplate(const fs::path& file) {
  static constexpr std::string_view kEndings[] = {".tml", ".mpt", ".mpr", ".psy", ".ini"};
  const std::string ending = WithoutCase(file.extension().string());
  return std::find(std::begin(kEndings), std::end(kEndings), ending) != std::end(kEndings);
}

enum class Copy { plain, expanded, ifMissing };

/// Collects the files of one installation.
class Collector {
 public:
  Collector(const std::string& medium, const Choices& choices, Expectation* expectation)
      : package_(fs::path(medium) / "nt9895"), choices_(choices), expectation_(expectation) {}

  void AddDirectory(const std::string& path) { expectation_->tree[path].isDirectory = true; }

  void AddFile(const fs::path& source, const std::string& to, Copy copy) {
    if (!fs::is_regular_file(source)) return;
    const std::string target = to + "\\" + source.filename().string();
    if (copy == Copy::ifMissing && FileExists(target)) return;
    Bytes content = ReadFile(source.string());
    ++expectation_->files;
    expectation_->bytes += content.size();
    if (copy == Copy::expanded && IsTemplate(source)) content = ExpandTokens(content, choices_);
    expectation_->tree[target].content = std::move(content);
  }

  void AddFiles(std::initializer_list<const char*> names, const std::string& to, Copy copy) {
    for (const char* const name : names) AddFile(package_ / name, to, copy);
  }

  void AddFolder(const char* from, const std::string& to, Copy copy) {
    AddDirectory(to);
    if (!fs::is_directory(package_ / from)) return;
    for (const auto& entry : fs::directory_iterator(package_ / from)) {
      AddFile(entry.path(), to, copy);
    }
  }

 private:
  fs::path package_;
  const Choices& choices_;
  Expectation* expectation_;
};

std::string Barred(std::string text) {
  std::replace(text.begin(), text.end(), ' ', '|');
  return text;
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
  Collector files(medium, choices, &expectation);
  const std::string& program = choices.programDir;
  const std::string& data = choices.dataDir;

  files.AddDirectory(program);
  if (choices.glint) files.AddFiles({"glint.exe", "twainlnk.dll"}, program, Copy::plain);
  if (choices.twistel) files.AddFiles({"twistel.exe", "demoloop.avi"}, program, Copy::plain);
  files.AddFiles({"glintldjpeg.dll", "glintldtiff.dll", "glintpal.dll", "glintsvjpeg.dll"}, program,
                 Copy::plain);
  files.AddFiles({"colorset.ini"}, WindowsDirectory(), Copy::plain);
  files.AddFiles({"winglint.ini", "twistel.ini"}, WindowsDirectory(), Copy::expanded);
  files.AddFiles({"msvcp50.dll", "msvcrt.dll", "msvcrt40.dll"}, SystemDirectory(), Copy::ifMissing);

  files.AddFolder("data", data, Copy::expanded);
  for (const char* const folder :
       {"land_pals", "tex_pals", "convos", "plugins", "scripts", "transitions", "psys\\pals"}) {
    files.AddFolder((std::string("data\\") + folder).c_str(), data + "\\" + folder, Copy::plain);
  }
  files.AddFolder("data\\psys", data + "\\psys", Copy::expanded);
  files.AddFolder("images", choices.picturesDir, Copy::plain);
  if (choices.glint && choices.docs) {
    files.AddFolder("html_docs", choices.helpDir, Copy::plain);
    files.AddFolder("html_docs\\anims", choices.helpDir + "\\anims", Copy::plain);
    files.AddFolder("html_docs\\pics", choices.helpDir + "\\pics", Copy::plain);
  }
  return expectation;
}

Bytes ExpandTokens(const Bytes& text, const Choices& choices) {
  const std::string from(text.begin(), text.end());
  std::string to;
  std::size_t position = 0;
  for (;;) {
    const std::size_t percent = from.find('%', position);
    to += from.substr(position, percent - position);
    if (percent == std::string::npos) break;
    const std::size_t code = from.find_first_of("idhD", percent + 1);
    if (code == std::string::npos || code + 2 >= from.size()) break;
    switch (from[code]) {
      case 'i':
        to += choices.picturesDir;
        break;
      case 'd':
        to += choices.dataDir;
        break;
      case 'h':
        if (choices.docs && choices.glint) to += choices.helpDir;
        break;
      default:
        to += Barred(choices.dataDir);
    }
    position = code + 3;
  }
  return {to.begin(), to.end()};
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
