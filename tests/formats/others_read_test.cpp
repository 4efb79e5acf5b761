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
  };
  for (const ImageGuard& picture : {AlphaGradient(45, 23), Drawing(16, 23), PhotoLike(1, 1)}) {
    for (const Form& form : forms) {
      SCOPED_TRACE(testing::Message() << form.name << ", width " << picture->width);
      const std::string path = temp.file(form.name);
      Rendering().renderBits = std::min(form.bits, 8);
      StartRenderer();
      form.save(*picture, path.c_str());
      const std::string wanted = Wanted(*picture, form);
      for (const Reader read : form.readers) EXPECT_TRUE(read(path).ends_with(wanted));
    }
  }
}

// OpenImageIO gives black for uncompressed rows, so it is shown what we save with every pixel as a
// literal of its own.
TEST_F(OthersReadTest, Softimage) {
  constexpr int kWidth = 37, kHeight = 29;
  constexpr std::size_t kHeader = 104;
  const std::string path = temp.file("out.pic");
  for (const ImageGuard& picture : {Drawing(kWidth, kHeight), AlphaGradient(kWidth, kHeight)}) {
    const bool alpha = (picture->flags & kFlagAlpha) != 0;
    SaveSoftimage(path.c_str(), picture.get());
    const Bytes saved = ReadFile(path);
    std::size_t at = kHeader + (alpha ? 8 : 4);
    Bytes file = WithByte(Part(saved, 0, at), kHeader + 2, 2);
    if (alpha) file[kHeader + 6] = 2;
    for (int row = 0; row < kHeight; ++row) {
      for (const std::size_t size : {3u, 1u}) {
        for (int x = 0; x < kWidth && (alpha || size == 3); ++x, at += size) {
          file = file + Bytes{0} + Part(saved, at, size);
        }
      }
    }
    WriteFile(path, file);
    EXPECT_TRUE(OpenImageIoRgb(path).ends_with(RgbOf(*picture)));
    if (!alpha) continue;
    std::string alphas;
    for (std::size_t i = 0; i < picture->pixelCount; ++i) {
      alphas.append(3, static_cast<char>(picture->pixels[4 * i + 3]));
    }
    EXPECT_TRUE(OpenImageIoPixels(path, "A,A,A").ends_with(alphas));
  }
}

}  // namespace
}  // namespace imx::test
