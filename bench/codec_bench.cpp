// Every format that saves, through the library's own dispatch, on the same picture: megapixels per
// second of saving and loading at each depth. PNG, which is libpng, is the peer in the same run;
// bench/whole_process.sh sets other programs beside imx.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

#include "bench/photo.h"
#include "bench/register.h"
#include "dispatch/load.h"
#include "dispatch/save.h"
#include "formats/codec_state.h"
#include "imagelib/image.h"
#include "imagelib/registry.h"
#include "imagelib/save_outcome.h"
#include "render/render.h"

namespace imx::bench {
namespace {

constexpr std::int32_t kSide = 2048;
constexpr double kPixels = double{kSide} * kSide;

ImageRecord* Picture() {
  static const ImageGuard picture = Photo(kSide, kSide);
  return picture.get();
}

/// One depth of one registry row, and the file it goes to.
struct Job {
  std::int32_t row;
  std::int32_t choice;

  std::string Path() const {
    return (std::filesystem::temp_directory_path() / "imx_codec_bench.").string() +
           TypeExtension(row);
  }
  bool Save() const {
    ImageRecord* image = Picture();
    image->saveType = row;
    image->saveDepth = choice;
    BeginSaveOutcome();
    SaveImage(Path().c_str(), image);
    return GetSaveOutcome() == SaveOutcome::whole;
  }
};

void CountPixels(benchmark::State& state) {
  state.counters["MP/s"] = benchmark::Counter(
      kPixels * 1e-6 * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}

void Saving(benchmark::State& state, Job job) {
  for (auto _ : state) {
    StartRenderer();  // every save renders as if it were the first
    if (!job.Save()) state.SkipWithError("not saved");
  }
  CountPixels(state);
  std::remove(job.Path().c_str());
}

void Loading(benchmark::State& state, Job job) {
  if (!job.Save()) state.SkipWithError("not saved");
  Raw() = {.kind = -1, .width = kSide, .height = kSide};
  for (auto _ : state) {
    const ImageGuard image(LoadImage(job.Path().c_str()));
    if (!image) state.SkipWithError("not loaded");
    Raw().kind = -1;
  }
  CountPixels(state);
  std::remove(job.Path().c_str());
}

/// Types that need a plug-in to be saved are passed over.
bool NeedsPlugin(std::int32_t row) {
  return Registry(row).type == kTypeJpeg || Registry(row).type == kTypeTiff;
}

}  // namespace

void RegisterAll() {
  for (std::int32_t row = 0; TypeRowOutOfRange(row) == 0; ++row) {
    if (!TypeCanSave(row) || NeedsPlugin(row)) continue;
    for (std::int32_t choice = 0; choice < DepthChoiceCount(row); ++choice) {
      const std::string name = std::string(TypeExtension(row)) + "/" +
                               std::to_string(DepthBits(DepthChoiceBit(row, choice)));
      const Job job{row, choice};
      benchmark::RegisterBenchmark(("load/" + name).c_str(), Loading, job)
          ->Unit(benchmark::kMillisecond);
      benchmark::RegisterBenchmark(("save/" + name).c_str(), Saving, job)
          ->Unit(benchmark::kMillisecond);
    }
  }
}

}  // namespace imx::bench
