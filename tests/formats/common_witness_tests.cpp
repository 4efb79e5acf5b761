// Targa, BMP, GIF and PCX with ImageMagick, netpbm and FFmpeg at the other end. Their own decoding
// is the truth.

#include <string>
#include <vector>

#include "formats/bmp.h"
#include "formats/gif.h"
#include "formats/indexed.h"
#include "formats/pcx.h"
#include "formats/targa.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"
#include "tests/support/run_program.h"

namespace imx::test {
namespace {

constexpr int kWidth = 45, kHeight = 23;

using Words = std::vector<std::string>;

/// The program's standard output; a failure of the test when it does not end well.
std::string OutputOf(const Words& arguments, std::string_view input = {}) {
  ProgramResult result = RunProgram(arguments, input);
  EXPECT_EQ(result.status, 0) << arguments[0] << ": " << result.err;
  return std::move(result.out);
}

/// ImageMagick keeps a Targa file's rows in file order unless it is asked to turn them.
std::string Magick(const std::string& path) {
  return OutputOf({"convert", path, "-auto-orient", "-alpha", "off", "-depth", "8", "rgb:-"});
}

std::string Ffmpeg(const std::string& path) {
  return OutputOf(
      {"ffmpeg", "-v", "error", "-i", path, "-f", "rawvideo", "-pix_fmt", "rgb24", "-"});
}

class CommonWitnessTest : public LibraryTest {
 protected:
  void SetUp() override {
    pixmap = "P6\n45 23\n255\n" + PixelBytes(*PhotoLike(kWidth, kHeight), Channels::rgb);
    few = OutputOf({"convert", "ppm:-", "+dither", "-colors", "14", "ppm:-"}, pixmap);
    two = OutputOf({"convert", "ppm:-", "-threshold", "50%", "ppm:-"}, pixmap);
  }

  void TearDown() override {
    Rendering() = {};
    LibraryTest::TearDown();
  }

  /// Has ImageMagick write `path` from `input` with these options.
  void MagickWrites(const std::string& input, Words options, const std::string& path) {
    options.insert(options.begin(), {"convert", "ppm:-"});
    options.push_back(path);
    OutputOf(options, input);
  }

  /// Has a netpbm filter write `name`; its path.
  std::string NetpbmWrites(const std::string& input, const Words& command,
                           const std::string& name) {
    return temp.Write(name, OutputOf(command, input));
  }

  void FfmpegWrites(const std::string& input, Words options, const std::string& path) {
    options.insert(options.begin(), {"ffmpeg", "-v", "error", "-y", "-f", "ppm_pipe", "-i", "-"});
    options.push_back(path);
    OutputOf(options, input);
  }

  template <ImageRecord* (*load)(std::FILE*)>
  std::string Ours(const std::string& path) {
    const ImageGuard image(load(std::fopen(path.c_str(), "rb")));
    return image ? PixelBytes(*image, Channels::rgb) : "not loaded";
  }

  /// What the file's header says at `offset`.
  int Byte(const std::string& path, std::size_t offset) { return ReadFile(path).at(offset); }

  std::string pixmap, few, two;  // many colours, fourteen, black and white
};

TEST_F(CommonWitnessTest, TargaFilesOfOthers) {
  const std::string path = temp.file("a.tga");
  const auto check = [&](int type, int bits, bool topDown) {
    SCOPED_TRACE(testing::Message() << "type " << type << ", " << bits << " bits");
    EXPECT_EQ(Byte(path, 2), type);
    EXPECT_EQ(Byte(path, 16), bits);
    EXPECT_EQ((Byte(path, 17) & 0x20) != 0, topDown);
    // ImageMagick widens 5 bits by rounding; c * 8 + c / 4 is FFmpeg's way as well.
    EXPECT_TRUE(Ours<LoadTarga>(path) == (bits == 16 ? Ffmpeg(path) : Magick(path)));
  };
  MagickWrites(pixmap, {"-type", "TrueColor", "-compress", "None"}, path);
  check(2, 24, false);
  MagickWrites(pixmap, {"-type", "TrueColor", "-compress", "RLE"}, path);
  check(10, 24, false);
  MagickWrites(few, {"-type", "Palette", "-compress", "None"}, path);
  check(1, 8, false);
  MagickWrites(few, {"-type", "Palette", "-compress", "RLE"}, path);
  check(9, 8, false);
  MagickWrites(pixmap, {"-colorspace", "Gray", "-compress", "None"}, path);
  check(3, 8, false);
  MagickWrites(pixmap, {"-type", "TrueColorAlpha", "-compress", "RLE"}, path);
  check(10, 32, false);
  for (const char* rle : {"0", "1"}) {
    const int coded = rle[0] == '1' ? 8 : 0;
    // A picture with runs: without them FFmpeg writes raw rows all the same.
    FfmpegWrites(two, {"-rle", rle, "-pix_fmt", "bgr24"}, path);
    check(2 + coded, 24, true);
    FfmpegWrites(two, {"-rle", rle, "-pix_fmt", "bgra"}, path);
    check(2 + coded, 32, true);
    FfmpegWrites(rle[0] == '1' ? two : pixmap, {"-rle", rle, "-pix_fmt", "rgb555le"}, path);
    check(2 + coded, 16, true);
  }
  for (const Words& command : {Words{"pamtotga", "-rgb", "-norle"}, {"pamtotga", "-rgb"}}) {
    NetpbmWrites(pixmap, command, "a.tga");
    EXPECT_TRUE(Ours<LoadTarga>(path) == Magick(path)) << command.back();
  }
  for (const Words& command : {Words{"pamtotga", "-cmap", "-norle"}, {"pamtotga", "-cmap"}}) {
    NetpbmWrites(few, command, "a.tga");
    EXPECT_TRUE(Ours<LoadTarga>(path) == Magick(path)) << command.back();
  }
}

TEST_F(CommonWitnessTest, BitmapsOfOthers) {
  const std::string path = temp.file("a.bmp");
  const auto check = [&](int headerSize, int bits) {
    SCOPED_TRACE(testing::Message() << "header of " << headerSize << ", " << bits << " bits");
    EXPECT_EQ(Byte(path, 14), headerSize);
    EXPECT_EQ(Byte(path, headerSize == 12 ? 24 : 28), bits);
    EXPECT_TRUE(Ours<LoadBmp>(path) == Magick(path));
  };
  for (const auto& [version, header] : {std::pair<std::string, int>{"BMP3:", 40}, {"BMP:", 124}}) {
    MagickWrites(pixmap, {"-type", "TrueColor"}, version + path);
    check(header, 24);
    MagickWrites(few, {"-type", "Palette", "-compress", "None"}, version + path);
    EXPECT_TRUE(Ours<LoadBmp>(path) == Magick(path));
    MagickWrites(two, {"-type", "Bilevel"}, version + path);
    check(header == 40 ? 40 : 108, 1);  // without a colour space it is shorter
    MagickWrites(pixmap, {"+dither", "-colors", "200", "-compress", "RLE"}, version + path);
    check(header, 8);
    EXPECT_EQ(Byte(path, 30), 1) << "run-length coded";
  }
  MagickWrites(pixmap, {"-type", "TrueColorAlpha"}, "BMP:" + path);
  check(124, 32);
  NetpbmWrites(pixmap, {"ppmtobmp", "-os2"}, "a.bmp");
  check(12, 24);
  NetpbmWrites(few, {"ppmtobmp", "-os2"}, "a.bmp");
  check(12, 4);
  NetpbmWrites(few, {"ppmtobmp", "-windows", "-bpp=4"}, "a.bmp");
  check(40, 4);
  NetpbmWrites(two, {"ppmtobmp", "-windows", "-bpp=8"}, "a.bmp");
  check(40, 8);
}

TEST_F(CommonWitnessTest, SixteenBitBitmapsKeepTheUpperFiveBitsOfRedAndBlue) {
  // Red is always taken from 5-6-5, green from 5-5-5, and nothing is filled in below.
  const std::string path = temp.file("a.bmp");
  FfmpegWrites(pixmap, {"-pix_fmt", "rgb565le"}, path);
  ASSERT_EQ(Byte(path, 28), 16);
  const std::string ours = Ours<LoadBmp>(path), theirs = Ffmpeg(path);
  ASSERT_EQ(ours.size(), theirs.size());
  for (std::size_t i = 0; i < ours.size(); ++i) {
    const bool green = i % 3 == 1;
    ASSERT_TRUE(green || ours[i] == static_cast<char>(theirs[i] & 0xF8)) << i;
  }
}

TEST_F(CommonWitnessTest, GifFilesOfOthers) {
  const std::string path = temp.file("a.gif");
  const auto check = [&](const char* signature, const std::string& truth) {
    EXPECT_EQ(ReadTextFile(path).substr(0, 6), signature);
    EXPECT_TRUE(Ours<LoadGif>(path) == truth);
  };
  MagickWrites(pixmap, {}, "GIF87:" + path);
  check("GIF87a", Magick(path));
  MagickWrites(few, {"-comment", "words"}, path);
  check("GIF89a", Magick(path));
  MagickWrites(two, {"-interlace", "GIF"}, path);
  check("GIF89a", Magick(path));
  MagickWrites(pixmap, {"-interlace", "GIF"}, "GIF87:" + path);
  check("GIF87a", Magick(path));
  NetpbmWrites(few, {"ppmtogif", "-interlace"}, "a.gif");
  check("GIF87a", Magick(path));
  // Several images over each other: the last one stays, with its own table.
  const std::string first = temp.Write("1.ppm", pixmap), second = temp.Write("2.ppm", few);
  OutputOf({"convert", first, second, path});
  check("GIF89a", Magick(path + "[1]"));
  OutputOf({"convert", second, first, path});
  check("GIF89a", Magick(path + "[1]"));
}

TEST_F(CommonWitnessTest, PcxFilesOfOthers) {
  const std::string path = temp.file("a.pcx");
  const auto check = [&](int bits, int planes) {
    SCOPED_TRACE(testing::Message() << bits << " bits, " << planes << " planes");
    EXPECT_EQ(Byte(path, 3), bits);
    EXPECT_EQ(Byte(path, 65), planes);
    EXPECT_TRUE(Ours<LoadPcx>(path) == Ffmpeg(path));
  };
  MagickWrites(pixmap, {"-type", "TrueColor"}, path);
  check(8, 3);
  MagickWrites(pixmap, {"+dither", "-colors", "200"}, path);
  check(8, 1);
  NetpbmWrites(pixmap, {"ppmtopcx", "-24bit"}, "a.pcx");
  check(8, 3);
  NetpbmWrites(few, {"ppmtopcx"}, "a.pcx");
  check(1, 4);
  NetpbmWrites(two, {"ppmtopcx"}, "a.pcx");
  check(1, 1);
}

struct Form {
  const char* name;
  int bits;
  std::int32_t (*save)(const ImageRecord* image, const char* path);
};

constexpr Form kForms[] = {
    {"a.tga", 24, [](const ImageRecord* i, const char* p) { return SaveTarga(i, p, 24, 0); }},
    {"b.tga", 24, [](const ImageRecord* i, const char* p) { return SaveTarga(i, p, 24, 1); }},
    {"c.tga", 32, [](const ImageRecord* i, const char* p) { return SaveTarga(i, p, 32, 0); }},
    {"d.tga", 32, [](const ImageRecord* i, const char* p) { return SaveTarga(i, p, 32, 1); }},
    {"a.bmp", 24, [](const ImageRecord* i, const char* p) { return SaveBmp(i, p, 24); }},
    {"b.bmp", 8, [](const ImageRecord* i, const char* p) { return SaveBmp(i, p, 8); }},
    {"c.bmp", 4, [](const ImageRecord* i, const char* p) { return SaveBmp(i, p, 4); }},
    {"d.bmp", 1, [](const ImageRecord* i, const char* p) { return SaveBmp(i, p, 1); }},
    {"a.gif", 8, [](const ImageRecord* i, const char* p) { return SaveGif(i, p, 0); }},
    {"b.gif", 8, [](const ImageRecord* i, const char* p) { return SaveGif(i, p, 1); }},
    {"a.pcx", 24, [](const ImageRecord* i, const char* p) { return SavePcx(i, p, 24); }},
    {"b.pcx", 8, [](const ImageRecord* i, const char* p) { return SavePcx(i, p, 8); }},
    {"c.pcx", 4, [](const ImageRecord* i, const char* p) { return SavePcx(i, p, 4); }},
    {"d.pcx", 1, [](const ImageRecord* i, const char* p) { return SavePcx(i, p, 1); }},
};

/// The picture as it should come out: itself, or the renderer's palette and indices.
std::string Wanted(const ImageRecord& picture, int bits) {
  if (bits >= 24) return PixelBytes(picture, Channels::rgb);
  const RenderCode code = bits == 8   ? RenderCode::colour8
                          : bits == 4 ? RenderCode::colour4
                                      : RenderCode::blackWhite;
  StartRenderer();
  IndexedImage indexed;
  EXPECT_TRUE(RenderIndexed(picture, code, &indexed));
  std::string rgb;
  for (std::int32_t y = 0; y < picture.height; ++y) {
    for (std::int32_t x = 0; x < picture.width; ++x) {
      const std::uint8_t i = indexed.Row(y)[x];
      rgb += static_cast<char>(indexed.palette.red[i]);
      rgb += static_cast<char>(indexed.palette.green[i]);
      rgb += static_cast<char>(indexed.palette.blue[i]);
    }
  }
  return rgb;
}

TEST_F(CommonWitnessTest, OthersReadWhatWeWrite) {
  std::vector<ImageGuard> pictures;
  pictures.push_back(AlphaGradient(kWidth, kHeight));
  pictures.push_back(Drawing(kWidth, kHeight));
  pictures.push_back(PhotoLike(1, 1));
  for (const ImageGuard& picture : pictures) {
    for (const Form& form : kForms) {
      SCOPED_TRACE(testing::Message() << form.name << ", width " << picture->width);
      const std::string path = temp.file(form.name);
      Rendering().renderBits = std::min(form.bits, 8);
      StartRenderer();
      ASSERT_EQ(form.save(picture.get(), path.c_str()), 0);
      const std::string wanted = Wanted(*picture, form.bits);
      // ImageMagick takes no notice of the colours of a 1-bit PCX.
      const bool bits = form.name == std::string_view("d.pcx");
      EXPECT_TRUE((bits ? Ffmpeg(path) : Magick(path)) == wanted);
    }
  }
}

}  // namespace
}  // namespace imx::test
