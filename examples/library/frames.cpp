// Writes every frame of a sequence as a PNG, or a single picture as one: frames FILE PREFIX
#include <cstdio>
#include <memory>
#include <string>

#include "imx/imx.h"

namespace {

struct ImageFreer {
  void operator()(imx_image* image) const { imx_image_free(image); }
};
using Image = std::unique_ptr<imx_image, ImageFreer>;

Image LoadFrame(const char* path, int frame, imx_report* report) {
  imx_load_options options;
  imx_load_options_init(&options);
  options.frame = frame;
  imx_image* image = nullptr;
  imx_load_file(path, &options, &image, report);
  return Image(image);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  imx_report report{};
  report.struct_size = sizeof report;
  int frames = 1;
  for (int i = 0; i < frames; ++i) {
    const Image image = LoadFrame(argv[1], i, &report);
    if (image && imx_image_frames(image.get()) > 0) frames = imx_image_frames(image.get());
    const std::string output = argv[2] + std::to_string(i) + ".png";
    if (!image || imx_save_file(image.get(), output.c_str(), nullptr, &report) != IMX_OK) {
      std::fprintf(stderr, "%s: %s\n", argv[1], report.text);
      return 1;
    }
  }
  std::printf("%d frames\n", frames);
  return 0;
}
