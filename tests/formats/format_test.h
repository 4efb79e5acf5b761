/// What the tests of codecs share: loaders of either shape on bytes, and short comparisons.
#pragma once

#include <cstdio>
#include <string>
#include <type_traits>
#include <vector>

#include "formats/codec_state.h"
#include "formats/indexed.h"
#include "tests/support/bytes.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

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

/// Saves with these options; some savers take the path first.
template <auto save, auto... options>
void SaveWith(const ImageRecord& image, const char* path) {
  if constexpr (std::is_invocable_v<decltype(save), const ImageRecord*, const char*,
                                    decltype(options)...>) {
    save(&image, path, options...);
  } else {
    save(path, &image, options...);
  }
}

inline Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

/// `count` bytes of `bytes` (fewer at its end) from `at` on.
inline Bytes Part(const Bytes& bytes, std::size_t at, std::size_t count = SIZE_MAX) {
  const std::size_t rest = bytes.size() - std::min(at, bytes.size());
  const std::uint8_t* start = bytes.data() + (bytes.size() - rest);
  return Bytes(start, start + std::min(count, rest));
}

inline Bytes WithByte(Bytes bytes, std::size_t at, int value) {
  bytes.at(at) = static_cast<std::uint8_t>(value);
  return bytes;
}

/// Always the same bytes of no order; those below `limit`.
inline Bytes NoiseBytes(std::size_t count, std::uint32_t seed, unsigned limit = 256) {
  Bytes bytes(count);
  for (std::uint8_t& byte : bytes) {
    seed = seed * 1664525 + 1013904223;
    byte = static_cast<std::uint8_t>((seed >> 16) % limit);
  }
  return bytes;
}

/// All pixels in rows from the top; none without an image.
inline std::vector<Rgba> Pixels(const ImageGuard& image) {
  std::vector<Rgba> pixels;
  for (std::int32_t y = 0; image && y < image->height; ++y) {
    for (std::int32_t x = 0; x < image->width; ++x) pixels.push_back(PixelAt(*image, x, y));
  }
  return pixels;
}

/// What hosts tell codecs is forgotten when a test is over.
class CodecTest : public LibraryTest {
 protected:
  void TearDown() override {
    Output() = {};
    Sequence() = {};
    Raw() = {};
    Rendering() = {};
    LibraryTest::TearDown();
  }
};

/// The tests of one format.
template <auto load>
class FormatTest : public CodecTest {
 protected:
  template <typename Data>
  ImageGuard Load(const Data& file) {
    return ImageGuard(LoadPath<load>(temp.Write("in", file).c_str()));
  }

  /// What the codec says of a file: all errors, or "" for none.
  template <typename Data>
  std::string Refusal(const Data& file) {
    host.Clear();
    const ImageGuard image = Load(file);
    std::string said = image ? "loaded" : "";
    for (const std::string& error : host.errors) said += (said.empty() ? "" : ": ") + error;
    return said;
  }

  /// The file that the saver writes.
  template <auto save, typename... Options>
  Bytes Saved(const ImageRecord& image, Options... options) {
    const std::string path = temp.file("out");
    if constexpr (std::is_invocable_v<decltype(save), const char*, const ImageRecord*>) {
      save(path.c_str(), &image);
    } else {
      save(&image, path.c_str(), options...);
    }
    return ReadFile(path);
  }
};

}  // namespace imx::test
