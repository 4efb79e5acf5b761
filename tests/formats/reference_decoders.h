/// What the reference decoder tests share: public tools that decode files, and pictures that they
/// read.
#pragma once

#include <filesystem>
#include <iterator>
#include <sstream>
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
inline std::string OutputOf(const Words& arguments, std::string_view input = {},
                            const std::string& directory = {}) {
  ProgramResult result = RunProgram(arguments, input, directory);
  EXPECT_EQ(result.status, 0) << arguments[0] << ": " << result.err;
  return std::move(result.out);
}

inline Words SplitAtSpaces(const std::string& line) {
  std::istringstream in(line);
  return Words(std::istream_iterator<std::string>(in), {});
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

/// A pixmap of what OpenImageIO decodes; alpha is neither shown nor multiplied in.
inline std::string OpenImageIoPixels(const std::string& path, const std::string& channels) {
  const std::string converted = path + ".ppm";
  OutputOf({"oiiotool", "--iconfig", "oiio:UnassociatedAlpha", "1", path, "--ch", channels, "-d",
            "uint8", "-o", converted});
  return ReadTextFile(converted);
}

/// The same as functions of the path alone.
inline std::string MagickRgb(const std::string& path) {
  return MagickPixels(path);
}
inline std::string FfmpegRgb(const std::string& path) {
  return FfmpegPixels(path);
}

inline std::string OpenImageIoRgb(const std::string& path) {
  return OpenImageIoPixels(path, "R,G,B");
}
/// A pixmap.
inline std::string NetpbmIlbm(const std::string& path) {
  return OutputOf({"ilbmtoppm", path});
}

inline std::string RgbOf(const ImageRecord& image) {
  return PixelBytes(image, Channels::rgb);
}

/// The picture as a file that every tool reads.
inline std::string Pixmap(const ImageRecord& image) {
  return "P6\n" + std::to_string(image.width) + " " + std::to_string(image.height) + "\n255\n" +
         RgbOf(image);
}

/// A file that another program writes.
struct Theirs {
  std::string command;  ///< in words between spaces; the file is its output, or one that it names
  std::string input;
  std::vector<std::pair<std::size_t, int>> header = {};  ///< bytes that show what the file holds
};

class ReferenceDecoderTest : public CodecTest {
 protected:
  /// What we load, R, G, B (, A) each.
  template <auto load>
  std::string Ours(const std::string& path, Channels channels = Channels::rgb) {
    const ImageGuard image(LoadPath<load>(path.c_str()));
    return image ? PixelBytes(*image, channels) : "not loaded";
  }

  /// We load the files as `truth`, a function of the path, has them.
  template <auto load, typename Truth>
  void ExpectAlike(const char* name, Truth truth, const std::vector<Theirs>& files,
                   Channels channels = Channels::rgb) {
    for (const Theirs& theirs : files) {
      SCOPED_TRACE(theirs.command);
      const std::string path = temp.file(name);
      std::filesystem::remove(path);
      const std::string out = OutputOf(SplitAtSpaces(theirs.command), theirs.input, temp.path());
      if (!out.empty()) temp.Write(name, out);
      const Bytes file = ReadFile(path);
      for (const auto& [offset, value] : theirs.header) EXPECT_EQ(file.at(offset), value) << offset;
      EXPECT_TRUE(Ours<load>(path, channels) == truth(path));
    }
  }
};

}  // namespace imx::test
