#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstddef>
#include <initializer_list>
#include <string_view>

#include "imagelib/plugin_library.h"
#include "imagelib/text.h"

namespace imx {
namespace {

/// The file of the running program; empty when that is not known.
std::string ProgramPath() {
  char path[4096];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  return length > 0 ? std::string(path, static_cast<std::size_t>(length)) : std::string();
}

/// The file of the shared library, or else the program, that this code is part of.
std::string OwnPath() {
  static const char kOwn = 0;
  Dl_info info;
  void* entry = nullptr;
  if (dladdr1(&kOwn, &info, &entry, RTLD_DL_LINKMAP) == 0) return ProgramPath();
  const char* name = static_cast<const link_map*>(entry)->l_name;
  if (!name || !*name) return ProgramPath();
  // A relative name was meant for the folder that was current once.
  return name[0] == '/' ? name : std::string();
}

/// The folder of `name` or, when it tells none, where installed and built plug-ins are: beside what
/// calls them, and in the installation's folder for them. Empty when that is not known.
std::string LibraryFolder(std::string_view name, const std::string& file) {
  const std::size_t folder = name.size() - PathFileName(name).size();
  if (folder > 0) return std::string(name.substr(0, folder));
  const std::string own = OwnPath();
  if (own.empty()) return {};
  std::string beside = own.substr(0, own.rfind('/') + 1);
  for (const char* installed : {IMX_PLUGINS_FROM_LIBRARY, IMX_PLUGINS_FROM_PROGRAM}) {
    std::string tried = beside + installed;
    if (access((beside + file).c_str(), F_OK) != 0 && access((tried + file).c_str(), F_OK) == 0) {
      return tried;
    }
  }
  return beside;
}

}  // namespace

PluginLibrary::PluginLibrary(const char* name) {
  const std::string_view base = PathFileName(name);
  const std::string file(base.substr(0, base.size() - PathExtension(base).size()));
  const std::string folder = LibraryFolder(name, file + ".so");
  if (folder.empty()) {
    error_ = "the program's folder is not known";
    return;
  }
  handle_ = dlopen((folder + file + ".so").c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle_) error_ = dlerror();
}

PluginLibrary::~PluginLibrary() {
  if (handle_) dlclose(handle_);
}

void* PluginLibrary::Symbol(const char* name) const {
  return dlsym(handle_, name);
}

}  // namespace imx
