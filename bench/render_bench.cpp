// The colour renderer beside ImageMagick and pngquant: a photograph of 2048 x 2048 reduced to 256
// colours with error diffusion. Times are CPU milliseconds, the least of several runs.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "bench/cpu_time.h"
#include "bench/photo.h"
#include "formats/codec_state.h"
#include "formats/png.h"
#include "render/render.h"
#include "tests/support/files.h"
#include "tests/support/pictures.h"
#include "tests/support/run_program.h"

namespace imx::bench {
namespace {

constexpr std::int32_t kSide = 2048;
constexpr int kRuns = 5;

/// Least CPU time of `work`, in this process or in the programs that it runs.
template <typename Work>
double Measure(int who, Work&& work) {
  double least = std::numeric_limits<double>::max();
  for (int run = 0; run < kRuns; ++run) {
    least = std::min(least, CpuTimeOf(who, work));
  }
  return least;
}

/// Runs a program; false when it is not there or fails.
bool Run(const std::vector<std::string>& arguments) {
  return test::RunProgram(arguments).status == 0;
}

/// Peak signal-to-noise ratio of red, green and blue, in decibels.
template <typename Shown>
double Psnr(const ImageRecord& wanted, Shown&& shown) {
  double squares = 0;
  for (std::uint32_t i = 0; i < wanted.pixelCount; ++i) {
    const std::uint8_t* a = wanted.pixels + std::size_t{4} * i;
    const test::Rgba b = shown(i);
    const int r = a[0] - b.r;
    const int g = a[1] - b.g;
    const int blue = a[2] - b.b;
    squares += r * r + g * g + blue * blue;
  }
  return 10 * std::log10(255.0 * 255.0 * 3 * wanted.pixelCount / squares);
}

double PsnrOfFile(const ImageRecord& wanted, const std::string& path) {
  const ImageGuard image(LoadPng(path.c_str()));
  if (!image || image->pixelCount != wanted.pixelCount) return 0;
  return Psnr(wanted, [&](std::uint32_t i) {
    const std::uint8_t* p = image->pixels + std::size_t{4} * i;
    return test::Rgba{p[0], p[1], p[2], 255};
  });
}

struct Row {
  const char* name;
  RenderCode code;
  std::int32_t mode;
  bool ordered;
};

constexpr Row kRows[] = {
    {"256 colours of the image, error diffusion", RenderCode::colour8, kRenderFromImage, false},
    {"256 colours of the image, ordered", RenderCode::colour8, kRenderFromImage, true},
    {"256 colours of the previous render", RenderCode::colour8, kRenderPrevious, false},
    {"256 fixed colours, error diffusion", RenderCode::colour8, kRenderFixed, false},
    {"256 fixed colours, ordered", RenderCode::colour8, kRenderFixed, true},
    {"16 fixed colours", RenderCode::colour4, kRenderFixed, false},
    {"256 greys", RenderCode::grey8, kRenderFromImage, false},
    {"16 greys", RenderCode::grey4, kRenderFromImage, false},
    {"black and white", RenderCode::blackWhite, kRenderFromImage, false},
};

/// Time of one kind of render; its palette and indices are left for the PSNR.
void PrintOwn(const ImageRecord& image, const Row& row) {
  Palette palette = {};
  TrackedBytes indices;
  const double time = Measure(RUSAGE_SELF, [&] {
    indices = RenderImage(image, palette, row.code, row.mode, row.ordered, true, 100);
  });
  const double psnr = Psnr(image, [&](std::uint32_t i) {
    const std::uint8_t index = indices[i];
    return test::Rgba{palette.red[index], palette.green[index], palette.blue[index], 255};
  });
  std::printf("  %-44s %8.1f ms %8.1f Mpixel/s %7.2f dB\n", row.name, time,
              image.pixelCount / time * 1e-3, psnr);
}

double OwnReduction(const ImageRecord& image) {
  Palette palette = {};
  return Measure(RUSAGE_SELF, [&] {
    RenderImage(image, palette, RenderCode::colour8, kRenderFromImage, false, true, 100);
  });
}

void PrintPeer(const char* name, double time, double own, double psnr) {
  std::printf("  %-44s %8.1f ms %8.1f times ours   %7.2f dB\n", name, time, time / own, psnr);
}

/// ImageMagick without loading and saving: the time of a run less that of one that only loads.
void PrintReductionPeers(const ImageRecord& image, test::TempDir& folder,
                         const std::string& source) {
  const double own = OwnReduction(image);
  const std::vector<std::string> load = {"convert", source, "null:"};
  std::vector<std::string> reduce = {
      "convert", source, "-dither", "FloydSteinberg", "-colors", "256", folder.file("magick.png")};
  if (!Run(load) || !Run(reduce)) {
    std::puts("  ImageMagick is not installed");
    return;
  }
  const double psnr = PsnrOfFile(image, reduce.back());
  reduce.back() = "null:";
  const double time =
      Measure(RUSAGE_CHILDREN, [&] { Run(reduce); }) - Measure(RUSAGE_CHILDREN, [&] { Run(load); });
  PrintPeer("ImageMagick -colors 256, Floyd-Steinberg", time, own, psnr);
}

/// Whole jobs, from a PNG file to a paletted one.
void PrintWholeJobs(const ImageRecord& image, test::TempDir& folder, const std::string& source) {
  const std::string saved = folder.file("own.png");
  const double own = Measure(RUSAGE_SELF, [&] {
    const ImageGuard loaded(LoadPng(source.c_str()));
    Output().depthBits = 8;
    if (loaded) SavePng(loaded.get(), saved.c_str(), 0);
  });
  PrintPeer("imx", own, own, PsnrOfFile(image, saved));
  const std::string reduced = folder.file("peer.png");
  const std::vector<std::string> peers[] = {
      {"pngquant", "--speed", "3", "--force", "--output", reduced, "256", source},
      {"convert", source, "-dither", "FloydSteinberg", "-colors", "256", reduced}};
  for (const auto& peer : peers) {
    const std::string name = peer[0] == "convert" ? "ImageMagick" : "pngquant --speed 3";
    if (!Run(peer)) {
      std::printf("  %s is not installed\n", name.c_str());
      continue;
    }
    const double psnr = PsnrOfFile(image, reduced);
    PrintPeer(name.c_str(), Measure(RUSAGE_CHILDREN, [&] { Run(peer); }), own, psnr);
  }
}

int Main() {
  const ImageGuard photo = Photo(kSide, kSide);
  if (StartRenderer() != 0) return 1;
  std::printf("A photograph of %d x %d, least CPU time of %d runs\n", kSide, kSide, kRuns);
  std::puts("Reduction alone:");
  for (const Row& row : kRows) PrintOwn(*photo, row);

  test::TempDir folder;
  const std::string source = folder.file("photo.png");
  Output().depthBits = 24;
  if (SavePng(photo.get(), source.c_str(), 0) != 0) return 1;
  PrintReductionPeers(*photo, folder, source);
  std::puts("From a PNG file to a PNG file with 256 colours:");
  PrintWholeJobs(*photo, folder, source);
  return 0;
}

}  // namespace
}  // namespace imx::bench

int main() {
  return imx::bench::Main();
}
