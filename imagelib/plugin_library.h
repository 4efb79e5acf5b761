/// Loading a library while the program runs.
#pragma once

#include <initializer_list>
#include <string>

namespace imx {

/// A loaded library, unloaded at the end of its life.
class PluginLibrary {
 public:
  /// Loads `name`, a Windows file name such as "KZLDJPEG.DLL"; elsewhere it ends in ".so" instead.
  /// The library must lie in the folder of the program (or of the shared library that calls it) or
  /// in that of its installation, unless `name` tells another: one that came with a picture, or
  /// lies in the current folder, is not run.
  explicit PluginLibrary(const char* name);
  ~PluginLibrary();
  PluginLibrary(const PluginLibrary&) = delete;
  PluginLibrary& operator=(const PluginLibrary&) = delete;

  bool ok() const { return handle_ != nullptr; }
  /// The system's words for why it could not be loaded.
  const std::string& error() const { return error_; }

  /// The function exported under the first of `names` that there is, or null.
  template <typename Function>
  Function Find(std::initializer_list<const char*> names) const {
    for (const char* name : names) {
      if (void* address = Symbol(name)) return reinterpret_cast<Function>(address);
    }
    return nullptr;
  }

 private:
  void* Symbol(const char* name) const;

  void* handle_ = nullptr;
  std::string error_;
};

}  // namespace imx
