// Saves a small picture in every way that the table of codecs has; with fuzz/samples, files to
// start a fuzzer with: write_seeds FOLDER.

#include <cstdio>
#include <filesystem>

#include "imagelib/guards.h"
#include "tests/formats/codec_table.h"
#include "tests/support/pictures.h"

using imx::ImageGuard;
using imx::test::AlphaGradient;
using imx::test::Codec;
using imx::test::Codecs;
using imx::test::Saving;

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: write_seeds FOLDER\n");
    return 2;
  }
  for (const Codec& codec : Codecs()) {
    const std::filesystem::path folder = std::filesystem::path(arguments[1]) / codec.name;
    std::filesystem::create_directories(folder);
    for (const Saving& saving : codec.savings) {
      const ImageGuard picture = AlphaGradient(19, 5);
      saving.save(*picture, (folder / (std::string("saved-") + saving.name)).string().c_str());
    }
  }
  return 0;
}
