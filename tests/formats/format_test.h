/// What the tests of codecs share: loading bytes, saving to bytes, and short comparisons.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "formats/codec_state.h"
#include "formats/indexed.h"
#include "imagelib/quirks.h"
#include "tests/formats/codec_calls.h"
#include "tests/support/bytes.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {

/// All pixels in rows from the top; none without an image.
inline std::vector<Rgba> Pixels(const ImageGuard& image) {
  std::vector<Rgba> pixels;
  for (std::int32_t y = 0; image && y < image->height; ++y) {
    for (std::int32_t x = 0; x < image->width; ++x) pixels.push_back(PixelAt(*image, x, y));
  }
  return pixels;
}

/// The same as red, green and blue bytes.
inline Bytes RgbBytes(const ImageGuard& image) {
  const std::string bytes = image ? PixelBytes(*image, Channels::rgb) : "";
  return Bytes(bytes.begin(), bytes.end());
}

/// A file as the library reads it, and as other programs do.
struct QuirkCase {
  QuirkId quirk;
  Bytes file;
  std::vector<Rgba> ours, theirs;
};

/// What hosts tell codecs is forgotten when a test is over.
class CodecTest : public LibraryTest {
 protected:
  void TearDown() override {
    ResetCodecState();
    Rendering() = {};
    LibraryTest::TearDown();
  }
};

/// The tests of one format.
template <auto load>
class FormatTest : public CodecTest {
 protected:
  template <typename Data>
  ImageGuard Load(const Data& file) {
    return ImageGuard(LoadPath<load>(temp.Write("in", file).c_str()));
  }

  /// What the codec says of a file: all errors, or "" for none.
  template <typename Data>
  std::string Refusal(const Data& file) {
    host.Clear();
    const ImageGuard image = Load(file);
    std::string said = image ? "loaded" : "";
    for (const std::string& error : host.errors) said += (said.empty() ? "" : ": ") + error;
    return said;
  }

  void ReadBothWays(std::span<const QuirkCase> cases) {
    for (const QuirkCase& c : cases) {
      SCOPED_TRACE(testing::Message() << &c - cases.data() << " " << Quirks()[c.quirk].name);
      EXPECT_EQ(Pixels(Load(c.file)), c.ours);
      const QuirkScope scope(QuirkSet().set(c.quirk));
      EXPECT_EQ(Pixels(Load(c.file)), c.theirs);
      EXPECT_TRUE(scope.applied()[c.quirk]);
    }
  }

  /// The file that the saver writes.
  template <auto save, typename... Options>
  Bytes Saved(const ImageRecord& image, Options... options) {
    const std::string path = temp.file("out");
    SaveImage<save>(image, path.c_str(), options...);
    return ReadFile(path);
  }
};

}  // namespace imx::test
