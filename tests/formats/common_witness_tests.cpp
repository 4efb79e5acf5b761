// Targa, BMP, GIF and PCX with ImageMagick, netpbm, FFmpeg and OpenImageIO at the other end. Their
// own decoding is the truth.

#include "formats/bmp.h"
#include "formats/gif.h"
#include "formats/pcx.h"
#include "formats/targa.h"
#include "tests/formats/witness.h"

namespace imx::test {
namespace {

constexpr int kWidth = 45, kHeight = 23;

class CommonWitnessTest : public WitnessTest {
 protected:
  void SetUp() override {
    pixmap = Pixmap(*PhotoLike(kWidth, kHeight));
    few = OutputOf({"convert", "ppm:-", "+dither", "-colors", "14", "ppm:-"}, pixmap);
    two = OutputOf({"convert", "ppm:-", "-threshold", "50%", "ppm:-"}, pixmap);
  }

  void MagickWrites(const std::string& input, const Words& options, const std::string& path) {
    OutputOf(Words{"convert", "ppm:-"} + options + Words{path}, input);
  }
  void FfmpegWrites(const std::string& input, const Words& options, const std::string& path) {
    OutputOf(
        Words{"ffmpeg", "-v", "error", "-y", "-f", "ppm_pipe", "-i", "-"} + options + Words{path},
        input);
  }
  void OpenImageIoWrites(const std::string& input, const Words& options, const std::string& path) {
    OutputOf(Words{"oiiotool", temp.Write("in.ppm", input)} + options +
             Words{"-d", "uint8", "-o", path});
  }
  void NetpbmWrites(const std::string& input, const Words& command, const char* name) {
    temp.Write(name, OutputOf(command, input));
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
    EXPECT_TRUE(Ours<LoadTarga>(path) == (bits == 16 ? FfmpegPixels(path) : MagickPixels(path)));
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
  for (const char* form : {"-rgb", "-cmap"}) {
    for (const Words& packing : {Words{"-norle"}, {}}) {
      NetpbmWrites(few, Words{"pamtotga", form} + packing, "a.tga");
      EXPECT_TRUE(Ours<LoadTarga>(path) == MagickPixels(path)) << form;
    }
  }
  for (const char* packing : {"none", "rle"}) {
    const int coded = packing[0] == 'r' ? 8 : 0;
    OpenImageIoWrites(pixmap, {"--compression", packing}, path);
    check(2 + coded, 24, coded != 0);
    OpenImageIoWrites(pixmap, {"--ch", "R,G,B,A=0.5", "--compression", packing}, path);
    check(2 + coded, 32, coded != 0);
  }
}

TEST_F(CommonWitnessTest, BitmapsOfOthers) {
  const std::string path = temp.file("a.bmp");
  const auto check = [&](int headerSize, int bits) {
    SCOPED_TRACE(testing::Message() << "header of " << headerSize << ", " << bits << " bits");
    EXPECT_EQ(Byte(path, 14), headerSize);
    EXPECT_EQ(Byte(path, headerSize == 12 ? 24 : 28), bits);
    EXPECT_TRUE(Ours<LoadBmp>(path) == MagickPixels(path));
  };
  for (const auto& [version, header] : {std::pair<std::string, int>{"BMP3:", 40}, {"BMP:", 124}}) {
    MagickWrites(pixmap, {"-type", "TrueColor"}, version + path);
    check(header, 24);
    MagickWrites(few, {"-type", "Palette", "-compress", "None"}, version + path);
    EXPECT_TRUE(Ours<LoadBmp>(path) == MagickPixels(path));
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
  OpenImageIoWrites(pixmap, {}, path);
  check(40, 24);
  OpenImageIoWrites(pixmap, {"--ch", "R,G,B,A=0.5"}, path);
  check(40, 32);
}

TEST_F(CommonWitnessTest, SixteenBitBitmapsKeepTheUpperFiveBitsOfRedAndBlue) {
  // Red is always taken from 5-6-5, green from 5-5-5, and nothing is filled in below.
  const std::string path = temp.file("a.bmp");
  FfmpegWrites(pixmap, {"-pix_fmt", "rgb565le"}, path);
  ASSERT_EQ(Byte(path, 28), 16);
  const std::string ours = Ours<LoadBmp>(path), theirs = FfmpegPixels(path);
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
  check("GIF87a", MagickPixels(path));
  MagickWrites(few, {"-comment", "words"}, path);
  check("GIF89a", MagickPixels(path));
  MagickWrites(two, {"-interlace", "GIF"}, path);
  check("GIF89a", MagickPixels(path));
  MagickWrites(pixmap, {"-interlace", "GIF"}, "GIF87:" + path);
  check("GIF87a", MagickPixels(path));
  NetpbmWrites(few, {"ppmtogif", "-interlace"}, "a.gif");
  check("GIF87a", MagickPixels(path));
  // Several images over each other: the last one stays, with its own table.
  const std::string first = temp.Write("1.ppm", pixmap), second = temp.Write("2.ppm", few);
  OutputOf({"convert", first, second, path});
  check("GIF89a", MagickPixels(path + "[1]"));
  OutputOf({"convert", second, first, path});
  check("GIF89a", MagickPixels(path + "[1]"));
}

TEST_F(CommonWitnessTest, PcxFilesOfOthers) {
  const std::string path = temp.file("a.pcx");
  const auto check = [&](int bits, int planes) {
    SCOPED_TRACE(testing::Message() << bits << " bits, " << planes << " planes");
    EXPECT_EQ(Byte(path, 3), bits);
    EXPECT_EQ(Byte(path, 65), planes);
    EXPECT_TRUE(Ours<LoadPcx>(path) == FfmpegPixels(path));
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
  void (*save)(const ImageRecord& image, const char* path);
};

constexpr Form kForms[] = {
    {"a.tga", 24, SaveWith<SaveTarga, 24, 0>}, {"b.tga", 24, SaveWith<SaveTarga, 24, 1>},
    {"c.tga", 32, SaveWith<SaveTarga, 32, 0>}, {"d.tga", 32, SaveWith<SaveTarga, 32, 1>},
    {"a.bmp", 24, SaveWith<SaveBmp, 24>},      {"b.bmp", 8, SaveWith<SaveBmp, 8>},
    {"c.bmp", 4, SaveWith<SaveBmp, 4>},        {"d.bmp", 1, SaveWith<SaveBmp, 1>},
    {"a.gif", 8, SaveWith<SaveGif, 0>},        {"b.gif", 8, SaveWith<SaveGif, 1>},
    {"a.pcx", 24, SaveWith<SavePcx, 24>},      {"b.pcx", 8, SaveWith<SavePcx, 8>},
    {"c.pcx", 4, SaveWith<SavePcx, 4>},        {"d.pcx", 1, SaveWith<SavePcx, 1>},
};

/// The picture as it should come out: itself, or the renderer's palette and indices.
std::string Wanted(const ImageRecord& picture, int bits) {
  if (bits >= 24) return RgbOf(picture);
  StartRenderer();
  IndexedImage indexed;
  EXPECT_TRUE(RenderIndexed(picture, RenderCodeForDepth(bits), &indexed));
  std::string rgb;
  for (std::uint32_t at = 0; at < picture.pixelCount; ++at) {
    const std::uint8_t i = indexed.indices.data()[at];
    for (const auto* channel :
         {&indexed.palette.red, &indexed.palette.green, &indexed.palette.blue})
      rgb += static_cast<char>((*channel)[i]);
  }
  return rgb;
}

TEST_F(CommonWitnessTest, OthersReadWhatWeWrite) {
  for (const ImageGuard& picture :
       {AlphaGradient(kWidth, kHeight), Drawing(kWidth, kHeight), PhotoLike(1, 1)}) {
    for (const Form& form : kForms) {
      SCOPED_TRACE(testing::Message() << form.name << ", width " << picture->width);
      const std::string path = temp.file(form.name), kind = form.name + 2;
      Rendering().renderBits = std::min(form.bits, 8);
      StartRenderer();
      form.save(*picture, path.c_str());
      const std::string wanted = Wanted(*picture, form.bits);
      // ImageMagick takes no notice of the colours of a 1-bit PCX.
      const bool onlyBits = kind == "pcx" && form.bits == 1;
      EXPECT_TRUE((onlyBits ? FfmpegPixels(path) : MagickPixels(path)) == wanted);
      if (kind == "tga" || kind == "bmp") {
        EXPECT_TRUE(OpenImageIoPixels(path, picture->pixelCount) == wanted);
      }
    }
  }
}

}  // namespace
}  // namespace imx::test
