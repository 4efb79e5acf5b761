// What we write, as ImageMagick, netpbm, FFmpeg and OpenImageIO decode it.

#include "formats/alias.h"
#include "formats/bmp.h"
#include "formats/gif.h"
#include "formats/iff.h"
#include "formats/pcx.h"
#include "formats/png.h"
#include "formats/ppm.h"
#include "formats/sgi.h"
#include "formats/softimage.h"
#include "formats/targa.h"
#include "formats/wavefront.h"
#include "imagelib/quirks.h"
#include "tests/formats/reference_decoders.h"

namespace imx::test {
namespace {

using OthersReadTest = ReferenceDecoderTest;
using Reader = std::string (*)(const std::string& path);

std::string MagickRgba(const std::string& path) {
  return MagickPixels(path, "rgba");
}
std::string FfmpegRgba(const std::string& path) {
  return FfmpegPixels(path, "rgba");
}
std::string FfmpegBgr(const std::string& path) {
  return FfmpegPixels(path, "bgr24");
}
std::string NetpbmSgi(const std::string& path) {
  return OutputOf({"sgitopnm", path});
}

template <int depth, int interlace>
void SavePngAt(const ImageRecord& image, const char* path) {
  Output().depthBits = depth;
  SavePng(&image, path, interlace);
}

struct Form {
  const char* name;
  int bits;
  void (*save)(const ImageRecord& image, const char* path);
  std::vector<Reader> readers;
  Channels channels = Channels::rgb;
  bool asOthers = false;
};

/// The picture as it should come out: itself, or the renderer's palette and indices.
std::string Wanted(const ImageRecord& picture, const Form& form) {
  if (form.bits >= 24) return PixelBytes(picture, form.channels);
  StartRenderer();
  IndexedImage indexed;
  EXPECT_TRUE(RenderIndexed(picture, RenderCodeForDepth(form.bits), &indexed));
  std::string rgb;
  for (std::uint32_t at = 0; at < picture.pixelCount; ++at) {
    const std::uint8_t i = indexed.indices.data()[at];
    for (const auto* channel :
         {&indexed.palette.red, &indexed.palette.green, &indexed.palette.blue})
      rgb += static_cast<char>((*channel)[i]);
  }
  return rgb;
}

/// Each pixel's alpha three times.
std::string AlphasOf(const ImageRecord& picture) {
  std::string alphas;
  for (std::size_t i = 0; i < picture.pixelCount; ++i) {
    alphas.append(3, static_cast<char>(picture.pixels[4 * i + 3]));
  }
  return alphas;
}

TEST_F(OthersReadTest, EveryForm) {
  const Form forms[] = {
      {"a.tga", 24, SaveWith<SaveTarga, 24, 0>, {MagickRgb, OpenImageIoRgb}},
      {"b.tga", 24, SaveWith<SaveTarga, 24, 1>, {MagickRgb, OpenImageIoRgb}},
      {"c.tga", 32, SaveWith<SaveTarga, 32, 0>, {MagickRgb, OpenImageIoRgb}},
      {"d.tga", 32, SaveWith<SaveTarga, 32, 1>, {MagickRgb, OpenImageIoRgb}},
      {"a.bmp", 24, SaveWith<SaveBmp, 24>, {MagickRgb, OpenImageIoRgb}},
      {"b.bmp", 8, SaveWith<SaveBmp, 8>, {MagickRgb, OpenImageIoRgb}},
      {"c.bmp", 4, SaveWith<SaveBmp, 4>, {MagickRgb, OpenImageIoRgb}},
      {"d.bmp", 1, SaveWith<SaveBmp, 1>, {MagickRgb, OpenImageIoRgb}},
      {"a.gif", 8, SaveWith<SaveGif, 0>, {MagickRgb}},
      {"b.gif", 8, SaveWith<SaveGif, 1>, {MagickRgb}},
      {"a.pcx", 24, SaveWith<SavePcx, 24>, {MagickRgb}},
      {"b.pcx", 8, SaveWith<SavePcx, 8>, {MagickRgb}},
      {"c.pcx", 4, SaveWith<SavePcx, 4>, {MagickRgb}},
      // ImageMagick takes no notice of the colours of a 1-bit PCX.
      {"d.pcx", 1, SaveWith<SavePcx, 1>, {FfmpegRgb}},
      {"a.png", 24, SavePngAt<24, 0>, {MagickRgb}},
      {"b.png", 24, SavePngAt<24, 1>, {MagickRgb}},
      {"c.png", 32, SavePngAt<32, 0>, {MagickRgba}, Channels::rgba},
      {"d.png", 32, SavePngAt<32, 1>, {MagickRgba}, Channels::rgba},
      {"e.png", 8, SavePngAt<8, 0>, {MagickRgb}},
      {"a.ppm", 24, SaveWith<SavePpm, 0>, {MagickRgb}},
      {"b.ppm", 24, SaveWith<SavePpm, 1>, {MagickRgb, FfmpegRgb}},
      {"a.iff", 24, SaveWith<SaveIff, 0, 0>, {NetpbmIlbm, FfmpegRgb}},
      {"b.iff", 24, SaveWith<SaveIff, 0, 1>, {NetpbmIlbm, FfmpegRgb}},
      {"a.sgi", 24, SaveWith<SaveSgi, 24, 0>, {MagickRgb, FfmpegRgb, NetpbmSgi}},
      {"b.sgi", 24, SaveWith<SaveSgi, 24, 1>, {MagickRgb, FfmpegRgb, NetpbmSgi}},
      {"c.sgi", 32, SaveWith<SaveSgi, 32, 0>, {FfmpegRgba}, Channels::rgba},
      {"d.sgi", 32, SaveWith<SaveSgi, 32, 1>, {FfmpegRgba}, Channels::rgba},
      {"a.rla", 24, SaveWith<SaveWavefront>, {OpenImageIoRgb}},
      // Other programs take our red, green, blue for blue, green, red. The order is wanted.
      {"a.pix", 24, SaveWith<SaveAlias>, {FfmpegBgr}},
      {"b.pix", 24, SaveWith<SaveAlias>, {FfmpegRgb}, Channels::rgb, true},
      {"e.tga", 32, SaveWith<SaveTarga, 32, 1>, {FfmpegRgba, MagickRgba}, Channels::rgba, true},
      {"c.iff", 24, SaveWith<SaveIff, 0, 1>, {NetpbmIlbm, MagickRgb}, Channels::rgb, true},
      {"b.rla", 24, SaveWith<SaveWavefront>, {OpenImageIoRgb}, Channels::rgb, true},
  };
  for (const ImageGuard& picture : {AlphaGradient(45, 23), Drawing(16, 23), PhotoLike(1, 1)}) {
    for (const Form& form : forms) {
      SCOPED_TRACE(testing::Message() << form.name << ", width " << picture->width);
      const std::string path = temp.file(form.name);
      Rendering().renderBits = std::min(form.bits, 8);
      StartRenderer();
      {
        const QuirkScope way(form.asOthers ? AllQuirks() : QuirkSet());
        form.save(*picture, path.c_str());
      }
      const std::string wanted = Wanted(*picture, form);
      for (const Reader read : form.readers) EXPECT_TRUE(read(path).ends_with(wanted));
    }
  }
}

// OpenImageIO gives black for uncompressed rows.
TEST_F(OthersReadTest, SoftimageRuns) {
  const std::string path = temp.file("out.pic"), plain = temp.file("plain.pic");
  for (const ImageGuard& picture : {Drawing(307, 29), AlphaGradient(37, 29)}) {
    SaveSoftimage(plain.c_str(), picture.get());
    const QuirkScope others(AllQuirks());
    SaveSoftimage(path.c_str(), picture.get());
    EXPECT_EQ(Difference(*ImageGuard(LoadSoftimage(path.c_str())),
                         *ImageGuard(LoadSoftimage(plain.c_str()))),
              "");
    EXPECT_TRUE(OpenImageIoRgb(path).ends_with(RgbOf(*picture)));
    if ((picture->flags & kFlagAlpha) == 0) continue;
    EXPECT_TRUE(OpenImageIoPixels(path, "A,A,A").ends_with(AlphasOf(*picture)));
  }
}

TEST_F(OthersReadTest, MattesAreAlphaAsOthersWriteThem) {
  const ImageGuard picture = AlphaGradient(37, 29);
  const std::string rla = temp.file("out.rla"), iff = temp.file("out.iff");
  const QuirkScope others(AllQuirks());
  SaveWavefront(rla.c_str(), picture.get());
  EXPECT_TRUE(OpenImageIoPixels(rla, "A,A,A").ends_with(AlphasOf(*picture)));
  SaveIff(picture.get(), iff.c_str(), 0, 1);
  std::string bits;  // of the mask, white where it is clear
  for (const char alpha : AlphasOf(*picture)) bits += alpha < 0 ? '\0' : '\xFF';
  OutputOf({"ilbmtoppm", "-maskfile", temp.file("mask.pbm"), iff});
  const std::string mask = MagickPixels(temp.file("mask.pbm"));
  EXPECT_TRUE(mask == bits);
}

}  // namespace
}  // namespace imx::test
