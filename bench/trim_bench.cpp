// TRIM beside PNG (libpng at its default settings) on the same picture: speed, size of the file,
// and the memory that loading a TRIM file takes. All formats go through the library's own loaders
// and savers, so what they share (files, records) costs all of them the same.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "bench/photo.h"
#include "formats/codec_state.h"
#include "formats/iff.h"
#include "formats/png.h"
#include "imagelib/image.h"
#include "imagelib/memory.h"

namespace imx::bench {
namespace {

constexpr std::int32_t kSide = 2048;

struct Format {
  const char* name;
  ImageRecord* (*load)(const char* path);
  void (*save)(const ImageRecord* image, const char* path);
};

constexpr Format kTrim = {
    "trm", [](const char* path) { return LoadIff(std::fopen(path, "rb"), path); },
    [](const ImageRecord* image, const char* path) { SaveIff(image, path, 1, 1); }};
constexpr Format kIlbm = {
    "iff", [](const char* path) { return LoadIff(std::fopen(path, "rb"), path); },
    [](const ImageRecord* image, const char* path) { SaveIff(image, path, 0, 1); }};
constexpr Format kPng = {"png", [](const char* path) { return LoadPng(path); },
                         [](const ImageRecord* image, const char* path) {
                           Output().depthBits = 24;
                           SavePng(image, path, 0);
                         }};

const ImageRecord& Picture() {
  static const ImageGuard picture = Photo(kSide, kSide);
  return *picture;
}

/// A file that is removed at the end.
class BenchFile {
 public:
  explicit BenchFile(const char* extension)
      : path_((std::filesystem::temp_directory_path() / "imx_bench.").string() + extension) {}
  ~BenchFile() { std::remove(path_.c_str()); }
  BenchFile(const BenchFile&) = delete;
  BenchFile& operator=(const BenchFile&) = delete;

  const char* path() const { return path_.c_str(); }
  double size() const { return static_cast<double>(std::filesystem::file_size(path_)); }

 private:
  std::string path_;
};

void CountPixels(benchmark::State& state) {
  state.counters["MP/s"] = benchmark::Counter(static_cast<double>(kSide) * kSide / 1e6,
                                              benchmark::Counter::kIsIterationInvariantRate);
}

void Save(benchmark::State& state, const Format& format) {
  const ImageRecord& picture = Picture();
  const BenchFile file(format.name);
  for (auto _ : state) format.save(&picture, file.path());
  CountPixels(state);
  state.counters["bytes"] = file.size();
}

bool SameColours(const ImageRecord& a, const ImageRecord& b) {
  for (std::size_t i = 0; i < a.pixelCount; ++i) {
    if (std::memcmp(a.pixels + 4 * i, b.pixels + 4 * i, 3) != 0) return false;
  }
  return true;
}

void Load(benchmark::State& state, const Format& format) {
  const BenchFile file(format.name);
  format.save(&Picture(), file.path());
  for (auto _ : state) {
    const ImageGuard image(format.load(file.path()));
    benchmark::DoNotOptimize(image->pixels);
  }
  CountPixels(state);
  const ImageGuard image(format.load(file.path()));
  if (!SameColours(*image, Picture())) state.SkipWithError("the picture came back changed");
}

/// Bytes that one load takes at the most, the file's own bytes among them, beside what it may take.
void LoadMemory(benchmark::State& state) {
  const BenchFile file(kTrim.name);
  kTrim.save(&Picture(), file.path());
  // The counter is of the whole process. Saving takes less than loading, and this runs first.
  const std::uint32_t before = GetMemoryCounters().now;
  for (auto _ : state) const ImageGuard image(kTrim.load(file.path()));
  constexpr double kPixels = static_cast<double>(kSide) * kSide;
  state.counters["peak"] = GetMemoryCounters().peak - before;
  state.counters["limit"] = 4 * kPixels + file.size() + kPixels + (1 << 20);
}

BENCHMARK(LoadMemory)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Load, trim, kTrim)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Load, libpng, kPng)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Load, ilbm, kIlbm)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Save, trim, kTrim)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Save, libpng, kPng)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Save, ilbm, kIlbm)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace imx::bench
