// The image operations on a photograph of 2048 x 2048, beside ImageMagick on one thread. All times
// are processor time; of ImageMagick's the time of loading the same pictures is taken off.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "bench/cpu_time.h"
#include "bench/photo.h"
#include "bench/register.h"
#include "ops/operations.h"
#include "tests/support/files.h"
#include "tests/support/run_program.h"

namespace imx::bench {
namespace {

constexpr std::int32_t kSide = 2048;
constexpr int kLoads = 5;

using Arguments = std::vector<std::string>;

/// The picture, the one that is merged into it, and the same as files of bare pixels.
struct Pictures {
  ImageGuard photo = Photo(kSide, kSide);
  ImageGuard layer = Photo(kSide, kSide);
  test::TempDir folder;

  Pictures() {
    layer->flags |= kFlagAlpha;
    for (std::int32_t y = 0; y < kSide; ++y) {
      std::uint8_t* row = PixelRow(*layer, y);
      for (std::int32_t x = 0; x < kSide; ++x) row[4 * x + 3] = static_cast<std::uint8_t>(x + y);
    }
    Write("photo.rgba", *photo);
    Write("layer.rgba", *layer);
  }

  Arguments Load(const std::string& name) {
    return {"-size", "2048x2048", "-depth", "8", "rgba:" + folder.file(name)};
  }

 private:
  void Write(const char* name, const ImageRecord& image) {
    const std::span<const std::uint8_t> bytes(image.pixels, std::size_t{4} * image.pixelCount);
    folder.Write(name, bytes);
  }
};

Pictures& Shared() {
  static Pictures pictures;
  return pictures;
}

constexpr ClipRegion kWhole = {0, 0, kSide - 1, kSide - 1};

template <typename T>
void Keep(const T& made) {
  benchmark::DoNotOptimize(made);
}

struct Operation {
  const char* name;
  void (*own)(ImageRecord& photo);
  bool merges;     ///< works on the second picture too
  Arguments peer;  ///< ImageMagick's options, output among them
};

const std::vector<Operation>& All() {
  static const std::vector<Operation> all = {
      {"rescale to half",
       [](ImageRecord& p) { Keep(Rescaled(p, kWhole, 0.5f)); },
       false,
       {"-sample", "50%", "null:"}},
      {"rescale by 1.5",
       [](ImageRecord& p) { Keep(Rescaled(p, kWhole, 1.5f)); },
       false,
       {"-sample", "150%", "null:"}},
      {"rescale by 2",
       [](ImageRecord& p) { Keep(Rescaled(p, kWhole, 2.0f)); },
       false,
       {"-sample", "200%", "null:"}},
      {"resample to half",
       [](ImageRecord& p) { Keep(Resampled(p, kWhole, 0.5f)); },
       false,
       {"-interpolate", "bilinear", "-interpolative-resize", "50%", "null:"}},
      {"resample by 1.5",
       [](ImageRecord& p) { Keep(Resampled(p, kWhole, 1.5f)); },
       false,
       {"-filter", "triangle", "-resize", "150%", "null:"}},
      {"resample by 2",
       [](ImageRecord& p) { Keep(Resampled(p, kWhole, 2.0f)); },
       false,
       {"-filter", "triangle", "-resize", "200%", "null:"}},
      {"merge with alpha",
       [](ImageRecord& p) { Keep(MergeInto(p, kWhole, *Shared().layer)); },
       true,
       {"-filter", "triangle", "-resize", "2047x2047!", "-compose", "over", "-composite", "null:"}},
      {"gamma", [](ImageRecord& p) { CorrectGamma(p, 0.5f); }, false, {"-gamma", "2", "null:"}},
      {"colour count",
       [](ImageRecord& p) { Keep(CountColours(&p)); },
       false,
       {"-format", "%k", "info:"}},
  };
  return all;
}

void Own(benchmark::State& state, const Operation& operation) {
  ImageRecord& photo = *Shared().photo;
  for (auto _ : state) {
    state.SetIterationTime(1e-3 * CpuTimeOf(RUSAGE_SELF, [&] { operation.own(photo); }));
  }
}

double TimeOfPeer(const Operation& operation, const Arguments& work) {
  Arguments command = {"convert-im6", "-limit", "thread", "1"};
  const auto add = [&command](const Arguments& more) {
    command.insert(command.end(), more.begin(), more.end());
  };
  add(Shared().Load("photo.rgba"));
  if (operation.merges) add(Shared().Load("layer.rgba"));
  add(work);
  bool done = false;
  const double time =
      CpuTimeOf(RUSAGE_CHILDREN, [&] { done = test::RunProgram(command).status == 0; });
  return done ? time : -1;
}

void Peer(benchmark::State& state, const Operation& operation) {
  double loading = TimeOfPeer(operation, {"null:"});
  for (int run = 1; run < kLoads; ++run) {
    loading = std::min(loading, TimeOfPeer(operation, {"null:"}));
  }
  if (loading < 0) return state.SkipWithError("ImageMagick is not installed");
  for (auto _ : state) {
    const double time = TimeOfPeer(operation, operation.peer);
    state.SetIterationTime(1e-3 * std::max(time - loading, 0.0));
  }
}

}  // namespace

void RegisterAll() {
  const auto least = [](const std::vector<double>& times) {
    return *std::min_element(times.begin(), times.end());
  };
  for (const Operation& operation : All()) {
    for (const bool own : {true, false}) {
      const std::string name = std::string(operation.name) + (own ? "/imx" : "/ImageMagick");
      benchmark::RegisterBenchmark(name.c_str(), own ? Own : Peer, operation)
          ->Unit(benchmark::kMillisecond)
          ->UseManualTime()
          ->ComputeStatistics("least", least);
    }
  }
}

}  // namespace imx::bench
