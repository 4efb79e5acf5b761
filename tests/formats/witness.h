/// What the witness tests share: public tools that decode files, and pictures that they read.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/formats/format_test.h"
#include "tests/support/run_program.h"

namespace imx::test {

using Words = std::vector<std::string>;

inline Words operator+(Words first, const Words& more) {
  first.insert(first.end(), more.begin(), more.end());
  return first;
}

/// The program's standard output; a failure of the test when it does not end well.
inline std::string OutputOf(const Words& arguments, std::string_view input = {}) {
  ProgramResult result = RunProgram(arguments, input);
  EXPECT_EQ(result.status, 0) << arguments[0] << ": " << result.err;
  return std::move(result.out);
}

/// Samples of the file as ImageMagick decodes them. It keeps a Targa file's rows in file order
/// unless it is asked to turn them.
inline std::string MagickPixels(const std::string& path, const std::string& layout = "rgb") {
  const Words alpha = layout == "rgb" ? Words{"-alpha", "off"} : Words{};
  return OutputOf(Words{"convert", path, "-auto-orient"} + alpha +
                  Words{"-depth", "8", layout + ":-"});
}

inline std::string FfmpegPixels(const std::string& path, const std::string& layout = "rgb24") {
  return OutputOf({"ffmpeg", "-v", "error", "-i", path, "-f", "rawvideo", "-pix_fmt", layout, "-"});
}

inline std::string RgbOf(const ImageRecord& image) {
  return PixelBytes(image, Channels::rgb);
}

/// The picture as a file that every tool reads.
inline std::string Pixmap(const ImageRecord& image) {
  return "P6\n" + std::to_string(image.width) + " " + std::to_string(image.height) + "\n255\n" +
         RgbOf(image);
}

class WitnessTest : public CodecTest {
 protected:
  /// What we load, R, G, B (, A) each.
  template <auto load>
  std::string Ours(const std::string& path, Channels channels = Channels::rgb) {
    const ImageGuard image(LoadPath<load>(path.c_str()));
    return image ? PixelBytes(*image, channels) : "not loaded";
  }

  /// What OpenImageIO decodes, by way of a pixmap; alpha is neither shown nor multiplied in.
  std::string OpenImageIoPixels(const std::string& path, std::size_t pixels) {
    const std::string converted = temp.file("converted.ppm");
    OutputOf({"oiiotool", "--iconfig", "oiio:UnassociatedAlpha", "1", path, "--ch", "R,G,B", "-d",
              "uint8", "-o", converted});
    const std::string file = ReadTextFile(converted);
    return file.substr(file.size() - std::min(file.size(), 3 * pixels));
  }
};

}  // namespace imx::test
