// What the viewer computes for one paint of a full-screen window over a picture of 12000 x 9000, at
// the zooms that its keys step to; beside it a copy of as many pixels, which is the least that any
// painting does. The quarter copy, which strong reductions are made from, is timed by itself.

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "bench/photo.h"
#include "bench/register.h"
#include "shell/model/display_row.h"
#include "viewer/model/scaled_rows.h"

namespace imx::bench {
namespace {

constexpr Extent kPicture = {12000, 9000};
constexpr Extent kWindow = {1920, 1080};
constexpr Zoom kZooms[] = {{1, 32}, {1, 8}, {1, 5}, {1, 4}, {1, 3}, {1, 2},
                           {2, 3},  {1, 1}, {3, 2}, {2, 1}, {8, 1}};

ImageRecord& Picture() {
  static const ImageGuard picture = Photo(kPicture.width, kPicture.height);
  return *picture;
}

std::size_t RowBytes() {
  return std::size_t{4} * kWindow.width;
}

void CountPixels(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * kWindow.width * kWindow.height);
}

void Paint(benchmark::State& state, Zoom zoom, bool checkerboard) {
  QuarterCopy quarter;
  const Averages averages = checkerboard ? Averages::byAlpha : Averages::plain;
  SourceFor(Picture(), zoom, averages, quarter);
  std::vector<std::uint8_t> row(RowBytes()), shown(RowBytes());
  for (auto _ : state) {
    const ScaledSource source = SourceFor(Picture(), zoom, averages, quarter);
    for (std::int32_t y = 0; y < kWindow.height; ++y) {
      MakeScaledRow(source, y, 0, row);
      if (checkerboard) {
        CheckerboardDisplayRow(row, y, shown, 0);
      } else {
        PlainDisplayRow(row, shown);
      }
      benchmark::DoNotOptimize(shown.data());
      benchmark::ClobberMemory();
    }
  }
  CountPixels(state);
}

void Copy(benchmark::State& state) {
  std::vector<std::uint8_t> shown(RowBytes());
  for (auto _ : state) {
    for (std::int32_t y = 0; y < kWindow.height; ++y) {
      std::memcpy(shown.data(), PixelRow(Picture(), y), shown.size());
      benchmark::DoNotOptimize(shown.data());
      benchmark::ClobberMemory();
    }
  }
  CountPixels(state);
}

void MakeQuarter(benchmark::State& state) {
  for (auto _ : state) {
    QuarterCopy quarter;
    SourceFor(Picture(), {1, 8}, Averages::plain, quarter);
    benchmark::DoNotOptimize(quarter.pixels.data());
  }
}

}  // namespace

void RegisterAll() {
  for (const Zoom zoom : kZooms) {
    for (const bool checkerboard : {false, true}) {
      const std::string name = "paint at " + std::to_string(zoom.numerator) + ":" +
                               std::to_string(zoom.denominator) +
                               (checkerboard ? " with alpha" : "");
      benchmark::RegisterBenchmark(name.c_str(), Paint, zoom, checkerboard)
          ->Unit(benchmark::kMillisecond);
    }
  }
  benchmark::RegisterBenchmark("copy", Copy)->Unit(benchmark::kMillisecond);
  benchmark::RegisterBenchmark("quarter copy", MakeQuarter)->Unit(benchmark::kMillisecond);
}

}  // namespace imx::bench
