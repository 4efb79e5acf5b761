// The JPEG and TIFF plug-ins through the library, as its dispatch calls them.

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <random>

#include "dispatch/plugins.h"
#include "imagelib/load_outcome.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

constexpr char kJpegLoader[] = PLUGIN_DIR "KZLDJPEG.DLL";
constexpr char kJpegSaver[] = PLUGIN_DIR "KZSVJPEG.DLL";
constexpr char kTiff[] = PLUGIN_DIR "KZldTIFF.dll";

class PluginCodecTest : public LibraryTest {
 protected:
  ImageGuard LoadBytes(const char* library, const Bytes& bytes) {
    return ImageGuard(LoadWithPlugin(temp.Write("in", bytes).c_str(), library));
  }

  Bytes Saved(const char* library, const ImageRecord& image, int option) {
    const std::string path = temp.file("out");
    EXPECT_EQ(SaveWithPlugin(&image, path.c_str(), library, option), 0) << PluginFailure();
    return ReadFile(path);
  }

  /// Every fourth prefix, and random changes.
  void LoadDamaged(const char* library, const Bytes& file) {
    for (std::size_t length = 0; length < file.size(); length += 4) {
      LoadBytes(library, Bytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)));
    }
    SetImageCeiling(1 << 20);
    for (unsigned round = 0; round < 400; ++round) {
      std::mt19937 random(round);
      Bytes bytes = file;
      const std::size_t reach =
          round % 2 == 0 ? bytes.size() : std::min<std::size_t>(300, bytes.size());
      for (unsigned change = 0; change <= round % 4; ++change) {
        bytes[random() % reach] = static_cast<std::uint8_t>(random());
      }
      LoadBytes(library, bytes);
    }
  }
};

int LargestError(const ImageRecord& a, const ImageRecord& b) {
  int largest = 0;
  for (std::uint32_t i = 0; i < 4 * a.pixelCount; ++i) {
    largest = std::max(largest, std::abs(a.pixels[i] - b.pixels[i]));
  }
  return largest;
}

TEST_F(PluginCodecTest, JpegComesBackAlmostTheSame) {
  const ImageGuard drawing = Drawing(61, 43);
  std::copy_n("a comment", 10, drawing->comment);
  const Bytes best = Saved(kJpegSaver, *drawing, 100);
  const ImageGuard loaded = LoadBytes(kJpegLoader, best);
  ASSERT_TRUE(loaded);
  EXPECT_EQ(loaded->width, 61);
  EXPECT_EQ(loaded->height, 43);
  EXPECT_LE(LargestError(*drawing, *loaded), 6);
  EXPECT_STREQ(loaded->comment, "a comment");
  EXPECT_EQ(host.progress.back().total, 43);

  const Bytes small = Saved(kJpegSaver, *drawing, 40);
  EXPECT_LT(small.size(), best.size() / 2);
  EXPECT_FALSE(Saved(kJpegSaver, *drawing, 0).empty()) << "0 is the lowest quality, not none";

  const ImageGuard grey = Solid(9, 9, {77, 77, 77, 255});
  const Bytes greyFile = Saved(kJpegSaver, *grey, 100);
  EXPECT_EQ(Difference(*grey, *LoadBytes(kJpegLoader, greyFile)), "");
  EXPECT_LT(greyFile.size(), Saved(kJpegSaver, *Solid(9, 9, {77, 78, 77, 255}), 100).size());
}

TEST_F(PluginCodecTest, TiffComesBackTheSame) {
  for (const int compress : {0, 1}) {
    for (const ImageGuard& picture :
         {PhotoLike(61, 43), AlphaGradient(300, 20), Solid(1, 1, {5, 5, 5, 255})}) {
      const ImageGuard loaded = LoadBytes(kTiff, Saved(kTiff, *picture, compress));
      ASSERT_TRUE(loaded);
      EXPECT_EQ(Difference(*picture, *loaded), "") << compress;
    }
  }
  const ImageGuard drawing = Drawing(200, 200);
  std::copy_n("a comment", 10, drawing->comment);
  const Bytes packed = Saved(kTiff, *drawing, 1);
  EXPECT_LT(packed.size(), Saved(kTiff, *drawing, 0).size() / 4);
  EXPECT_STREQ(LoadBytes(kTiff, packed)->comment, "a comment");
  // An image that never had alpha bytes at all has no alpha channel either.
  const ImageGuard zero = FromPixels(2, 1, std::vector<Rgba>{{1, 2, 3, 0}, {4, 5, 6, 0}});
  EXPECT_EQ(PixelAt(*LoadBytes(kTiff, Saved(kTiff, *zero, 0)), 1, 0), (Rgba{4, 5, 6, 255}));
}

TEST_F(PluginCodecTest, DamagedFilesDoNoHarm) {
  LoadDamaged(kJpegLoader, Saved(kJpegSaver, *PhotoLike(40, 30), 70));
  LoadDamaged(kTiff, Saved(kTiff, *PhotoLike(20, 15), 1));
  LoadDamaged(kTiff, Saved(kTiff, *AlphaGradient(20, 15), 0));
}

TEST_F(PluginCodecTest, RowsBeforeAFaultAreKept) {
  const ImageGuard picture = PhotoLike(200, 160);
  Bytes jpeg = Saved(kJpegSaver, *picture, 90);
  jpeg.resize(jpeg.size() / 2);
  const ImageGuard fromJpeg = LoadBytes(kJpegLoader, jpeg);
  ASSERT_TRUE(fromJpeg);
  EXPECT_NEAR(PixelAt(*fromJpeg, 20, 20).r, PixelAt(*picture, 20, 20).r, 40);
  EXPECT_TRUE(FileEndedEarly(true));
  for (const std::size_t length : {jpeg.size() / 2, std::size_t{100}, std::size_t{3}}) {
    BeginLoadOutcome();
    jpeg.resize(length);
    EXPECT_TRUE(FileEndedEarly(static_cast<bool>(LoadBytes(kJpegLoader, jpeg)))) << length;
  }

  Bytes tiff = Saved(kTiff, *picture, 1);  // two strips, the second from row 109 on
  for (const std::size_t length : {tiff.size() * 9 / 10, tiff.size() / 2, std::size_t{5}}) {
    BeginLoadOutcome();
    EXPECT_FALSE(LoadBytes(kTiff, Bytes(tiff.data(), tiff.data() + length)));
    EXPECT_TRUE(FileEndedEarly(false)) << length << ": the directory stands at the end";
  }
  BeginLoadOutcome();
  EXPECT_TRUE(LoadBytes(kTiff, tiff));
  EXPECT_EQ(PluginFailure(), "");
  std::fill_n(tiff.begin() + static_cast<std::ptrdiff_t>(tiff.size() * 8 / 10), 100,
              std::uint8_t{0xFF});
  const ImageGuard fromTiff = LoadBytes(kTiff, tiff);
  ASSERT_TRUE(fromTiff);
  EXPECT_EQ(PixelAt(*fromTiff, 20, 20), PixelAt(*picture, 20, 20));
  EXPECT_EQ(PixelAt(*fromTiff, 20, 159), (Rgba{0, 0, 0, 0}));
  EXPECT_THAT(PluginFailure(), testing::HasSubstr("not all of its pixels"));
  EXPECT_FALSE(FileEndedEarly(true)) << "damaged, not cut";
}

// Sizes that nothing in the file stands behind take no memory.
TEST_F(PluginCodecTest, PromisesWithoutData) {
  Bytes jpeg = Saved(kJpegSaver, *Solid(16, 16, {1, 2, 3, 255}), 50);
  const Bytes frame = {0xFF, 0xC0, 0, 17, 8};
  const auto at = std::search(jpeg.begin(), jpeg.end(), frame.begin(), frame.end()) + 5;
  ASSERT_LT(at, jpeg.end() - 4);
  std::fill_n(at, 4, std::uint8_t{0xF0});
  EXPECT_FALSE(LoadBytes(kJpegLoader, jpeg));

  Bytes tiff = Saved(kTiff, *Solid(16, 16, {1, 2, 3, 255}), 1);
  // The two tags are the first of the directory: width, height, each with its value in bytes 8..11.
  const Bytes width = {0, 1, 3, 0, 1, 0, 0, 0, 16, 0, 0, 0, 1, 1};
  const auto tag = std::search(tiff.begin(), tiff.end(), width.begin(), width.end());
  ASSERT_NE(tag, tiff.end());
  tag[8] = tag[9] = tag[20] = tag[21] = 0xFF;
  EXPECT_FALSE(LoadBytes(kTiff, tiff));
  for (const ProgressRun& run : host.progress) EXPECT_LT(run.total, 100) << "tried to decode";
}

TEST_F(PluginCodecTest, FailuresAreTold) {
  const ImageGuard picture = Drawing(8, 8);
  const Bytes jpeg = Saved(kJpegSaver, *picture, 80);
  const Bytes tiff = Saved(kTiff, *picture, 1);
  for (const char* library : {kJpegSaver, kTiff}) {
    EXPECT_NE(SaveWithPlugin(picture.get(), temp.file("no/such").c_str(), library, 1), 0);
  }
  for (int n = 0; n < 3; ++n) {
    const AllocationFailure failure(n);
    EXPECT_FALSE(LoadBytes(kJpegLoader, jpeg));
    EXPECT_TRUE(failure.reached());
  }
  EXPECT_FALSE(LoadBytes(kJpegLoader, tiff));
  EXPECT_FALSE(LoadBytes(kTiff, jpeg));
  EXPECT_FALSE(LoadWithPlugin(temp.file("missing").c_str(), kTiff));

  EXPECT_FALSE(LoadBytes(kJpegSaver, jpeg));
  EXPECT_THAT(PluginFailure(), testing::HasSubstr("no loader"));
  EXPECT_EQ(SaveWithPlugin(picture.get(), temp.file("out").c_str(), kJpegLoader, 1), 1);
  EXPECT_THAT(PluginFailure(), testing::HasSubstr("no saver"));
  EXPECT_FALSE(LoadBytes("MISSING.DLL", jpeg));
  EXPECT_THAT(PluginFailure(), testing::StartsWith("plug-in library MISSING.DLL: "));
}

}  // namespace
}  // namespace imx::test
