// Photoshop files, and framestores.

#include "formats/framestore.h"
#include "formats/iff.h"
#include "formats/psd.h"
#include "imagelib/core/save_outcome.h"
#include "tests/formats/common_builder.h"
#include "tests/formats/station_builder.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class PsdTest : public LibraryTest {
 protected:
  ImageGuard Load(const Bytes& bytes) {
    return ImageGuard(LoadPsd(temp.Write("in.psd", bytes).c_str()));
  }

  void ExpectPixels(const PsdFields& fields, const Bytes& body, std::vector<Rgba> wanted) {
    const ImageGuard image = Load(PsdFile(fields, body));
    ASSERT_TRUE(image);
    EXPECT_EQ(Difference(*FromPixels(static_cast<std::int32_t>(fields.width),
                                     static_cast<std::int32_t>(fields.height), wanted),
                         *image),
              "");
  }

  void ExpectRefused(const PsdFields& fields, const std::string& message) {
    host.Clear();
    EXPECT_FALSE(Load(PsdFile(fields, Bytes(40, 1))));
    EXPECT_THAT(host.errors, ElementsAre("Photoshop loader: " + message));
  }
};

TEST_F(PsdTest, Modes) {
  ExpectPixels({.channels = 1, .bits = 1, .mode = 0}, {0x40}, {{255, 255, 255, 0}, {0, 0, 0, 0}});
  ExpectPixels({.channels = 1, .mode = 1}, {1, 2}, {{1, 1, 1, 0}, {2, 2, 2, 0}});
  ExpectPixels({.channels = 2, .mode = 1}, {1, 2, 3, 4}, {{1, 1, 1, 3}, {2, 2, 2, 4}});
  ExpectPixels({.channels = 1, .mode = 8}, {1, 2}, {{1, 1, 1, 0}, {2, 2, 2, 0}});
  ExpectPixels({.channels = 3}, {1, 2, 3, 4, 5, 6}, {{1, 3, 5, 0}, {2, 4, 6, 0}});
  ExpectPixels({.channels = 5}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 9}, {{1, 3, 5, 7}, {2, 4, 6, 8}});
  ExpectPixels({.channels = 4, .width = 1, .bits = 16}, {1, 99, 2, 99, 3, 99, 4, 99},
               {{1, 2, 3, 4}});
  // Ink inverted: no ink, half black, all black.
  ExpectPixels({.channels = 4, .width = 3, .mode = 4},
               {255, 255, 255, 255, 100, 255, 255, 0, 255, 255, 128, 0},
               {{255, 255, 255, 0}, {128, 50, 0, 0}, {0, 0, 0, 0}});
  Bytes colours(768, 0);
  colours[9] = 1, colours[256 + 9] = 2, colours[512 + 9] = 3;
  ExpectPixels({.channels = 1, .mode = 2, .colours = colours}, {9, 0},
               {{1, 2, 3, 0}, {0, 0, 0, 0}});
}

TEST_F(PsdTest, PackedRows) {
  const Bytes lengths = {0, 3, 0, 2, 0, 6};
  // Literals; a run longer than the row; a code without effect, then two runs.
  const Bytes rows = {1, 1, 2, 0xF0, 3, 0x80, 0, 5, 0x80, 0, 6};
  ExpectPixels({.compression = 1}, Joined({lengths, rows}), {{1, 3, 5, 0}, {2, 3, 6, 0}});
  const ImageGuard image = Load(PsdFile({.compression = 1}, Joined({lengths, {1, 1, 2, 0xF0}})));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 1, 0).r, 2);
  EXPECT_THAT(host.errors, ElementsAre("Photoshop loader: could not read a scan line"));
}

TEST_F(PsdTest, NamesWhatItDoesNotRead) {
  ExpectRefused({.bits = 32}, "unknown channel depth: \"32\"");
  ExpectRefused({.mode = 9}, "unknown colour mode: \"9\"");
  ExpectRefused({.channels = 2}, "illegal number of channels: \"2\"");
  ExpectRefused({.channels = 57}, "illegal number of channels: \"57\"");
  ExpectRefused({.width = 0}, "width and/or height illegal");
  ExpectRefused({.height = 30001}, "width and/or height illegal");
  ExpectRefused({.compression = 2}, "unknown compression: \"2\"");
  ExpectRefused({.channels = 1, .mode = 2}, "could not read colour table");
  Bytes later = PsdFile({}, {});
  later[5] = 2;
  host.Clear();
  EXPECT_FALSE(Load(later));
  EXPECT_THAT(host.errors, ElementsAre("Photoshop loader: unknown version: \"2\""));
}

class FramestoreTest : public LibraryTest {
 protected:
  ImageGuard Saved(const ImageRecord& image, int compression = 1) {
    const std::string path = temp.file("out.fs");
    EXPECT_EQ(SaveFramestore(&image, path.c_str(), compression), 0);
    std::FILE* file = std::fopen(path.c_str(), "rb");
    return ImageGuard(file ? LoadIff(file, path.c_str()) : nullptr);
  }
};

TEST_F(FramestoreTest, FitsTheFrame) {
  const Rgba colour = {10, 200, 30, 255};
  struct Case {
    std::int32_t width, height, left, top, right, bottom;  // where the picture comes to lie
  };
  for (const Case& c : {Case{752, 480, 0, 0, 751, 479}, Case{100, 100, 136, 0, 615, 479},
                        Case{2, 1, 0, 52, 751, 427}, Case{3000, 6, 0, 239, 751, 239}}) {
    SCOPED_TRACE(testing::Message() << c.width << "x" << c.height);
    const ImageGuard frame = Saved(*Solid(c.width, c.height, colour));
    ASSERT_TRUE(frame);
    ASSERT_EQ(frame->width, 752);
    ASSERT_EQ(frame->height, 480);
    for (std::int32_t y = 0; y < 480; ++y) {
      for (std::int32_t x = 0; x < 752; ++x) {
        const bool inside = x >= c.left && x <= c.right && y >= c.top && y <= c.bottom;
        ASSERT_NEAR(PixelAt(*frame, x, y).g, inside ? 200 : 0, 1) << x << " " << y;
      }
    }
  }
}

TEST_F(FramestoreTest, SameSizeKeepsThePixels) {
  const ImageGuard picture = PhotoLike(752, 480);
  for (const int compression : {0, 1}) {
    const ImageGuard frame = Saved(*picture, compression);
    ASSERT_TRUE(frame);
    EXPECT_EQ(Difference(*picture, *frame, Channels::rgb), "");
  }
}

TEST_F(FramestoreTest, NeverWholeAfterAFault) {
  const ImageGuard picture = Drawing(30, 20);
  const std::string path = temp.file("out.fs");
  for (int n = 0;; ++n) {
    const AllocationFailure failure(n);
    BeginSaveOutcome();
    SaveFramestore(picture.get(), path.c_str(), 1);
    if (!failure.reached()) break;
    ASSERT_NE(GetSaveOutcome(), SaveOutcome::whole) << n;
  }
  const WriteFailure failure(1);
  BeginSaveOutcome();
  SaveFramestore(picture.get(), path.c_str(), 0);
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
}

// The chunks that such files have beyond those of other ILBMs, the first longer than any table.
TEST_F(FramestoreTest, ExtraChunksArePassedOver) {
  const ImageGuard picture = Drawing(752, 480);
  const std::string path = temp.file("out.fs");
  ASSERT_EQ(SaveFramestore(picture.get(), path.c_str(), 1), 0);
  Bytes bytes = ReadFile(path);
  const Bytes extra =
      BigEndian().Text("CLUT").U32(3000).Repeat(7, 3000).Text("PLTP").U32(5).Repeat(7, 6).bytes();
  const std::string_view body = "BODY";
  bytes.insert(std::search(bytes.begin(), bytes.end(), body.begin(), body.end()), extra.begin(),
               extra.end());
  WriteFile(path, bytes);
  const ImageGuard frame(LoadIff(std::fopen(path.c_str(), "rb"), path.c_str()));
  ASSERT_TRUE(frame);
  EXPECT_EQ(Difference(*picture, *frame, Channels::rgb), "");
}

}  // namespace
}  // namespace imx::test
