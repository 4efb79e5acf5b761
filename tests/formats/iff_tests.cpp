// ILBM files built by hand, the container around all IFF files, and the run-length code of rows.

#include <algorithm>
#include <string>
#include <vector>

#include "formats/byterun.h"
#include "formats/iff.h"
#include "imagelib/core/file_reader.h"
#include "imagelib/core/registry.h"
#include "imagelib/core/save_outcome.h"
#include "tests/formats/iff_builder.h"
#include "tests/support/library_test.h"
#include "tests/support/pictures.h"

namespace imx::test {
namespace {

class IffTest : public LibraryTest {
 protected:
  ImageGuard Load(const Bytes& bytes, std::string_view name = "in.iff") {
    const std::string path = temp.Write(name, bytes);
    return ImageGuard(LoadIff(std::fopen(path.c_str(), "rb"), path.c_str()));
  }

  template <typename... Chunks>
  ImageGuard LoadIlbm(const Chunks&... chunks) {
    return Load(IffForm("ILBM", chunks...));
  }

  Bytes Save(const ImageRecord& image, std::int32_t compression, std::int32_t result = 0) {
    const std::string path = temp.file("out.iff");
    BeginSaveOutcome();
    EXPECT_EQ(SaveIff(&image, path.c_str(), 0, compression), result);
    return ReadFile(path);
  }
};

/// Red, green and blue of the first row.
std::vector<Rgba> FirstRow(const ImageGuard& image) {
  std::vector<Rgba> row;
  for (std::int32_t x = 0; image && x < image->width; ++x) row.push_back(PixelAt(*image, x, 0));
  return row;
}

/// A "CMAP" of `count` colours: entry i is (4 * i, 255 - i, i + 100).
Bytes ColourMap(int count) {
  ByteBuilder data = BigEndian();
  for (int i = 0; i < count; ++i) data.List({4 * i, 255 - i, i + 100});
  return IffChunk("CMAP", data.bytes());
}

Rgba Colour(int i) {
  return {static_cast<std::uint8_t>(4 * i), static_cast<std::uint8_t>(255 - i),
          static_cast<std::uint8_t>(i + 100), 0};
}

/// The plane rows of one row of at most 16 values, lowest plane first.
Bytes PlaneRows(int planes, const std::vector<unsigned>& values) {
  Bytes rows;
  for (int plane = 0; plane < planes; ++plane) {
    unsigned bits = 0;
    for (std::size_t x = 0; x < values.size(); ++x) bits |= (values[x] >> plane & 1) << (15 - x);
    rows.push_back(static_cast<std::uint8_t>(bits >> 8));
    rows.push_back(static_cast<std::uint8_t>(bits));
  }
  return rows;
}

TEST_F(IffTest, IndexedPlanes) {
  // 11 x 2, 2 planes, so rows of 2 bytes of which 5 bits are unused.
  const Bytes body = {0b01010101, 0b01011111,  // row 0, plane 0
                      0b00110011, 0b00111111,  //        plane 1
                      0b00000000, 0b00000000,  // row 1
                      0b11111111, 0b11100000};
  const ImageGuard image = LoadIlbm(IffHeader({.width = 11, .height = 2, .planes = 2}),
                                    ColourMap(4), IffChunk("BODY", body));
  ASSERT_TRUE(image);
  for (int x = 0; x < 11; ++x) {
    EXPECT_EQ(PixelAt(*image, x, 0), Colour(x % 4)) << x;
    EXPECT_EQ(PixelAt(*image, x, 1), Colour(2)) << x;
  }
  EXPECT_EQ(image->depth, 2u);
  EXPECT_EQ(image->paletteCount, 4);
  EXPECT_EQ(image->palette.green[3], 252);
  EXPECT_EQ(image->fileType, kTypeIff);
  EXPECT_STREQ(image->formatLabel, "IFF/ILBM");
  EXPECT_EQ(image->path, temp.file("in.iff"));
  ASSERT_EQ(host.progress.size(), 1u);
  EXPECT_EQ(host.progress[0].title, "Reading IFF");
  EXPECT_EQ(host.progress[0].total, 2);
  EXPECT_EQ(host.progress[0].positions, (std::vector<std::int32_t>{0, 1}));
}

TEST_F(IffTest, ByteRunRows) {
  // 32 x 2, 1 plane, rows of 4 bytes.
  const Bytes body = {0xFE, 0xF0, 0x00, 0x0F,  // row 0: three times F0, a copy of 1
                      0x80, 0x01, 0xAA, 0x55,  // row 1: nothing, a copy of 2,
                      0xF0, 0x33};             //        17 times 33, of which 2 belong here
  const ImageGuard image =
      LoadIlbm(IffHeader({.width = 32, .height = 2, .planes = 1, .compression = 1}), ColourMap(2),
               IffChunk("BODY", body));
  ASSERT_TRUE(image);
  const std::uint32_t rows[] = {0xF0F0F00F, 0xAA553333};
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 32; ++x) {
      EXPECT_EQ(PixelAt(*image, x, y), Colour(rows[y] >> (31 - x) & 1)) << x << "," << y;
    }
  }
}

TEST_F(IffTest, HoldAndModify) {
  // 6 planes: colour 1; blue, red, green made 15, 10 and 5 times 17; colour 2.
  const std::vector<unsigned> six = {0x1F, 0x01, 0x1F, 0x2A, 0x35, 0x02};
  const ImageGuard ham6 = LoadIlbm(IffHeader({.width = 6, .planes = 6}), ColourMap(16),
                                   IffChunk("BODY", PlaneRows(6, six)));
  EXPECT_EQ(FirstRow(ham6), (std::vector<Rgba>{{0, 255, 255, 0},  // of colour 0, which every row
                                               {4, 254, 101, 0},  // begins with
                                               {4, 254, 255, 0},
                                               {170, 254, 255, 0},
                                               {170, 85, 255, 0},
                                               {8, 253, 102, 0}}));

  // 8 planes: 63 gives 255, 21 gives 21 * 4 + 1, 16 gives 65.
  const std::vector<unsigned> eight = {0x03, 0x7F, 0x95, 0xD0, 0x00};
  const ImageGuard ham8 = LoadIlbm(IffHeader({.width = 5, .planes = 8}), ColourMap(64),
                                   IffChunk("BODY", PlaneRows(8, eight)));
  EXPECT_EQ(FirstRow(ham8), (std::vector<Rgba>{{12, 252, 103, 0},
                                               {12, 252, 255, 0},
                                               {85, 252, 255, 0},
                                               {85, 65, 255, 0},
                                               {0, 255, 100, 0}}));

  // The map's size tells it: the same values with 32 colours are indices.
  const ImageGuard indexed = LoadIlbm(IffHeader({.width = 6, .planes = 6}), ColourMap(32),
                                      IffChunk("BODY", PlaneRows(6, six)));
  EXPECT_EQ(FirstRow(indexed)[0], Colour(31));
  const ImageGuard four = LoadIlbm(IffHeader({.width = 2, .planes = 4}), ColourMap(16),
                                   IffChunk("BODY", PlaneRows(4, {15, 9})));
  EXPECT_EQ(FirstRow(four), (std::vector<Rgba>{Colour(15), Colour(9)}));
  // Or the view mode.
  const ImageGuard byMode = LoadIlbm(IffHeader({.width = 6, .planes = 6}), ColourMap(32),
                                     IffViewMode(0x800), IffChunk("BODY", PlaneRows(6, six)));
  EXPECT_EQ(FirstRow(byMode)[3], (Rgba{170, 254, 255, 0}));
}

TEST_F(IffTest, HeldColourStartsEveryRowAnew) {
  Bytes body = PlaneRows(6, {0x2F});
  const Bytes second = PlaneRows(6, {0x1F});
  body.insert(body.end(), second.begin(), second.end());
  const ImageGuard image = LoadIlbm(IffHeader({.width = 1, .height = 2, .planes = 6}),
                                    ColourMap(16), IffChunk("BODY", body));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 0), (Rgba{255, 255, 100, 0}));
  EXPECT_EQ(PixelAt(*image, 0, 1), (Rgba{0, 255, 255, 0}));
}

TEST_F(IffTest, ExtraHalfBrite) {
  const Bytes body = IffChunk("BODY", PlaneRows(6, {3, 35, 63}));
  const Bytes header = IffHeader({.width = 3, .planes = 6});
  const Rgba half3 = {6, 126, 51, 0};
  const Rgba half31 = {62, 112, 65, 0};
  // 32 colours, the mode in front of the map, behind it, and behind the body; 64 colours, of which
  // the upper half is replaced.
  const Bytes mode = IffViewMode(0x80);
  for (const Bytes& file : {IffForm("ILBM", header, mode, ColourMap(32), body),
                            IffForm("ILBM", header, ColourMap(32), mode, body),
                            IffForm("ILBM", header, body, ColourMap(32), mode),
                            IffForm("ILBM", header, mode, ColourMap(64), body)}) {
    const ImageGuard image = Load(file);
    EXPECT_EQ(FirstRow(image), (std::vector<Rgba>{Colour(3), half3, half31}));
    EXPECT_EQ(image->paletteCount, 64);
  }
}

TEST_F(IffTest, MaskPlaneIsPassedOver) {
  // 2 planes and the mask; two rows.
  const Bytes body = {0xC0, 0, 0xA0, 0, 0xFF, 0xFF, 0x40, 0, 0x40, 0, 0xFF, 0xFF};
  const ImageGuard masked =
      LoadIlbm(IffHeader({.width = 3, .height = 2, .planes = 2, .masking = 1}), ColourMap(4),
               IffChunk("BODY", body));
  ASSERT_TRUE(masked);
  EXPECT_EQ(FirstRow(masked), (std::vector<Rgba>{Colour(3), Colour(1), Colour(2)}));
  EXPECT_EQ(PixelAt(*masked, 1, 1), Colour(3));
  // A key colour (2) and a lasso (3) come without a plane.
  const ImageGuard keyed =
      LoadIlbm(IffHeader({.width = 3, .height = 2, .planes = 2, .masking = 2}), ColourMap(4),
               IffChunk("BODY", {0xC0, 0, 0xA0, 0, 0x40, 0, 0x40, 0}));
  EXPECT_EQ(PixelAt(*keyed, 1, 1), Colour(3));
}

TEST_F(IffTest, TrueColourPlanes) {
  const std::vector<unsigned> values = {0x563412, 0xFF0080, 0x00C001};  // blue, green, red
  Bytes rows = PlaneRows(24, values);
  const ImageGuard deep = LoadIlbm(IffHeader({.width = 3, .planes = 24}), IffChunk("BODY", rows));
  const std::vector<Rgba> expected = {
      {0x12, 0x34, 0x56, 0}, {0x80, 0x00, 0xFF, 0}, {0x01, 0xC0, 0x00, 0}};
  EXPECT_EQ(FirstRow(deep), expected);
  EXPECT_EQ(deep->depth, 24u);
  // Planes above 23 are passed over.
  rows.resize(rows.size() + 16, 0xFF);
  const ImageGuard more = LoadIlbm(IffHeader({.width = 3, .planes = 32}), IffChunk("BODY", rows));
  EXPECT_EQ(FirstRow(more), expected);
  // Missing ones are 0.
  const ImageGuard fewer =
      LoadIlbm(IffHeader({.width = 3, .planes = 12}), IffChunk("BODY", PlaneRows(12, values)));
  EXPECT_EQ(FirstRow(fewer),
            (std::vector<Rgba>{{0x12, 0x04, 0, 0}, {0x80, 0, 0, 0}, {0x01, 0, 0, 0}}));
}

TEST_F(IffTest, ChunksInAnyOrder) {
  const Bytes header = IffHeader({.width = 2, .planes = 1});
  const Bytes body = IffChunk("BODY", {0x40, 0});
  const Bytes other = IffChunk("BODY", {0x80, 0});
  const std::vector<Rgba> expected = {Colour(0), Colour(1)};
  EXPECT_EQ(FirstRow(LoadIlbm(body, ColourMap(2), header)), expected);
  // The first header and the first body count.
  EXPECT_EQ(
      FirstRow(LoadIlbm(header, IffHeader({.width = 9, .height = 9}), ColourMap(2), body, other)),
      expected);
  EXPECT_FALSE(LoadIlbm(ColourMap(2), body));
  EXPECT_FALSE(LoadIlbm(IffHeader({.width = 0, .height = 5}), body));
  const ImageGuard empty = LoadIlbm(header, ColourMap(2));
  EXPECT_EQ(FirstRow(empty), (std::vector<Rgba>{{0, 0, 0, 0}, {0, 0, 0, 0}}));
}

TEST_F(IffTest, ContainerRules) {
  const Bytes header = IffHeader({.width = 2, .planes = 1});
  const Bytes body = IffChunk("BODY", {0x40, 0});
  const Bytes whole = IffForm("ILBM", header, ColourMap(2), IffText("ANNO", "in"), body);
  const std::vector<Rgba> expected = {Colour(0), Colour(1)};

  Bytes list = whole;
  std::copy_n("LIST", 4, list.begin());
  EXPECT_EQ(FirstRow(Load(list)), expected);
  Bytes other = whole;
  std::copy_n("8SVX", 4, other.begin() + 8);
  EXPECT_FALSE(Load(other));
  other = whole;
  std::copy_n("ILBM", 4, other.begin());
  EXPECT_FALSE(Load(other));

  // What stands behind the form does not belong to it.
  Bytes longer = whole;
  const Bytes behind = IffText("ANNO", "behind");
  longer.insert(longer.end(), behind.begin(), behind.end());
  EXPECT_STREQ(Load(longer)->comment, "in");
  // A form and a body that claim more than there is.
  Bytes greedy = whole;
  greedy[4] = greedy[5] = 0xFF;
  greedy[greedy.size() - 6] = 0xFF;
  EXPECT_EQ(FirstRow(Load(greedy)), expected);

  // Odd chunks with a pad byte, of any value, and without.
  Bytes padded = IffForm("ILBM", header, IffChunk("THUM", {1, 2, 3}), ColourMap(2), body);
  EXPECT_EQ(FirstRow(Load(padded)), expected);
  padded[12 + 28 + 11] = 'B';
  EXPECT_EQ(FirstRow(Load(padded)), expected);
  padded.erase(padded.begin() + 12 + 28 + 11);
  EXPECT_EQ(FirstRow(Load(padded)), expected);
}

TEST_F(IffTest, Texts) {
  const std::string most(98, 'a');
  const Bytes header = IffHeader({.planes = 1});
  const ImageGuard image =
      LoadIlbm(IffText("AUTH", most + "bc"), header, IffText("(c) ", most + "d"),
               IffText("ANNO", std::string(255, 'n') + std::string(4000, 'm')));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->author, most);
  EXPECT_EQ(image->notice, most);
  EXPECT_EQ(image->comment, std::string(255, 'n'));
}

// Chunks of framestore files, which are read as plain bit planes.
TEST_F(IffTest, FramestoreChunksArePassedOver) {
  const Bytes file = IffForm("ILBM", IffHeader({.width = 2, .planes = 1}), ColourMap(2),
                             IffChunk("CLUT", Bytes(8 + 256, 7)), IffChunk("PLTP", {1, 2, 3, 4}),
                             IffChunk("DPI ", {0, 72, 0, 72}), IffChunk("BODY", {0x40, 0}));
  EXPECT_EQ(FirstRow(Load(file, "a.fs")), (std::vector<Rgba>{Colour(0), Colour(1)}));
}

TEST_F(IffTest, AStopKeepsTheRowsRead) {
  host.stopAt = 1;
  const ImageGuard image =
      LoadIlbm(IffHeader({.height = 4, .planes = 1}), ColourMap(2),
               IffChunk("BODY", {0x80, 0, 0x80, 0, 0x80, 0, 0x80, 0}), IffText("ANNO", "behind"));
  ASSERT_TRUE(image);
  EXPECT_EQ(PixelAt(*image, 0, 1), Colour(1));
  EXPECT_EQ(PixelAt(*image, 0, 2), (Rgba{0, 0, 0, 0}));
  EXPECT_STREQ(image->comment, "behind");
}

// Writing

TEST_F(IffTest, SavesByHand) {
  const std::vector<Rgba> pixels = {{0x80, 0x01, 0xFF, 9}, {0x80, 0x02, 0x00, 9}};
  const ImageGuard image = FromPixels(2, 1, pixels);
  ByteBuilder file = BigEndian();
  file.Text("FORM").U32(4 + 28 + 8 + 48).Text("ILBM");
  file.Text("BMHD").U32(20).U16(2).U16(1).U16(0).U16(0).List({24, 0, 0, 0, 0, 0, 0, 0});
  file.U16(2).U16(1);
  file.Text("BODY").U32(48);
  file.Repeat(0, 14).List({0xC0, 0});                // red: bit 7 of both
  file.List({0x80, 0, 0x40, 0}).Repeat(0, 12);       // green: bit 0 of one, 1 of the other
  for (int k = 0; k < 8; ++k) file.List({0x80, 0});  // blue: all of the first
  EXPECT_EQ(Save(*image, 0), file.bytes());
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::whole);

  // Packed, every two zeros are a run, and other rows a copy of two.
  ByteBuilder packed = BigEndian();
  packed.Text("FORM").U32(4 + 28 + 8 + 59 + 1).Text("ILBM");
  packed.Text("BMHD").U32(20).U16(2).U16(1).U16(0).U16(0).List({24, 0, 1, 0, 0, 0, 0, 0});
  packed.U16(2).U16(1);
  packed.Text("BODY").U32(59);
  for (int k = 0; k < 7; ++k) packed.List({0xFF, 0});
  packed.List({1, 0xC0, 0, 1, 0x80, 0, 1, 0x40, 0});
  for (int k = 0; k < 6; ++k) packed.List({0xFF, 0});
  for (int k = 0; k < 8; ++k) packed.List({1, 0x80, 0});
  packed.U8(0);
  EXPECT_EQ(Save(*image, 1), packed.bytes());
}

TEST_F(IffTest, RowsAreOfEvenSize) {
  for (const int width : {1, 16, 17, 33}) {
    const Bytes file = Save(*Drawing(width, 3), 0);
    EXPECT_EQ(file.size(), 48u + 3 * 24 * static_cast<std::size_t>((width + 15) / 16 * 2));
  }
}

TEST_F(IffTest, SavingReportsAndStops) {
  const ImageGuard image = Drawing(5, 20);
  Save(*image, 1);
  ASSERT_EQ(host.progress.size(), 1u);
  EXPECT_EQ(host.progress[0].title, "Writing IFF");
  EXPECT_EQ(host.progress[0].total, 20);
  EXPECT_EQ(host.abortableCalls, 3);
  host.Clear();
  host.stopAt = 2;
  Save(*image, 1, 1);
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
}

TEST_F(IffTest, TooLargeForTheHeader) {
  for (const auto& [width, height] : {std::pair{65536, 1}, {1, 65536}}) {
    const ImageGuard image = Solid(width, height, {1, 2, 3, 255});
    Save(*image, 1, 1);
    EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
    EXPECT_EQ(host.errors,
              (std::vector<std::string>{"An IFF file holds at most 65535 x 65535 pixels"}));
    host.Clear();
  }
  const ImageGuard widest = Solid(65535, 1, {1, 2, 3, 255});
  const ImageGuard loaded = Load(Save(*widest, 1));
  ASSERT_TRUE(loaded);
  EXPECT_EQ(Difference(*widest, *loaded, Channels::rgb), "");
}

// Rows in run-length code

class ByteRunTest : public LibraryTest {
 protected:
  void ExpectPacks(const Bytes& row) {
    Bytes packed(MostByteRun(row.size()));
    packed.resize(PackByteRun(row.data(), row.size(), packed.data()));
    ASSERT_NO_FATAL_FAILURE(ExpectLegal(packed, row));
  }

  /// Unpacks with a decoder of its own and looks at every stretch.
  static void ExpectLegal(const Bytes& packed, const Bytes& row) {
    Bytes unpacked;
    for (std::size_t at = 0; at < packed.size();) {
      const unsigned control = packed[at++];
      ASSERT_NE(control, 128u);
      if (control > 128) {
        ASSERT_LT(at, packed.size());
        unpacked.insert(unpacked.end(), 257 - control, packed[at++]);
        continue;
      }
      ASSERT_LE(at + control + 1, packed.size());
      for (unsigned i = 0; i <= control; ++i, ++at) {
        unpacked.push_back(packed[at]);
        const bool three =
            i + 2 <= control && packed[at] == packed[at + 1] && packed[at] == packed[at + 2];
        ASSERT_FALSE(three) << "three equal bytes in a copy";
      }
    }
    ASSERT_EQ(unpacked, row);
  }
};

TEST_F(ByteRunTest, PacksByHand) {
  const auto pack = [](const Bytes& row) {
    Bytes packed(MostByteRun(row.size()));
    packed.resize(PackByteRun(row.data(), row.size(), packed.data()));
    return packed;
  };
  EXPECT_EQ(pack({5}), (Bytes{0, 5}));
  EXPECT_EQ(pack({5, 5, 5, 6, 7, 7, 8, 9, 9, 9}), (Bytes{0xFE, 5, 4 - 1, 6, 7, 7, 8, 0xFE, 9}));
  EXPECT_EQ(pack(Bytes(130, 1)), (Bytes{0x81, 1, 0xFF, 1}));
}

TEST_F(ByteRunTest, PacksAllShortRows) {
  unsigned rows = 1;
  for (std::size_t size = 1; size <= 8; ++size) {
    rows *= 3;
    for (unsigned number = 0; number < rows; ++number) {
      Bytes row(size);
      unsigned digits = number;
      for (std::uint8_t& byte : row) {
        byte = static_cast<std::uint8_t>(digits % 3);
        digits /= 3;
      }
      ExpectPacks(row);
      if (HasFatalFailure()) return;
    }
  }
}

TEST_F(ByteRunTest, PacksLongRowsAndReadsThem) {
  std::uint32_t random = 1;
  Bytes file;
  std::vector<Bytes> rows;
  for (std::size_t size = 100; size <= 8192; size += 607) {
    for (const unsigned kinds : {1u, 2u, 5u, 256u}) {
      Bytes row(size);
      for (std::uint8_t& byte : row) {
        random = random * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>((random >> 16) % kinds);
      }
      ExpectPacks(row);
      Bytes packed(MostByteRun(size));
      packed.resize(PackByteRun(row.data(), size, packed.data()));
      file.insert(file.end(), packed.begin(), packed.end());
      rows.push_back(row);
    }
  }
  FileReader in(temp.Write("rows", file).c_str());
  std::uint64_t left = file.size();
  for (const Bytes& row : rows) {
    Bytes got(row.size());
    EXPECT_TRUE(ReadByteRun(in, &left, got.data(), got.size()));
    ASSERT_EQ(got, row);
  }
  EXPECT_EQ(left, 0u);
}

TEST_F(ByteRunTest, ReadsWhatIsThere) {
  const auto read = [&](const Bytes& file, std::uint64_t left, const Bytes& expected) {
    FileReader in(temp.Write("row", file).c_str());
    Bytes row(4, 0xEE);
    EXPECT_FALSE(ReadByteRun(in, &left, row.data(), row.size()));
    EXPECT_EQ(row, expected);
  };
  read({3, 1, 2}, 100, {1, 2, 0, 0});         // the file ends in a copy
  read({3, 1, 2, 3, 4, 5}, 3, {1, 2, 0, 0});  // the chunk does
  read({0, 9, 0xFE}, 100, {9, 0, 0, 0});      // in front of the byte to repeat
  read(Bytes(20000, 128), 20000, {0, 0, 0, 0});
}

}  // namespace
}  // namespace imx::test
