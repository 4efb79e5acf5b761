/// Files and folders of a test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/bytes.h"

namespace imx::test {

/// A fresh folder, made at first use and removed with all it holds.
class TempDir {
 public:
  TempDir() = default;
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  /// Path of the folder.
  const std::string& path();
  /// Path of `name` inside it.
  std::string file(std::string_view name);
  /// Writes `bytes` into `name` inside it and returns that path.
  std::string Write(std::string_view name, std::span<const std::uint8_t> bytes);
  std::string Write(std::string_view name, std::string_view text);
  /// Names of what is in it, sorted.
  std::vector<std::string> Names();

 private:
  std::string path_;
};

/// The whole file; empty when it cannot be read.
Bytes ReadFile(const std::string& path);
std::string ReadTextFile(const std::string& path);

/// Replaces the file. Throws when it cannot be written.
void WriteFile(const std::string& path, std::span<const std::uint8_t> bytes);

bool FileExists(const std::string& path);

}  // namespace imx::test
