/// Codecs called alike, whatever their arguments.
#pragma once

#include <cstdio>
#include <type_traits>

#include "imagelib/image.h"

namespace imx::test {

/// Calls a loader that takes a path, an open file, or both.
template <auto load>
ImageRecord* LoadPath(const char* path) {
  if constexpr (std::is_invocable_v<decltype(load), const char*>) {
    return load(path);
  } else {
    std::FILE* file = std::fopen(path, "rb");
    if (!file) return nullptr;
    if constexpr (std::is_invocable_v<decltype(load), std::FILE*>) {
      return load(file);
    } else {
      return load(file, path);
    }
  }
}

/// Saves with these options; some savers take the path first. What they return.
template <auto save, typename... Options>
auto SaveImage(const ImageRecord& image, const char* path, Options... options) {
  if constexpr (std::is_invocable_v<decltype(save), const char*, const ImageRecord*>) {
    return save(path, &image);
  } else {
    return save(&image, path, options...);
  }
}

/// The same as a function of its own.
template <auto save, auto... options>
void SaveWith(const ImageRecord& image, const char* path) {
  SaveImage<save>(image, path, options...);
}

}  // namespace imx::test
