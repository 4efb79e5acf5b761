// The C interface as programs see it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "imx/imx.h"
#include "tests/support/files.h"

namespace imx::test {
namespace {

using testing::AllOf;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;

struct Freer {
  void operator()(imx_image* image) const { imx_image_free(image); }
  void operator()(void* bytes) const { imx_bytes_free(bytes); }
};
using Image = std::unique_ptr<imx_image, Freer>;

/// 6 x 4 pixels, all of them different.
std::vector<std::uint8_t> Shades() {
  std::vector<std::uint8_t> rgba;
  for (int i = 0; i < 24; ++i) {
    for (const int value : {10 * i, 255 - 10 * i, 5 * i, 200 + i}) {
      rgba.push_back(static_cast<std::uint8_t>(value));
    }
  }
  return rgba;
}

class ApiTest : public testing::Test {
 protected:
  ApiTest() {
    report.struct_size = sizeof report;
    imx_load_options_init(&loading);
    imx_save_options_init(&saving);
  }
  Image New(bool alpha = true) {
    imx_image* image = nullptr;
    EXPECT_EQ(imx_image_new(6, 4, Shades().data(), alpha, &image, &report), IMX_OK);
    return Image(image);
  }
  Image Load(const std::string& path, imx_status wanted = IMX_OK) {
    imx_image* image = nullptr;
    EXPECT_EQ(imx_load_file(path.c_str(), &loading, &image, &report), wanted) << report.text;
    return Image(image);
  }
  /// The bytes of the picture saved as `type`.
  std::string Saved(imx_image* image, const char* type) {
    saving.type = type;
    void* bytes = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(imx_save_memory(image, &saving, &bytes, &size, &report), IMX_OK) << report.text;
    const std::unique_ptr<void, Freer> owned(bytes);
    return std::string(static_cast<const char*>(bytes), size);
  }
  Image Loaded(const std::string& bytes, const char* extension, imx_status wanted = IMX_OK) {
    loading.extension = extension;
    imx_image* image = nullptr;
    EXPECT_EQ(imx_load_memory(bytes.data(), bytes.size(), &loading, &image, &report), wanted);
    return Image(image);
  }
  static std::vector<std::uint8_t> Pixels(const Image& image) {
    const std::uint8_t* pixels = imx_image_pixels(image.get());
    return {pixels, pixels + 4 * imx_image_width(image.get()) * imx_image_height(image.get())};
  }

  imx_report report{};
  imx_load_options loading;
  imx_save_options saving;
  TempDir temp;
};

TEST_F(ApiTest, EveryTypeThatKeepsAllComesBackFromMemory) {
  int exact = 0;
  for (std::int32_t i = 0; i < imx_format_count(); ++i) {
    imx_format format{};
    format.struct_size = sizeof format;
    ASSERT_EQ(imx_format_at(i, &format), IMX_OK);
    const bool keepsAlpha = format.can_load && format.can_save && format.depths[0] == 32;
    if (!keepsAlpha || std::string(format.extension) == "tif") continue;
    const std::string bytes = Saved(New().get(), format.extension);
    const Image again = Loaded(bytes, format.extension);
    ASSERT_TRUE(again) << format.extension;
    EXPECT_EQ(Pixels(again), Shades()) << format.extension;
    EXPECT_EQ(imx_image_has_alpha(again.get()), 1) << format.extension;
    ++exact;
  }
  EXPECT_GE(exact, 4);
  imx_format format{};
  EXPECT_EQ(imx_format_at(imx_format_count(), &format), IMX_BAD_ARGUMENT);
}

TEST_F(ApiTest, AProbeTellsWhatALoadWouldWithoutThePixels) {
  const std::string png = Saved(New().get(), "png");
  imx_info info{};
  info.struct_size = sizeof info;
  ASSERT_EQ(imx_probe_memory(png.data(), png.size(), &loading, &info, &report), IMX_OK);
  EXPECT_EQ(info.width, 6);
  EXPECT_EQ(info.height, 4);
  EXPECT_EQ(info.depth, 32);
  EXPECT_EQ(info.has_alpha, 1);
  EXPECT_EQ(info.frames, 0);
  EXPECT_STREQ(info.format, "PNG");
  // Of a file that ends behind its header as much is known.
  info.width = 0;
  const std::string path = temp.Write("a.tga", Saved(New().get(), "tga").substr(0, 40));
  ASSERT_EQ(imx_probe_file(path.c_str(), nullptr, &info, &report), IMX_OK) << report.text;
  EXPECT_EQ(info.width, 6);
  info.struct_size = offsetof(imx_info, height);
  info.height = 77;
  ASSERT_EQ(imx_probe_file(path.c_str(), nullptr, &info, &report), IMX_OK);
  EXPECT_EQ(info.height, 77);
  EXPECT_EQ(imx_probe_file(temp.file("none").c_str(), nullptr, &info, &report), IMX_CANNOT_OPEN);
  EXPECT_EQ(imx_probe_file(path.c_str(), nullptr, nullptr, &report), IMX_BAD_ARGUMENT);
}

TEST_F(ApiTest, TextsPaletteAndOptionsReachTheFile) {
  const Image image = New(false);
  const std::uint8_t pure[] = {255, 0, 0, 0, 0, 255};
  ASSERT_EQ(imx_image_set_palette(image.get(), pure, 2, nullptr), IMX_OK);
  ASSERT_EQ(imx_image_set_text(image.get(), IMX_TEXT_AUTHOR, "Q. Mark", nullptr), IMX_OK);
  EXPECT_EQ(
      imx_image_set_text(image.get(), IMX_TEXT_COMMENT, std::string(255, 'x').c_str(), &report),
      IMX_BAD_ARGUMENT);
  const std::string path = temp.file("a.png");
  saving.depth = 8;
  saving.palette_source = IMX_PALETTE_OWN;
  ASSERT_EQ(imx_save_file(image.get(), path.c_str(), &saving, &report), IMX_OK) << report.text;
  const Image again = Load(path);
  std::uint8_t rgb[768];
  EXPECT_GE(imx_image_palette(again.get(), rgb), 2);
  EXPECT_EQ(std::memcmp(rgb, pure, sizeof pure), 0);
  EXPECT_EQ(imx_image_depth(again.get()), 8);
  EXPECT_STREQ(imx_image_text(again.get(), IMX_TEXT_AUTHOR), "Q. Mark");
  saving.depth = 0;
  EXPECT_LT(Saved(image.get(), "ppm").size(), 120u);
  EXPECT_THAT(std::string(report.note), HasSubstr("author is lost"));
}

TEST_F(ApiTest, FailuresHaveAStatusAndWords) {
  const Image image = New();
  const std::string png = Saved(image.get(), "png");
  EXPECT_FALSE(Load(temp.file("none.png"), IMX_CANNOT_OPEN));
  EXPECT_THAT(std::string(report.text), HasSubstr("No such file"));
  EXPECT_FALSE(Load(temp.Write("a.txt", "no picture at all"), IMX_NOT_KNOWN));
  EXPECT_FALSE(Loaded("", nullptr, IMX_ENDED_EARLY));
  const std::string targa = Saved(image.get(), "tga");
  const Image half = Loaded(targa.substr(0, 60), "tga", IMX_ENDED_EARLY);
  EXPECT_TRUE(half);
  EXPECT_THAT(std::string(report.text), HasSubstr("ends early"));
  loading.max_bytes = 95;
  EXPECT_FALSE(Loaded(png, nullptr, IMX_ABOVE_LIMIT));
  loading.max_bytes = UINT64_MAX;
  EXPECT_FALSE(Loaded(std::string(24, 'x'), "raw", IMX_CHOICE_MISSING));
  loading.raw_width = 4, loading.raw_height = 2;
  EXPECT_TRUE(Loaded(std::string(24, 'x'), "raw"));
  loading.quirks = "no-such-quirk";
  EXPECT_FALSE(Loaded(png, nullptr, IMX_BAD_ARGUMENT));

  const std::string kept = temp.Write("kept.psd", "kept");
  EXPECT_EQ(imx_save_file(image.get(), kept.c_str(), nullptr, &report), IMX_NOT_KNOWN);
  const std::string away = temp.file("no-folder/a.png");
  EXPECT_EQ(imx_save_file(image.get(), away.c_str(), nullptr, &report), IMX_SAVE_FAILED);
  EXPECT_STRNE(report.text, "");
  imx_image* none = nullptr;
  EXPECT_EQ(imx_image_new(INT32_MAX, INT32_MAX, nullptr, 0, &none, &report), IMX_TOO_LARGE);
  EXPECT_EQ(imx_load_file(nullptr, nullptr, &none, nullptr), IMX_BAD_ARGUMENT);
}

TEST_F(ApiTest, AnOlderProgramsShorterStructuresAreFilledNoFurther) {
  imx_report old{};
  old.struct_size = offsetof(imx_report, text);
  old.text[0] = '#';
  loading.struct_size = offsetof(imx_load_options, reading);
  loading.reading = 77;
  imx_image* image = nullptr;
  EXPECT_EQ(imx_load_file("none", &loading, &image, &old), IMX_CANNOT_OPEN);
  EXPECT_EQ(old.status, IMX_CANNOT_OPEN);
  EXPECT_EQ(old.text[0], '#');
}

struct Heard {
  int calls = 0;
  imx_status inside = IMX_OK;
};

int StopAtOnce(void* user, const char* title, std::int32_t, std::int32_t total) {
  auto* heard = static_cast<Heard*>(user);
  heard->calls += title && *title && total > 0 ? 1 : 0;
  heard->inside = imx_image_copy(nullptr, nullptr, nullptr);
  return 1;
}

TEST_F(ApiTest, AProgressFunctionStopsAndMayNotCallBack) {
  const Image image = New();
  const std::string path = temp.Write("kept.tga", "kept");
  Heard heard;
  saving.progress = loading.progress = StopAtOnce;
  saving.progress_user = loading.progress_user = &heard;
  EXPECT_EQ(imx_save_file(image.get(), path.c_str(), &saving, &report), IMX_STOPPED);
  EXPECT_EQ(ReadTextFile(path), "kept");
  EXPECT_EQ(heard.calls, 1);
  EXPECT_EQ(heard.inside, IMX_CALLED_FROM_PROGRESS);
  saving.progress = nullptr;
  EXPECT_FALSE(Loaded(Saved(image.get(), "tga"), "tga", IMX_STOPPED));
}

TEST_F(ApiTest, OperationsChangeTheImageOrSayWhyNot) {
  const Image image = New();
  imx_image* copied = nullptr;
  ASSERT_EQ(imx_image_copy(image.get(), &copied, nullptr), IMX_OK);
  const Image copy(copied);
  const imx_region corner = {1, 1, 3, 3}, outside = {9, 9, 12, 12};
  EXPECT_EQ(imx_rotate(copy.get(), -3, &report), IMX_OK);
  EXPECT_EQ(imx_image_width(copy.get()), 4);
  EXPECT_EQ(imx_rotate(copy.get(), 3, &report), IMX_OK);
  EXPECT_EQ(imx_flip(copy.get(), &report), IMX_OK);
  EXPECT_EQ(imx_flop(copy.get(), &report), IMX_OK);
  EXPECT_EQ(imx_rotate(copy.get(), 2, &report), IMX_OK);
  EXPECT_EQ(Pixels(copy), Shades());
  EXPECT_EQ(imx_clip(copy.get(), &outside, &report), IMX_OUTSIDE);
  EXPECT_THAT(std::string(report.text), HasSubstr("region"));
  EXPECT_EQ(imx_merge(copy.get(), &corner, image.get(), &report), IMX_OK);
  EXPECT_EQ(imx_clip(copy.get(), &corner, &report), IMX_OK);
  EXPECT_EQ(imx_fit(copy.get(), 0, 30, &report), IMX_OK);
  EXPECT_EQ(imx_image_width(copy.get()), 30);
  EXPECT_EQ(imx_rescale(copy.get(), nullptr, 1e-6f, &report), IMX_NO_PIXELS);
  EXPECT_EQ(imx_resize(copy.get(), INT32_MAX, INT32_MAX, &report), IMX_TOO_LARGE);
  EXPECT_EQ(imx_gamma(copy.get(), -1, &report), IMX_BAD_ARGUMENT);
  EXPECT_EQ(imx_flatten(copy.get(), 1, 2, 3, &report), IMX_OK);
  const Image other = New();
  imx_image_pixels(other.get())[5] -= 9;
  imx_difference difference{};
  difference.struct_size = sizeof difference;
  EXPECT_EQ(imx_compare(image.get(), other.get(), 8, &difference, &report), IMX_OK);
  EXPECT_EQ(difference.different_pixels, 1u);
  EXPECT_THAT(difference.largest, testing::ElementsAre(0, 9, 0, 0));
  EXPECT_DOUBLE_EQ(difference.mean[1], 9 / 24.0);
  EXPECT_EQ(imx_compare(image.get(), copy.get(), 0, &difference, &report), IMX_BAD_ARGUMENT);
  EXPECT_THAT(std::string(report.text), HasSubstr("sizes"));
  std::int32_t colours = 0;
  EXPECT_EQ(imx_count_colours(image.get(), &colours, &report), IMX_OK);
  EXPECT_EQ(colours, 24);
}

TEST_F(ApiTest, ThreadsTakeTurns) {
  const Image image = New();
  const std::string gif = Saved(image.get(), "gif");
  std::vector<std::string> results(8);
  std::vector<std::thread> threads;
  threads.reserve(results.size());
  for (std::string& result : results) {
    threads.emplace_back([&gif, &result] {
      imx_image* loaded = nullptr;
      imx_save_options options;
      imx_save_options_init(&options);
      options.type = "gif";
      void* bytes = nullptr;
      std::size_t size = 0;
      imx_load_memory(gif.data(), gif.size(), nullptr, &loaded, nullptr);
      imx_save_memory(loaded, &options, &bytes, &size, nullptr);
      result.assign(static_cast<const char*>(bytes), size);
      imx_bytes_free(bytes);
      imx_image_free(loaded);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_THAT(results, Each(AllOf(results[0], testing::Not(IsEmpty()))));
}

}  // namespace
}  // namespace imx::test
