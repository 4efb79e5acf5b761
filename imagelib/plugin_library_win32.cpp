#include "imagelib/plugin_library.h"
#include "imagelib/system_files.h"
#include "imagelib/text.h"
#include "imagelib/windows_api.h"

namespace imx {
namespace {

constexpr DWORD kLongestPath = 32768;

/// The path of `name`, beside the program unless it tells its folder; empty when that is not known.
std::wstring LibraryPath(const char* name) {
  wchar_t wide[MAX_PATH];
  if (MultiByteToWideChar(CP_ACP, 0, name, -1, wide, MAX_PATH) == 0) return {};
  if (PathFileName(name).size() != std::string_view(name).size()) return wide;
  std::wstring program(kLongestPath, 0);
  const DWORD length = GetModuleFileNameW(nullptr, program.data(), kLongestPath);
  if (length == 0 || length == kLongestPath) return {};
  program.resize(program.rfind(L'\\', length - 1) + 1);
  return program + wide;
}

/// The current folder may be that of a picture, and what lies there must not run: neither as the
/// library nor as one that it needs.
HMODULE Load(const std::wstring& path) {
  SetDllDirectoryW(L"");
  return path.empty() ? nullptr : LoadLibraryW(path.c_str());
}

}  // namespace

PluginLibrary::PluginLibrary(const char* name) : handle_(Load(LibraryPath(name))) {
  if (!handle_) error_ = SystemErrorText();
}

PluginLibrary::~PluginLibrary() {
  if (handle_) FreeLibrary(static_cast<HMODULE>(handle_));
}

void* PluginLibrary::Symbol(const char* name) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

}  // namespace imx
