#include <dlfcn.h>
#include <unistd.h>

#include <cstddef>
#include <string_view>

#include "imagelib/plugin_library.h"
#include "imagelib/text.h"

namespace imx {
namespace {

/// The folder of `name` or, when it tells none, the program's, with a closing slash; empty when
/// that is not known.
std::string LibraryFolder(std::string_view name) {
  const std::size_t folder = name.size() - PathFileName(name).size();
  if (folder > 0) return std::string(name.substr(0, folder));
  char path[4096];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  if (length <= 0) return {};
  const std::string_view program(path, static_cast<std::size_t>(length));
  return std::string(program.substr(0, program.rfind('/') + 1));
}

}  // namespace

PluginLibrary::PluginLibrary(const char* name) {
  const std::string folder = LibraryFolder(name);
  if (folder.empty()) {
    error_ = "the program's folder is not known";
    return;
  }
  const std::string_view file = PathFileName(name);
  const std::string base(file.substr(0, file.size() - PathExtension(file).size()));
  handle_ = dlopen((folder + base + ".so").c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle_) error_ = dlerror();
}

PluginLibrary::~PluginLibrary() {
  if (handle_) dlclose(handle_);
}

void* PluginLibrary::Symbol(const char* name) const {
  return dlsym(handle_, name);
}

}  // namespace imx
