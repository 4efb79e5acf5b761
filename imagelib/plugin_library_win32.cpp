#include "imagelib/plugin_library.h"
#include "imagelib/system_files.h"
#include "imagelib/windows_api.h"

namespace imx {

PluginLibrary::PluginLibrary(const char* name) : handle_(LoadLibraryA(name)) {
  if (!handle_) error_ = SystemErrorText();
}

PluginLibrary::~PluginLibrary() {
  if (handle_) FreeLibrary(static_cast<HMODULE>(handle_));
}

void* PluginLibrary::Symbol(const char* name) const {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), name));
}

}  // namespace imx
