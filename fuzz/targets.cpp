#include "fuzz/targets.h"

#include <stdexcept>

#include "formats/codec_state.h"
#include "imagelib/guards.h"
#include "imagelib/quirks.h"
#include "render/render.h"

namespace imx::test {
namespace {

constexpr std::uint64_t kMemoryCeiling = 64 << 20;

Target LoaderTarget(const Codec& codec) {
  return [&codec](Run& run) {
    Bytes bytes = run.input.Rest();
    if (codec.repair) codec.repair(bytes);
    const std::string path = run.temp.Write("in", bytes);
    for (const QuirkSet& quirks : {QuirkSet(), AllQuirks()}) {
      const QuirkScope scope(quirks);
      const ImageGuard image(codec.load(path.c_str()));
      RequireSound(image.get());
    }
  };
}

void ResetLibrary() {
  ResetCodecState();
  ResetRenderer();
  Rendering() = {};
  SetImageCeiling(kImageCeiling);
  SetMemoryCeiling(kMemoryCeiling);
}

}  // namespace

const std::map<std::string, Target>& Targets() {
  static const std::map<std::string, Target> targets = [] {
    std::map<std::string, Target> made = {{"dispatch", FuzzDispatch},
                                          {"save", FuzzSaving},
                                          {"render", FuzzRenderer},
                                          {"tokens", FuzzTokens},
                                          {"arguments", FuzzArguments}};
    for (const std::vector<Codec>* codecs : {&Codecs(), &PluginCodecs()}) {
      for (const Codec& codec : *codecs) made[codec.name] = LoaderTarget(codec);
    }
    return made;
  }();
  return targets;
}

void RunTarget(const Target& target, const Bytes& bytes) {
  static TempDir temp;
  ResetLibrary();
  Run run{Input(bytes), {}, temp};
  const std::int32_t faults = GetMemoryCounters().faults;
  target(run);
  LibraryShutdown();
  Require(GetMemoryCounters().faults == faults,
          "memory faults, the last: " + (run.host.errors.empty() ? "" : run.host.errors.back()));
  Require(static_cast<int>(run.host.progress.size()) == run.host.progressEnds,
          "progress displays begun and ended differ");
}

void Require(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

void RequireSound(const ImageRecord* image, bool headerOnly) {
  if (!image) return;
  Require(IsValidImage(image) && image->width >= 1 && image->height >= 1, "no live record");
  if (headerOnly && !image->pixels) return Require(!image->rowOffsets, "rows without pixels");
  Require(LiveBlockSize(image->pixels) == std::uint64_t{4} * image->pixelCount,
          "pixels of another size");
  Require(image->rowOffsets[image->height - 1] == (image->height - 1) * image->width,
          "rows elsewhere");
}

}  // namespace imx::test
