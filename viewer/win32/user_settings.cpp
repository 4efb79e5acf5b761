#include "viewer/win32/user_settings.h"

#include <memory>
#include <type_traits>

#include "imagelib/registry.h"
#include "imagelib/windows_api.h"

// After windows_api.h, which they need.
#include <shlobj.h>

namespace imx {
namespace {

constexpr char kSettings[] = "Software\\Quillmark\\Viewer";
constexpr char kClasses[] = "Software\\Classes\\";
constexpr char kPictureClass[] = "QuillmarkViewer.Picture";

struct KeyCloser {
  void operator()(HKEY key) const { RegCloseKey(key); }
};
using Key = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

Key OpenKey(HKEY root, const std::string& path) {
  HKEY key = nullptr;
  RegOpenKeyExA(root, path.c_str(), 0, KEY_READ | KEY_WRITE, &key);
  return Key(key);
}

Key MakeKey(const std::string& path) {
  HKEY key = nullptr;
  RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_READ | KEY_WRITE, nullptr,
                  &key, nullptr);
  return Key(key);
}

bool SetText(const Key& key, const std::string& name, const std::string& text) {
  return key && RegSetValueExA(key.get(), name.c_str(), 0, REG_SZ,
                               reinterpret_cast<const BYTE*>(text.c_str()),
                               static_cast<DWORD>(text.size() + 1)) == ERROR_SUCCESS;
}

// Empty when there is none.
std::string TextOf(HKEY key, const std::string& name) {
  constexpr DWORD kLongest = 4096;
  std::string text(kLongest, '\0');
  DWORD size = kLongest - 1, type = 0;
  if (RegQueryValueExA(key, name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(text.data()),
                       &size) != ERROR_SUCCESS ||
      type != REG_SZ) {
    return {};
  }
  return text.c_str();
}

std::string ProgramOfType(const std::string& ending) {
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_CLASSES_ROOT, ending.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
    return {};
  const Key owner(key);
  return TextOf(key, "");
}

std::vector<std::string> Endings() {
  std::vector<std::string> endings;
  for (std::int32_t row = 0; TypeRowOutOfRange(row) == 0; ++row) {
    if (TypeCanLoad(row) != 0) endings.push_back(std::string(".") + TypeExtension(row));
  }
  return endings;
}

// The class says which program opens a file, and with which icon it is shown.
bool MakePictureClass() {
  char program[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, program, sizeof program);
  const std::string path = std::string(kClasses) + kPictureClass;
  return SetText(MakeKey(path), "", "Picture") &&
         SetText(MakeKey(path + "\\DefaultIcon"), "", std::string(program) + ",0") &&
         SetText(MakeKey(path + "\\shell\\open"), "FriendlyAppName", "Quillmark Viewer") &&
         SetText(MakeKey(path + "\\shell\\open\\command"), "",
                 "\"" + std::string(program) + "\" \"%1\"");
}

bool OfferForType(const std::string& ending) {
  const std::string path = kClasses + ending;
  if (!SetText(MakeKey(path + "\\OpenWithProgids"), kPictureClass, "")) return false;
  return !ProgramOfType(ending).empty() || SetText(MakeKey(path), "", kPictureClass);
}

void TakeBackType(const std::string& ending) {
  const std::string path = kClasses + ending;
  if (const Key key = OpenKey(HKEY_CURRENT_USER, path + "\\OpenWithProgids")) {
    RegDeleteValueA(key.get(), kPictureClass);
  }
  const Key key = OpenKey(HKEY_CURRENT_USER, path);
  if (key && TextOf(key.get(), "") == kPictureClass) RegDeleteValueA(key.get(), "");
}

// Keys that hold nothing any more go; others stay.
void DeleteIfEmpty(const std::string& path) {
  DWORD keys = 0, values = 0;
  {
    const Key key = OpenKey(HKEY_CURRENT_USER, path);
    if (!key || RegQueryInfoKeyA(key.get(), nullptr, nullptr, nullptr, &keys, nullptr, nullptr,
                                 &values, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) {
      return;
    }
  }
  if (keys == 0 && values == 0) RegDeleteKeyA(HKEY_CURRENT_USER, path.c_str());
}

void DeletePictureClass() {
  const std::string path = std::string(kClasses) + kPictureClass;
  for (const char* part :
       {"\\DefaultIcon", "\\shell\\open\\command", "\\shell\\open", "\\shell", ""}) {
    RegDeleteKeyA(HKEY_CURRENT_USER, (path + part).c_str());
  }
}

}  // namespace

std::vector<std::string> ReadTextList(const std::string& name) {
  std::vector<std::string> texts;
  const Key key = OpenKey(HKEY_CURRENT_USER, kSettings);
  while (key) {
    const std::string text = TextOf(key.get(), name + std::to_string(texts.size() + 1));
    if (text.empty()) break;
    texts.push_back(text);
  }
  return texts;
}

void WriteTextList(const std::string& name, const std::vector<std::string>& texts) {
  const Key key = MakeKey(kSettings);
  if (!key) return;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    SetText(key, name + std::to_string(i + 1), texts[i]);
  }
  RegDeleteValueA(key.get(), (name + std::to_string(texts.size() + 1)).c_str());
}

bool IsOfferedForFiles() {
  const std::string path = std::string(kClasses) + kPictureClass + "\\shell\\open\\command";
  return OpenKey(HKEY_CURRENT_USER, path) != nullptr;
}

bool OfferForFiles(bool offer) {
  bool done = true;
  if (offer) done = MakePictureClass();
  for (const std::string& ending : Endings()) {
    if (offer) {
      done = done && OfferForType(ending);
      continue;
    }
    TakeBackType(ending);
    DeleteIfEmpty(kClasses + ending + "\\OpenWithProgids");
    DeleteIfEmpty(kClasses + ending);
  }
  if (!offer) DeletePictureClass();
  SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
  return done;
}

}  // namespace imx
