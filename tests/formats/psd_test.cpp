// Photoshop files, and framestores.

#include "formats/psd.h"

#include "formats/framestore.h"
#include "formats/iff.h"
#include "imagelib/save_outcome.h"
#include "tests/formats/format_test.h"
#include "tests/formats/station_builder.h"
#include "tests/support/fault_injection.h"

namespace imx::test {
namespace {

class PsdTest : public FormatTest<LoadPsd> {
 protected:
  std::vector<Rgba> Loaded(const PsdFields& fields, const Bytes& body) {
    return Pixels(Load(PsdFile(fields, body)));
  }
};

TEST_F(PsdTest, Modes) {
  using Row = std::vector<Rgba>;
  EXPECT_EQ(Loaded({.channels = 2, .mode = 1}, {1, 2, 3, 4}), (Row{{1, 1, 1, 3}, {2, 2, 2, 4}}));
  EXPECT_EQ(Loaded({.channels = 5}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 9}),
            (Row{{1, 3, 5, 7}, {2, 4, 6, 8}}));
  EXPECT_EQ(Loaded({.channels = 4, .width = 1, .bits = 16}, {1, 99, 2, 99, 3, 99, 4, 99}),
            (Row{{1, 2, 3, 4}}));
  // Ink inverted: no ink, half black, all black.
  EXPECT_EQ(Loaded({.channels = 4, .width = 3, .mode = 4},
                   {255, 255, 255, 255, 101, 255, 255, 0, 255, 255, 128, 0}),
            (Row{{255, 255, 255, 0}, {128, 51, 0, 0}, {0, 0, 0, 0}}));
}

TEST_F(PsdTest, MoreModesAndDepths) {
  using Row = std::vector<Rgba>;
  EXPECT_EQ(Loaded({.channels = 4, .mode = 7}, {1, 2, 3, 4, 5, 6, 9, 9}),
            (Row{{1, 3, 5, 0}, {2, 4, 6, 0}}));
  EXPECT_EQ(Loaded({.channels = 2, .mode = 7}, {1, 2, 3, 4}), (Row{{1, 1, 1, 0}, {2, 2, 2, 0}}));
  // A half, and what is out of range.
  EXPECT_EQ(Loaded({.channels = 1, .width = 3, .bits = 32, .mode = 1},
                   {0x3F, 0, 0, 0, 0x40, 0x80, 0, 0, 0xFF, 0xC0, 0, 0}),
            (Row{{128, 128, 128, 0}, {255, 255, 255, 0}, {0, 0, 0, 0}}));
  const std::vector<Rgba> lab =
      Loaded({.width = 4, .mode = 9}, {255, 0, 138, 138, 128, 128, 209, 128, 128, 128, 198, 128});
  const Row wanted = {{255, 255, 255, 0}, {0, 0, 0, 0}, {254, 0, 0, 0}, {130, 130, 130, 0}};
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    EXPECT_NEAR(lab[i].r, wanted[i].r, 2);
    EXPECT_NEAR(lab[i].g, wanted[i].g, 8) << i;
    EXPECT_NEAR(lab[i].b, wanted[i].b, 2);
  }
}

TEST_F(PsdTest, LargeFilesCountWider) {
  EXPECT_EQ(Loaded({.channels = 1, .width = 2, .mode = 1, .compression = 1, .large = true},
                   {0, 0, 0, 3, 1, 7, 8}),
            (std::vector<Rgba>{{7, 7, 7, 0}, {8, 8, 8, 0}}));
  EXPECT_TRUE(Load(PsdFile({.channels = 1, .width = 30001, .mode = 1, .large = true}, {1})));
}

TEST_F(PsdTest, PackedRows) {
  const Bytes lengths = {0, 3, 0, 2, 0, 6};
  // Literals; a run longer than the row; a code without effect, then two runs.
  const Bytes rows = {1, 1, 2, 0xF0, 3, 0x80, 0, 5, 0x80, 0, 6};
  EXPECT_EQ(Loaded({.compression = 1}, lengths + rows),
            (std::vector<Rgba>{{1, 3, 5, 0}, {2, 3, 6, 0}}));
  const Bytes cut = PsdFile({.compression = 1}, lengths + Bytes{1, 1, 2, 0xF0});
  EXPECT_EQ(Refusal(cut), "loaded: Photoshop loader: could not read a scan line");
  EXPECT_EQ(PixelAt(*Load(cut), 1, 0).r, 2);
}

TEST_F(PsdTest, NamesWhatItDoesNotRead) {
  const std::pair<PsdFields, const char*> refused[] = {
      {{.bits = 12}, "unknown channel depth: \"12\""},
      {{.mode = 5}, "unknown colour mode: \"5\""},
      {{.channels = 2}, "illegal number of channels: \"2\""},
      {{.channels = 57}, "illegal number of channels: \"57\""},
      {{.width = 0}, "width and/or height illegal"},
      {{.height = 30001}, "width and/or height illegal"},
      {{.width = 300001, .large = true}, "width and/or height illegal"},
      {{.compression = 2}, "unknown compression: \"2\""},
      {{.channels = 1, .mode = 2}, "could not read colour table"}};
  for (const auto& [fields, message] : refused) {
    EXPECT_EQ(Refusal(PsdFile(fields, Bytes(1000, 1))),
              std::string("Photoshop loader: ") + message);
  }
  EXPECT_EQ(Refusal(WithByte(PsdFile({}, {}), 5, 3)), "Photoshop loader: unknown version: \"3\"");
}

class FramestoreTest : public FormatTest<LoadIff> {
 protected:
  ImageGuard Framed(const ImageRecord& image, int compression = 1) {
    return Load(Saved<SaveFramestore>(image, compression));
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
    const ImageGuard frame = Framed(*Solid(c.width, c.height, colour));
    ASSERT_TRUE(frame);
    ASSERT_EQ(frame->width, 752);
    ASSERT_EQ(frame->height, 480);
    for (std::int32_t i = 0; i < 752 * 480; ++i) {
      const std::int32_t x = i % 752, y = i / 752;
      const bool inside = x >= c.left && x <= c.right && y >= c.top && y <= c.bottom;
      ASSERT_NEAR(PixelAt(*frame, x, y).g, inside ? 200 : 0, 1) << x << " " << y;
    }
  }
}

TEST_F(FramestoreTest, SameSizeKeepsThePixels) {
  const ImageGuard picture = PhotoLike(752, 480);
  for (const int compression : {0, 1}) {
    EXPECT_EQ(Difference(*picture, *Framed(*picture, compression), Channels::rgb), "");
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
}

}  // namespace
}  // namespace imx::test
