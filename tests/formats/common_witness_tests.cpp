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

  std::string pixmap, few, two;  // many colours, fourteen, black and white
};

TEST_F(CommonWitnessTest, TargaFilesOfOthers) {
  temp.Write("in.ppm", pixmap);
  // Image type, bits and row order.
  const auto holds = [](int type, int bits, int order) {
    return std::vector<std::pair<std::size_t, int>>{{2, type}, {16, bits}, {17, order}};
  };
  ExpectAlike<LoadTarga>(
      "a.tga", MagickRgb,
      {{"convert ppm:- -type TrueColor -compress None a.tga", pixmap, holds(2, 24, 0)},
       {"convert ppm:- -type TrueColor -compress RLE a.tga", pixmap, holds(10, 24, 0)},
       {"convert ppm:- -type Palette -compress None a.tga", few, holds(1, 8, 0)},
       {"convert ppm:- -type Palette -compress RLE a.tga", few, holds(9, 8, 0)},
       {"convert ppm:- -colorspace Gray -compress None a.tga", pixmap, holds(3, 8, 0)},
       {"convert ppm:- -type TrueColorAlpha -compress RLE a.tga", pixmap, holds(10, 32, 8)},
       {"pamtotga -rgb -norle", few},
       {"pamtotga -cmap", few},
       {"oiiotool in.ppm --compression none -o a.tga", "", holds(2, 24, 0)},
       {"oiiotool in.ppm --compression rle -o a.tga", "", holds(10, 24, 0x20)},
       {"oiiotool in.ppm --ch R,G,B,A=0.5 --compression none -o a.tga", "", holds(2, 32, 8)},
       {"oiiotool in.ppm --ch R,G,B,A=0.5 --compression rle -o a.tga", "", holds(10, 32, 0x28)}});
  // A picture with runs: without them FFmpeg writes raw rows all the same. ImageMagick widens 5
  // bits by rounding; c * 8 + c / 4 is FFmpeg's way as well.
  const std::string ffmpeg = "ffmpeg -v error -f ppm_pipe -i - -pix_fmt ";
  ExpectAlike<LoadTarga>("a.tga", FfmpegRgb,
                         {{ffmpeg + "bgr24 -rle 0 a.tga", two, holds(2, 24, 0x20)},
                          {ffmpeg + "bgr24 -rle 1 a.tga", two, holds(10, 24, 0x20)},
                          {ffmpeg + "bgra -rle 0 a.tga", two, holds(2, 32, 0x28)},
                          {ffmpeg + "bgra -rle 1 a.tga", two, holds(10, 32, 0x28)},
                          {ffmpeg + "rgb555le -rle 0 a.tga", pixmap, holds(2, 16, 0x20)},
                          {ffmpeg + "rgb555le -rle 1 a.tga", two, holds(10, 16, 0x20)}});
}

TEST_F(CommonWitnessTest, BitmapsOfOthers) {
  temp.Write("in.ppm", pixmap);
  // Size of the header, bits and compression.
  ExpectAlike<LoadBmp>(
      "a.bmp", MagickRgb,
      {{"convert ppm:- -type TrueColor BMP3:a.bmp", pixmap, {{14, 40}, {28, 24}}},
       {"convert ppm:- -type TrueColor BMP:a.bmp", pixmap, {{14, 124}, {28, 24}}},
       {"convert ppm:- -type Palette -compress None BMP3:a.bmp", few, {{14, 40}, {28, 4}}},
       {"convert ppm:- -type Bilevel BMP3:a.bmp", two, {{14, 40}, {28, 1}}},
       {"convert ppm:- -type Bilevel BMP:a.bmp", two, {{14, 108}, {28, 1}}},
       {"convert ppm:- +dither -colors 200 -compress RLE BMP3:a.bmp",
        pixmap,
        {{14, 40}, {28, 8}, {30, 1}}},
       {"convert ppm:- -type TrueColorAlpha BMP:a.bmp", pixmap, {{14, 124}, {28, 32}}},
       {"ppmtobmp -os2", pixmap, {{14, 12}, {24, 24}}},
       {"ppmtobmp -os2", few, {{14, 12}, {24, 4}}},
       {"ppmtobmp -windows -bpp=4", few, {{14, 40}, {28, 4}}},
       {"ppmtobmp -windows -bpp=8", two, {{14, 40}, {28, 8}}},
       {"oiiotool in.ppm -o a.bmp", "", {{14, 40}, {28, 24}}},
       {"oiiotool in.ppm --ch R,G,B,A=0.5 -o a.bmp", "", {{14, 40}, {28, 32}}}});
}

TEST_F(CommonWitnessTest, GifFilesOfOthers) {
  temp.Write("1.ppm", pixmap);
  temp.Write("2.ppm", few);
  ExpectAlike<LoadGif>("a.gif", MagickRgb,
                       {{"convert ppm:- GIF87:a.gif", pixmap, {{4, '7'}}},
                        {"convert ppm:- -interlace GIF GIF87:a.gif", pixmap, {{4, '7'}}},
                        {"convert ppm:- -comment words a.gif", few, {{4, '9'}}},
                        {"convert ppm:- -interlace GIF a.gif", two, {{4, '9'}}},
                        {"ppmtogif -interlace", few, {{4, '7'}}}});
  // Several images over each other: the last one stays, with its own table.
  ExpectAlike<LoadGif>("a.gif", [](const std::string& path) { return MagickPixels(path + "[1]"); },
                       {{"convert 1.ppm 2.ppm a.gif", ""}, {"convert 2.ppm 1.ppm a.gif", ""}});
}

TEST_F(CommonWitnessTest, PcxFilesOfOthers) {
  // Bits and planes.
  ExpectAlike<LoadPcx>("a.pcx", FfmpegRgb,
                       {{"convert ppm:- -type TrueColor a.pcx", pixmap, {{3, 8}, {65, 3}}},
                        {"convert ppm:- +dither -colors 200 a.pcx", pixmap, {{3, 8}, {65, 1}}},
                        {"ppmtopcx -24bit", pixmap, {{3, 8}, {65, 3}}},
                        {"ppmtopcx", few, {{3, 1}, {65, 4}}},
                        {"ppmtopcx", two, {{3, 1}, {65, 1}}}});
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
