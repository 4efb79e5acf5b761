// netpbm and FFmpeg read our ILBM files, and we decode theirs to the same pixels as they do.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "formats/iff.h"
#include "tests/formats/iff_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"
#include "tests/support/run_program.h"

namespace imx::test {
namespace {

class IffWitnessTest : public LibraryTest {
 protected:
  static std::string Run(const std::vector<std::string>& arguments, std::string_view input = {}) {
    ProgramResult result = RunProgram(arguments, input);
    EXPECT_EQ(result.status, 0) << arguments[0] << ": " << result.err;
    return std::move(result.out);
  }

  static std::string Pixmap(const ImageRecord& image) {
    return "P6\n" + std::to_string(image.width) + " " + std::to_string(image.height) + "\n255\n" +
           PixelBytes(image, Channels::rgb);
  }

  /// Red, green and blue bytes of what netpbm decodes.
  static std::string NetpbmPixels(const std::string& path, std::size_t pixels) {
    const std::string pixmap = Run({"ilbmtoppm", path});
    return pixmap.substr(pixmap.size() - std::min(pixmap.size(), 3 * pixels));
  }

  static std::string FfmpegPixels(const std::string& path) {
    return Run({"ffmpeg", "-v", "error", "-i", path, "-f", "rawvideo", "-pix_fmt", "rgb24", "-"});
  }

  std::string OurPixels(const std::string& path) {
    const ImageGuard image(LoadIff(std::fopen(path.c_str(), "rb"), path.c_str()));
    EXPECT_TRUE(image);
    return image ? PixelBytes(*image, Channels::rgb) : std::string();
  }
};

TEST_F(IffWitnessTest, TheyReadOurs) {
  const std::string path = temp.file("ours.iff");
  for (const int width : {1, 16, 37, 200}) {
    for (const ImageGuard& picture : {PhotoLike(width, 19), Drawing(width, 19)}) {
      for (const int compression : {0, 1}) {
        SCOPED_TRACE(testing::Message() << width << " " << compression);
        EXPECT_EQ(SaveIff(picture.get(), path.c_str(), 0, compression), 0);
        const std::string pixels = PixelBytes(*picture, Channels::rgb);
        EXPECT_EQ(NetpbmPixels(path, picture->pixelCount), pixels);
        EXPECT_EQ(FfmpegPixels(path), pixels);
      }
    }
  }
}

TEST_F(IffWitnessTest, WeReadTheirs) {
  const ImageGuard photo = PhotoLike(53, 31);
  const ImageGuard drawing = Drawing(53, 31);
  struct Kind {
    const ImageRecord* picture;
    std::vector<std::string> options;
  };
  const Kind kinds[] = {
      {drawing.get(), {"-compress"}},
      {drawing.get(), {"-nocompress"}},
      {drawing.get(), {"-fixplanes", "5"}},
      {drawing.get(), {"-transparent", "red", "-mmethod", "maskplane"}},
      {photo.get(), {"-24force", "-compress"}},
      {photo.get(), {"-24force", "-nocompress"}},
  };
  for (const Kind& kind : kinds) {
    std::vector<std::string> command = {"ppmtoilbm"};
    command.insert(command.end(), kind.options.begin(), kind.options.end());
    SCOPED_TRACE(testing::PrintToString(command));
    const std::string path = temp.Write("theirs.iff", Run(command, Pixmap(*kind.picture)));
    EXPECT_EQ(OurPixels(path), NetpbmPixels(path, kind.picture->pixelCount));
  }
  // Four and six bits FFmpeg widens as the hardware did; netpbm keeps what was in the lower bits.
  for (const char* bits : {"-ham6", "-ham8"}) {
    for (const char* compression : {"-compress", "-nocompress"}) {
      SCOPED_TRACE(testing::Message() << bits << " " << compression);
      const std::string path = temp.Write(
          "held.iff", Run({"ppmtoilbm", bits, "-hamforce", compression}, Pixmap(*photo)));
      EXPECT_EQ(OurPixels(path), FfmpegPixels(path));
    }
  }
}

TEST_F(IffWitnessTest, HalfBriteAsTheyDo) {
  ByteBuilder colours = BigEndian();
  ByteBuilder body = BigEndian();
  std::uint32_t random = 1;
  const auto next = [&random] { return (random = random * 1664525 + 1013904223) >> 24; };
  for (int i = 0; i < 3 * 32; ++i) colours.U8(next());
  for (int i = 0; i < 9 * 6 * 4; ++i) body.U8(next());  // 9 rows of 6 planes of 4 bytes
  const std::string path =
      temp.Write("half.iff", IffForm("ILBM", IffHeader({.width = 32, .height = 9, .planes = 6}),
                                     IffViewMode(0x80), IffChunk("CMAP", colours.bytes()),
                                     IffChunk("BODY", body.bytes())));
  const std::string pixels = OurPixels(path);
  EXPECT_EQ(pixels, NetpbmPixels(path, 32 * 9));
  EXPECT_EQ(pixels, FfmpegPixels(path));
}

}  // namespace
}  // namespace imx::test
