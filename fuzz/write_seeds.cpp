// Saves a small picture in every way that the codecs have, and gives the dispatch all of these and
// the samples; with fuzz/samples, files to start a fuzzer with: write_seeds FOLDER.

#include <cstdio>
#include <filesystem>

#include "fuzz/targets.h"
#include "imagelib/guards.h"
#include "imagelib/registry.h"
#include "tests/formats/kept_files.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

namespace fs = std::filesystem;

void Write(const fs::path& folder, const std::string& name, const Bytes& bytes) {
  fs::create_directories(folder);
  WriteFile((folder / name).string(), bytes);
}

/// Files as the dispatch's target wants them: frame 1 of sequences, no raw layout, no quirks, and
/// once all of it, once the header alone.
void WriteForDispatch(const fs::path& folder, const std::string& name, const std::string& extension,
                      const Bytes& file) {
  const int row = TypeRowByExtension(extension.c_str());
  const Bytes choices = {static_cast<std::uint8_t>(row < 0 ? kRegistryRows : row), 1, 0, 5, 0};
  Write(folder / "dispatch", name, choices + Bytes{0} + file);
  Write(folder / "dispatch", "header-" + name, choices + Bytes{1} + file);
}

std::string ExtensionOf(const std::string& codec) {
  return codec == "jpeg" ? "jpg" : codec == "tiff" ? "tif" : codec == "flic" ? "flc" : codec;
}

void WriteSeeds(const Codec& codec, const fs::path& folder) {
  std::map<std::string, Bytes> seeds = KeptFiles(codec.name, "samples");
  const std::string path = (folder / "saved").string();
  for (const Saving& saving : codec.savings) {
    const ImageGuard picture = AlphaGradient(19, 5);
    saving.save(*picture, path.c_str());
    seeds[std::string("saved-") + saving.name] = ReadFile(path);
    fs::remove(path);
  }
  for (const auto& [name, bytes] : seeds) {
    Write(folder / codec.name, name, bytes);
    WriteForDispatch(folder, std::string(codec.name) + "-" + name, ExtensionOf(codec.name), bytes);
  }
}

}  // namespace
}  // namespace imx::test

int main(int count, char** arguments) {
  using namespace imx::test;
  if (count != 2) {
    std::fprintf(stderr, "usage: write_seeds FOLDER\n");
    return 2;
  }
  const fs::path folder = arguments[1];
  for (const Codec& codec : Codecs()) WriteSeeds(codec, folder);
  for (const Codec& codec : PluginCodecs()) WriteSeeds(codec, folder);
  for (const auto& entry : fs::directory_iterator(IMX_SOURCE_DIR "/tests/formats/fixtures")) {
    if (entry.path().extension() != ".avi") continue;
    WriteForDispatch(folder, entry.path().filename().string(), "avi",
                     ReadFile(entry.path().string()));
  }
  return 0;
}
