#include "formats/gif.h"

#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"
#include "tests/formats/common_builder.h"
#include "tests/formats/format_test.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

/// Pixels to encode and the bytes that come out.
struct Coding {
  Bytes pixels;
  std::size_t at = 0;
  int lastPixel = -1;  // what stands behind the pixels
  Bytes out = {};
  std::size_t room = SIZE_MAX;

  std::int32_t Run(int codeSize) {
    return LzwEncode(
        codeSize,
        [](void* c) -> std::int32_t {
          auto* self = static_cast<Coding*>(c);
          return self->at < self->pixels.size() ? self->pixels[self->at++] : self->lastPixel;
        },
        [](void* c, std::uint8_t byte) -> std::int32_t {
          auto* self = static_cast<Coding*>(c);
          if (self->out.size() == self->room) return 7;
          self->out.push_back(byte);
          return 0;
        },
        this);
  }
};

class LzwTest : public LibraryTest {};

TEST_F(LzwTest, EveryCodeSizeByTheBook) {
  for (int codeSize = 1; codeSize <= 8; ++codeSize) {
    for (const std::size_t length : {0u, 1u, 2u, 3u, 500u, 70000u}) {
      for (const bool runs : {false, true}) {
        SCOPED_TRACE(testing::Message() << codeSize << " bits, " << length << " pixels, " << runs);
        Bytes pixels = NoiseBytes(length, 1, 1u << codeSize);
        for (std::size_t i = 1; runs && i < length; ++i) {
          if (pixels[i] > 0) pixels[i] = pixels[i - 1];
        }
        Coding coding{.pixels = pixels};
        EXPECT_EQ(coding.Run(codeSize), 0);
        EXPECT_TRUE(coding.out == GifPixels(std::max(codeSize, 2), pixels, 254));
      }
    }
  }
}

/// Greys whose codes take every slot that one key's square steps reach, and then that key.
Bytes GreysThatFillAProbe() {
  constexpr std::size_t kSlots = 5003, kReached = 2502, kNone = 256;
  std::vector<bool> taken(kSlots), wanted(kSlots), used(65536);
  for (std::size_t k = 0; k < kReached; ++k) wanted[k * k % kSlots] = true;
  Bytes greys = {0};
  for (bool full = false; !full;) {
    const std::size_t prefix = greys.back();
    std::size_t grey = kNone, slot = 0;
    for (std::size_t next = 0; next < 256 && !full && (grey == kNone || !wanted[slot]); ++next) {
      if (used[prefix * 256 + next]) continue;
      std::size_t k = 0, at = (next * 32 ^ prefix) % kSlots;
      for (const std::size_t first = at; taken[at] && ++k < kReached;) {
        at = (first + k * k) % kSlots;
      }
      full = k == kReached;
      if (grey != kNone && !full && !wanted[at]) continue;
      grey = next;
      slot = at;
    }
    used[prefix * 256 + grey] = taken[slot] = true;
    greys.push_back(static_cast<std::uint8_t>(grey));
  }
  return greys;
}

TEST_F(LzwTest, AProbeFindsASlotAmongTheOthers) {
  const Bytes greys = GreysThatFillAProbe();
  ASSERT_LT(greys.size(), 3838u) << "codes in a full table";
  Coding coding{.pixels = greys};
  EXPECT_EQ(coding.Run(8), 0);
  EXPECT_TRUE(coding.out == GifPixels(8, greys, 254));
}

TEST_F(LzwTest, ErrorsComeBackAndNothingLeaks) {
  const Bytes pixels(1000, 3);
  Coding whole{pixels}, failing{pixels, 0, -9}, empty{{}, 0, -9};
  EXPECT_EQ(whole.Run(0), -3);
  EXPECT_EQ(whole.Run(10), -3);
  EXPECT_EQ(failing.Run(8), -9);
  EXPECT_EQ(empty.Run(8), -9);
  ASSERT_EQ(whole.Run(8), 0);
  for (std::size_t room = 0; room < whole.out.size(); ++room) {
    Coding full{.pixels = pixels, .room = room};
    EXPECT_EQ(full.Run(8), 7) << room;
  }
}

class GifTest : public FormatTest<LoadGif> {
 protected:
  /// Red bytes of the pixels, which tell the entries of SomeColours apart: entry = (red - 5) / 10.
  std::vector<int> Entries(const Bytes& file) {
    std::vector<int> entries;
    for (const Rgba& pixel : Pixels(Load(file))) {
      entries.push_back(pixel.r == 0 ? -1 : (pixel.r - 5) / 10);
      EXPECT_EQ(pixel.a, 0);
    }
    return entries;
  }

  /// A file of one plain frame and its pixels.
  Bytes File(int width, int height, const Bytes& frame, const Bytes& pixels) {
    return GifScreen(width, height, 2) + frame + GifPixels(2, pixels) + Bytes{0x3B};
  }
};

TEST_F(GifTest, BothVersionsAndExtensionsReadTheSame) {
  const Bytes image = GifFrame(0, 0, 3, 2) + GifPixels(2, {0, 1, 2, 3, 3, 2}) + Bytes{0x3B};
  const Bytes extensions = GifExtension(0xF9, {1, 2, 3, 4}) + GifExtension(0xFE, Bytes(600, 'x'));
  // Only the signature's first letter counts.
  for (const Bytes& file :
       {GifScreen(3, 2, 2, 0, "GIF87a") + image, GifScreen(3, 2, 2) + extensions + image,
        GifScreen(3, 2, 2, 0, "G.....") + image}) {
    EXPECT_THAT(Entries(file), ElementsAre(0, 1, 2, 3, 3, 2));
  }
  EXPECT_FALSE(Load(GifScreen(3, 2, 2, 0, "gIF89a") + image));
  EXPECT_FALSE(Load(GifScreen(0, 2, 2) + image));
  const ImageGuard record = Load(GifScreen(3, 2, 5) + image);
  EXPECT_EQ(record->depth, 5u);
  EXPECT_STREQ(record->formatLabel, "GIF");
}

TEST_F(GifTest, AFullTableOfCodes) {
  const Bytes indices = NoiseBytes(200 * 100, 1, 16);
  EXPECT_THAT(Entries(GifScreen(200, 100, 4) + GifFrame(0, 0, 200, 100) + GifPixels(4, indices)),
              testing::ElementsAreArray(indices));
}

TEST_F(GifTest, AnAspectByteGivesABlankImage) {
  const Bytes file = GifScreen(2, 1, 2, 49) + GifFrame(0, 0, 2, 1) + GifPixels(2, {1, 2});
  EXPECT_THAT(Entries(file), ElementsAre(-1, -1));
  EXPECT_STREQ(Load(file)->formatLabel, "");
}

TEST_F(GifTest, FramesAreLaidFromTheFirstPixelWithTheirOwnWidth) {
  // Left and top count for nothing; a narrow frame's rows follow each other.
  EXPECT_THAT(Entries(File(3, 2, GifFrame(1, 1, 2, 2), {0, 1, 2, 3})),
              ElementsAre(0, 1, 2, 3, -1, -1));
  // What is beyond the screen's pixels is dropped.
  EXPECT_THAT(Entries(File(2, 1, GifFrame(0, 0, 3, 3), Bytes(9, 3))), ElementsAre(3, 3));
  // More pixels than the frame has start over at its first row.
  EXPECT_THAT(Entries(File(2, 2, GifFrame(0, 0, 2, 2), {0, 0, 1, 1, 2, 3})),
              ElementsAre(2, 3, 1, 1));
}

TEST_F(GifTest, LaterImagesOverwriteAndTheirTablesStay) {
  ByteBuilder grey = LittleEndian();
  for (int i = 0; i < 4; ++i) grey.Repeat(static_cast<std::uint32_t>(105 + 10 * i), 3);
  const Bytes screen = GifScreen(3, 1, 2), end = {0x3B};
  const Bytes first = GifFrame(0, 0, 3, 1) + GifPixels(2, {1, 1, 1});
  const Bytes second = GifFrame(0, 0, 2, 1, 0x81) + grey.bytes() + GifPixels(2, {0, 1});
  EXPECT_THAT(Entries(screen + first + second + end), ElementsAre(10, 11, 1));
  EXPECT_THAT(Entries(screen + second + first + end), ElementsAre(11, 11, 11));
  EXPECT_THAT(Entries(screen + first + Bytes{0x77} + second), ElementsAre(1, 1, 1))
      << "anything unknown ends the file";
}

/// Rows of a frame in the order in which an interlaced file has them.
Bytes InterlacedOrder(int height) {
  Bytes order;
  for (const auto& [start, step] : {std::pair{0, 8}, {4, 8}, {2, 4}, {1, 2}}) {
    for (int row = start; row < height; row += step) {
      order.push_back(static_cast<std::uint8_t>(row));
    }
  }
  return order;
}

TEST_F(GifTest, InterlacedRowsOfEveryHeight) {
  for (int height = 1; height <= 20; ++height) {
    SCOPED_TRACE(height);
    const Bytes order = InterlacedOrder(height);
    const std::vector<int> entries = Entries(
        GifScreen(1, height, 5) + GifFrame(0, 0, 1, height, kGifInterlaced) + GifPixels(5, order));
    for (int row = 0; row < height; ++row) EXPECT_EQ(entries[static_cast<std::size_t>(row)], row);

    const ImageGuard image = PhotoLike(5, height);
    const Bytes plain = Saved<SaveGif>(*image, 0), interlaced = Saved<SaveGif>(*image, 1);
    EXPECT_EQ(Difference(*Load(plain), *Load(interlaced)), "");
    EXPECT_EQ(interlaced[13 + 768 + 9], kGifInterlaced);
  }
}

TEST_F(GifTest, OfTooManyPixelsTheLastAreSeen) {
  for (const int flags : {0, kGifInterlaced}) {
    // Frames below the screen's size and above it, as narrow as a string and much wider.
    for (const auto& [width, height] : {std::pair{1, 1}, {3, 5}, {7, 9}, {90, 8}}) {
      for (const bool runs : {false, true}) {
        SCOPED_TRACE(testing::Message() << width << 'x' << height << ' ' << flags << ' ' << runs);
        const Bytes rows = InterlacedOrder(height);
        const Bytes pixels = runs ? Bytes(5000, 2) : NoiseBytes(5000, 1, 4);
        std::vector<int> wanted(6 * 7, -1);
        for (std::size_t i = 0; i < pixels.size(); ++i) {
          const std::size_t line = i / static_cast<std::size_t>(width) % rows.size();
          const std::size_t row = flags ? rows[line] : line;
          const std::size_t at =
              row * static_cast<std::size_t>(width) + i % static_cast<std::size_t>(width);
          if (at < wanted.size()) wanted[at] = pixels[i];
        }
        EXPECT_EQ(Entries(File(6, 7, GifFrame(0, 0, width, height, flags), pixels)), wanted);
      }
    }
  }
}

TEST_F(GifTest, HeaderAsWritten) {
  const Bytes file = Saved<SaveGif>(*Drawing(300, 7), 0);
  EXPECT_EQ(Part(file, 0, 13),
            LittleEndian().Text("GIF87a").Words({300, 7}).List({0xF7, 0, 0}).bytes());
  EXPECT_EQ(Part(file, 781, 11), GifFrame(0, 0, 300, 7) + Bytes{8});
  EXPECT_EQ(file.back(), 0x3B);
}

TEST_F(GifTest, DamagedCodesEndTheImage) {
  const Bytes start = GifScreen(2, 1, 2) + GifFrame(0, 0, 2, 1);
  // Code 7 stands before any string that it could grow from.
  EXPECT_THAT(Entries(start + Bytes{2} + GifBlocks({0x3C, 0})), ElementsAre(-1, -1));
  for (const std::uint8_t codeSize : Bytes{0, 12, 255}) {
    EXPECT_THAT(Entries(start + Bytes{codeSize} + GifBlocks({0x44, 0x01})), ElementsAre(-1, -1));
  }
  for (const QuirkSet& way : {QuirkSet(), AllQuirks()}) {
    const QuirkScope scope(way);
    BeginLoadOutcome();
    Load(start + Bytes{2} + GifBlocks({0x3C, 0}) + Bytes{0x3B});
    EXPECT_TRUE(PixelsAreDamaged());
    EXPECT_FALSE(FileEndedEarly(true));
  }
  // One block of a single byte each.
  const Bytes pixels = GifPixels(2, {1, 2, 3, 0});
  const Bytes blocks = GifBlocks(Part(pixels, 2, pixels.size() - 3), 1);
  EXPECT_THAT(Entries(GifScreen(4, 1, 2) + GifFrame(0, 0, 4, 1) + Bytes{2} + blocks),
              ElementsAre(1, 2, 3, 0));
}

Bytes GifControl(int disposal, int transparent = -1) {
  const auto flags = static_cast<std::uint8_t>(disposal << 2 | (transparent >= 0 ? 1 : 0));
  return GifExtension(0xF9, {flags, 0, 0, static_cast<std::uint8_t>(transparent)});
}

TEST_F(GifTest, FramesAsOtherProgramsShowThem) {
  const auto frame = [](int left, int flags, const Bytes& rest) {
    return GifFrame(left, 0, 2, 1, flags) + rest;
  };
  const Bytes white = Bytes{0, 0, 0, 255, 255, 255};
  const Bytes animation = GifScreen(3, 1, 2, 49) + frame(0, 0, GifPixels(2, {1, 2})) +
                          GifControl(3) + frame(1, 0, GifPixels(2, {3, 3})) + GifControl(2, 1) +
                          frame(1, 0, GifPixels(2, {1, 3})) +
                          frame(2, 0x80, white + GifPixels(2, {1, 1})) + Bytes{0x3B};
  // Entry n of SomeColours has red 10 n + 5.
  const struct {
    const char* name;
    Bytes file;
    int chosen;
    std::vector<int> reds;  // -1: transparent
    std::vector<int> exact;
  } kCases[] = {
      {"background beside the first", animation, -1, {15, 25, 5}, {0, 0, 0}},
      {"restored later", animation, 1, {15, 35, 35}, {0, 0, 0}},
      {"transparent pixels", animation, 2, {15, 25, 35}, {0, 0, 0}},
      {"cleared; its own table; beyond the screen", animation, 3, {15, -1, 255}, {0, 0, 0}},
      {"a single frame with transparency",
       GifScreen(2, 1, 2) + GifControl(0, 1) + frame(0, 0, GifPixels(2, {1, 2})),
       7,
       {-1, 25},
       {15, 25}},
      {"a screen without size",
       GifScreen(0, 0, 2) + frame(0, 0, GifPixels(2, {1, 2})),
       0,
       {15, 25},
       {}},
      {"no table", GifScreen(1, 1, 0) + frame(0, 0, GifPixels(2, {3, 2})), 0, {3}, {0}},
  };
  for (const auto& test : kCases) {
    SCOPED_TRACE(test.name);
    const auto reds = [&](const QuirkSet& quirks) {
      const QuirkScope scope(quirks);
      Sequence() = {.chosenFrame = test.chosen};
      std::vector<int> found;
      for (const Rgba& pixel : Pixels(Load(test.file))) {
        found.push_back(quirks.any() && pixel.a == 0 ? -1 : pixel.r);
      }
      EXPECT_TRUE((scope.applied() | scope.shown())[kGifScreen]);
      return found;
    };
    EXPECT_EQ(reds(QuirkSet().set(kGifScreen)), test.reds);
    EXPECT_EQ(Sequence().frameCount, test.file == animation ? 4 : 0);
    EXPECT_EQ(reds({}), test.exact);
  }
  const QuirkScope interop(AllQuirks());
  Sequence().chosenFrame = 4;
  EXPECT_FALSE(Load(animation));
  Sequence().chosenFrame = 3;
  const ImageGuard last = Load(animation);
  EXPECT_EQ(last->frame, 4);
  EXPECT_EQ(last->paletteCount, 2);
  EXPECT_EQ(last->palette.green[1], 255);
  EXPECT_TRUE(last->flags & kFlagAlpha);
}

}  // namespace
}  // namespace imx::test
