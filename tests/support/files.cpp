#include "tests/support/files.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace imx::test {
namespace fs = std::filesystem;

TempDir::~TempDir() {
  std::error_code ignored;
  if (!path_.empty()) fs::remove_all(path_, ignored);
}

const std::string& TempDir::path() {
  if (!path_.empty()) return path_;
  // create_directory() is false for a name that is taken, so parallel programs cannot share one.
  auto number = std::chrono::steady_clock::now().time_since_epoch().count();
  fs::path candidate;
  do {
    candidate = fs::temp_directory_path() / ("imx_test_" + std::to_string(number++));
  } while (!fs::create_directory(candidate));
  path_ = candidate.string();
  return path_;
}

std::string TempDir::file(std::string_view name) {
  return (fs::path(path()) / name).string();
}

std::string TempDir::Write(std::string_view name, std::span<const std::uint8_t> bytes) {
  std::string target = file(name);
  WriteFile(target, bytes);
  return target;
}

std::string TempDir::Write(std::string_view name, std::string_view text) {
  return Write(name, Bytes(text.begin(), text.end()));
}

std::vector<std::string> TempDir::Names() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(path())) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

Bytes ReadFile(const std::string& path) {
  std::error_code ignored;
  if (!fs::is_regular_file(path, ignored)) return {};
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

std::string ReadTextFile(const std::string& path) {
  const Bytes bytes = ReadFile(path);
  return std::string(bytes.begin(), bytes.end());
}

void WriteFile(const std::string& path, std::span<const std::uint8_t> bytes) {
  // A new file each time: emptying an old one makes some file systems wait for the disk.
  std::error_code ignored;
  fs::remove(path, ignored);
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out) throw std::runtime_error("cannot write " + path);
}

bool FileExists(const std::string& path) {
  std::error_code ignored;
  return fs::exists(path, ignored);
}

}  // namespace imx::test
