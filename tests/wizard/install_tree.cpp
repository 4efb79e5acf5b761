#include "tests/wizard/install_tree.h"

#include <algorithm>
#include <filesystem>
#include <regex>
#include <string_view>
#include <vector>

#include "shell/win32/windows_api.h"
#include "tests/support/files.h"

// After the system's basic header.
#include <objbase.h>
#include <shlobj.h>

namespace imx::test {
namespace fs = std::filesystem;

namespace {

bool IsTemplate(const fs::path& file) {
  static constexpr std::string_view kEndings[] = {".tml", ".mpt", ".mpr", ".psy", ".ini"};
  const std::string ending = file.extension().string();
  return std::find(std::begin(kEndings), std::end(kEndings), ending) != std::end(kEndings);
}

enum class Copy { plain, expanded };

/// A file of the install data, or all files of a folder, and the directory that they go to.
struct Step {
  bool wanted;
  std::string from;
  std::string to;
  Copy copy = Copy::plain;
};

std::vector<Step> StepsOf(const Choices& choices) {
  const auto& [glint, twistel, docs, program, pictures, help, data, group] = choices;
  const std::string windows = WindowsDirectory();
  const std::string system = SystemDirectory();
  std::vector<Step> steps = {{glint, "glint.exe", program},
                             {glint, "twainlnk.dll", program},
                             {twistel, "twistel.exe", program},
                             {twistel, "demoloop.avi", program},
                             {true, "colorset.ini", windows},
                             {true, "winglint.ini", windows, Copy::expanded},
                             {true, "twistel.ini", windows, Copy::expanded},
                             {true, "data", data, Copy::expanded},
                             {true, "data\\psys", data + "\\psys", Copy::expanded},
                             {true, "images", pictures},
                             {glint && docs, "html_docs", help},
                             {glint && docs, "html_docs\\anims", help + "\\anims"},
                             {glint && docs, "html_docs\\pics", help + "\\pics"}};
  for (const char* const name :
       {"glintldjpeg.dll", "glintldtiff.dll", "glintpal.dll", "glintsvjpeg.dll"}) {
    steps.push_back({true, name, program});
  }
  for (const char* const name : {"msvcp50.dll", "msvcrt.dll", "msvcrt40.dll"}) {
    steps.push_back({!FileExists(system + "\\" + name), name, system});
  }
  for (const std::string folder :
       {"land_pals", "tex_pals", "convos", "plugins", "scripts", "transitions", "psys\\pals"}) {
    steps.push_back({true, "data\\" + folder, data + "\\" + folder});
  }
  return steps;
}

/// A template's text with its directory tokens replaced.
Bytes ExpandTokens(const Bytes& bytes, const Choices& choices) {
  static const std::regex token("%[^idhD]*([idhD])[\\s\\S]{2}");
  std::string barred = choices.dataDir;
  std::replace(barred.begin(), barred.end(), ' ', '|');
  const std::map<std::string, std::string> directories = {
      {"i", choices.picturesDir},
      {"d", choices.dataDir},
      {"h", choices.docs && choices.glint ? choices.helpDir : ""},
      {"D", barred}};
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
  const auto add = [&](const fs::path& file, const Step& step) {
    if (!fs::is_regular_file(file)) return;
    Bytes content = ReadFile(file.string());
    ++expectation.files;
    expectation.bytes += content.size();
    if (step.copy == Copy::expanded && IsTemplate(file)) content = ExpandTokens(content, choices);
    expectation.tree[step.to + "\\" + file.filename().string()].content = std::move(content);
  };
  for (const Step& step : StepsOf(choices)) {
    const fs::path source = fs::path(medium) / "nt9895" / step.from;
    if (!step.wanted) continue;
    if (!fs::is_directory(source)) {
      add(source, step);
      continue;
    }
    expectation.tree[step.to].isDirectory = true;
    for (const auto& entry : fs::directory_iterator(source)) add(entry.path(), step);
  }
  expectation.tree[choices.programDir].isDirectory = true;
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
