#include <dlfcn.h>
#include <unistd.h>

#include <cstddef>
#include <string_view>

#include "imagelib/plugin_library.h"
#include "imagelib/text.h"

namespace imx {
namespace {

/// The program's folder with a closing slash; empty when it is not known.
std::string ProgramFolder() {
  char path[4096];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  if (length <= 0) return {};
  const std::string_view program(path, static_cast<std::size_t>(length));
  return std::string(program.substr(0, program.rfind('/') + 1));
}

}  // namespace

PluginLibrary::PluginLibrary(const char* name) {
  const std::string_view base(name);
  const std::string file =
      std::string(base.substr(0, base.size() - PathExtension(base).size())) + ".so";
  const std::string beside = ProgramFolder() + file;
  const bool isBeside = access(beside.c_str(), F_OK) == 0;
  handle_ = dlopen(isBeside ? beside.c_str() : file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle_) error_ = dlerror();
}

PluginLibrary::~PluginLibrary() {
  if (handle_) dlclose(handle_);
}

void* PluginLibrary::Symbol(const char* name) const {
  return dlsym(handle_, name);
}

}  // namespace imx
