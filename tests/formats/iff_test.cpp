// ILBM files built by hand, the container around all IFF files, and the run-length code of rows.

#include "formats/iff.h"

#include "formats/byterun.h"
#include "imagelib/file_reader.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"
#include "imagelib/registry.h"
#include "imagelib/save_outcome.h"
#include "tests/formats/format_test.h"
#include "tests/formats/iff_builder.h"

namespace imx::test {
namespace {

using Row = std::vector<Rgba>;

class IffTest : public FormatTest<LoadIff> {
 protected:
  template <typename... Chunks>
  ImageGuard LoadIlbm(const IlbmHeader& header, const Chunks&... chunks) {
    return Load(IffForm("ILBM", IffHeader(header), chunks...));
  }

  Bytes Save(const ImageRecord& image, std::int32_t compression) {
    BeginSaveOutcome();
    return Saved<SaveIff>(image, 0, compression);
  }
};

/// A "CMAP" of `count` colours: entry i is (4 * i, 255 - i, i + 100).
Bytes ColourMap(int count) {
  ByteBuilder data = BigEndian();
  for (int i = 0; i < count; ++i) data.List({4 * i, 255 - i, i + 100});
  return IffChunk("CMAP", data.bytes());
}

Row Colours(std::initializer_list<int> entries) {
  Row colours;
  for (const int i : entries) {
    colours.push_back({static_cast<std::uint8_t>(4 * i), static_cast<std::uint8_t>(255 - i),
                       static_cast<std::uint8_t>(i + 100), 0});
  }
  return colours;
}

/// The plane rows of one row of at most 16 values, lowest plane first.
Bytes PlaneRows(int planes, const std::vector<unsigned>& values) {
  ByteBuilder rows = BigEndian();
  for (int plane = 0; plane < planes; ++plane) {
    unsigned bits = 0;
    for (std::size_t x = 0; x < values.size(); ++x) {
      const bool set = plane < 32 && (values[x] >> plane & 1) != 0;
      bits |= (set ? 1u : 0u) << (15 - x);
    }
    rows.U16(bits);
  }
  return rows.bytes();
}

Bytes Body(const Bytes& data) {
  return IffChunk("BODY", data);
}

TEST_F(IffTest, IndexedPlanes) {
  // Rows of two bytes, of which 5 bits are unused, and set.
  const Bytes body = PlaneRows(2, {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 3, 3, 3, 3});
  const ImageGuard image = LoadIlbm({11, 1, 2}, ColourMap(4), Body(body));
  EXPECT_EQ(Pixels(image), Colours({0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2}));
  EXPECT_EQ(image->depth, 2u);
  EXPECT_EQ(image->paletteCount, 4);
  EXPECT_EQ(image->palette.green[3], 252);
  EXPECT_EQ(image->fileType, kTypeIff);
  EXPECT_STREQ(image->formatLabel, "IFF/ILBM");
  EXPECT_EQ(image->path, temp.file("in"));
}

TEST_F(IffTest, HoldAndModify) {
  // 6 planes: colour 1; blue, red, green made 15, 10 and 5 times 17; colour 2. Every row begins
  // with colour 0.
  const Bytes six = PlaneRows(6, {0x1F, 0x01, 0x1F, 0x2A, 0x35, 0x02});
  EXPECT_EQ(
      RgbBytes(LoadIlbm({6, 2, 6}, ColourMap(16), Body(six + PlaneRows(6, {0x2F})))),
      (Bytes{0,   255, 255, 4, 254, 101, 4, 254, 255, 170, 254, 255, 170, 85,  255, 8, 253, 102,
             255, 255, 100, 0, 255, 100, 0, 255, 100, 0,   255, 100, 0,   255, 100, 0, 255, 100}));
  // The map's size tells it: the same values with 32 colours are indices. Or the view mode does.
  EXPECT_EQ(Pixels(LoadIlbm({1, 1, 6}, ColourMap(32), Body(six))), Colours({31}));
  EXPECT_EQ(Pixels(LoadIlbm({2, 1, 4}, ColourMap(16), Body(PlaneRows(4, {15, 9})))),
            Colours({15, 9}));
  EXPECT_EQ(Pixels(LoadIlbm({6, 1, 6}, ColourMap(32), IffViewMode(0x800), Body(six)))[3],
            (Rgba{170, 254, 255, 0}));
}

TEST_F(IffTest, ExtraHalfBrite) {
  const Bytes body = Body(PlaneRows(6, {3, 35, 63})), mode = IffViewMode(0x80);
  const IlbmHeader header = {.width = 3, .planes = 6};
  // 32 colours, the mode in front of the map, behind it, and behind the body; 64 colours, of which
  // the upper half is replaced.
  for (const ImageGuard& image :
       {LoadIlbm(header, mode, ColourMap(32), body), LoadIlbm(header, ColourMap(32), mode, body),
        LoadIlbm(header, body, ColourMap(32), mode), LoadIlbm(header, mode, ColourMap(64), body)}) {
    EXPECT_EQ(Pixels(image), (Row{Colours({3})[0], {6, 126, 51, 0}, {62, 112, 65, 0}}));
    EXPECT_EQ(image->paletteCount, 64);
  }
}

TEST_F(IffTest, MaskPlaneIsPassedOver) {
  // 2 planes and the mask; two rows. A key colour (masking 2) comes without a plane.
  const Bytes masked = {0xC0, 0, 0xA0, 0, 0xFF, 0xFF, 0x40, 0, 0x40, 0, 0xFF, 0xFF};
  const Bytes keyed = {0xC0, 0, 0xA0, 0, 0x40, 0, 0x40, 0};
  const Row wanted = Colours({3, 1, 2, 0, 3, 0});
  EXPECT_EQ(Pixels(LoadIlbm({3, 2, 2, 1}, ColourMap(4), Body(masked))), wanted);
  EXPECT_EQ(Pixels(LoadIlbm({3, 2, 2, 2}, ColourMap(4), Body(keyed))), wanted);
}

TEST_F(IffTest, TrueColourPlanes) {
  const std::vector<unsigned> values = {0x563412, 0xFF0080, 0x00C001};  // blue, green, red
  const Row wanted = {{0x12, 0x34, 0x56, 0}, {0x80, 0x00, 0xFF, 0}, {0x01, 0xC0, 0x00, 0}};
  const Bytes rows = PlaneRows(24, values);
  const ImageGuard deep = LoadIlbm({3, 1, 24}, Body(rows));
  EXPECT_EQ(Pixels(deep), wanted);
  EXPECT_EQ(deep->depth, 24u);
  EXPECT_EQ(Pixels(LoadIlbm({3, 1, 32}, Body(rows + Bytes(16, 0xFF)))), wanted)
      << "planes above 23 are passed over";
  EXPECT_EQ(Pixels(LoadIlbm({3, 1, 12}, Body(PlaneRows(12, values)))),
            (Row{{0x12, 0x04, 0, 0}, {0x80, 0, 0, 0}, {0x01, 0, 0, 0}}))
      << "missing ones are 0";
}

TEST_F(IffTest, ContainerRules) {
  const Bytes header = IffHeader({2, 1, 1}), map = ColourMap(2), body = Body({0x40, 0});
  const Row wanted = Colours({0, 1});
  const auto loaded = [&](const auto&... chunks) {
    return Pixels(Load(IffForm("ILBM", chunks...)));
  };
  EXPECT_EQ(loaded(body, map, header), wanted) << "in any order";
  EXPECT_EQ(loaded(header, IffHeader({9, 9}), map, body, Body({0x80, 0})), wanted)
      << "the first header and the first body count";
  EXPECT_EQ(loaded(map, body), Row());
  EXPECT_EQ(loaded(IffHeader({0, 5}), body), Row());
  EXPECT_EQ(loaded(header, map), Row(2, Rgba{0, 0, 0, 0}));
  // Chunks of framestore files, the first longer than any table; they are plain bit planes.
  EXPECT_EQ(
      loaded(header, map, IffChunk("CLUT", Bytes(3001, 7)), IffChunk("DPI ", {0, 72, 0, 72}), body),
      wanted);

  const Bytes whole = IffForm("ILBM", header, map, IffText("ANNO", "in"), body);
  const auto named = [&](std::size_t at, std::string_view id) {
    return Part(whole, 0, at) + Bytes(id.begin(), id.end()) + Part(whole, at + 4);
  };
  EXPECT_EQ(Pixels(Load(named(0, "LIST"))), wanted);
  EXPECT_FALSE(Load(named(8, "8SVX")));
  EXPECT_FALSE(Load(named(0, "ILBM")));
  EXPECT_STREQ(Load(whole + IffText("ANNO", "behind"))->comment, "in");
  // A form and a body that claim more than there is.
  Bytes greedy = WithByte(whole, whole.size() - 6, 0xFF);
  std::fill_n(&greedy[4], 4, 0xFF);
  EXPECT_EQ(Pixels(Load(greedy)), wanted);

  // Odd chunks with a pad byte, of any value, and without.
  const Bytes padded = IffForm("ILBM", header, IffChunk("THUM", {1, 2, 3}), map, body);
  constexpr std::size_t kPad = 12 + 28 + 11;
  EXPECT_EQ(Pixels(Load(padded)), wanted);
  EXPECT_EQ(Pixels(Load(WithByte(padded, kPad, 'B'))), wanted);
  EXPECT_EQ(Pixels(Load(Part(padded, 0, kPad) + Part(padded, kPad + 1))), wanted);
}

TEST_F(IffTest, Texts) {
  const std::string most(98, 'a');
  const ImageGuard image =
      LoadIlbm({.planes = 1}, IffText("AUTH", most + "bc"), IffText("(c) ", most + "d"),
               IffText("ANNO", std::string(255, 'n') + std::string(4000, 'm')));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->author, most);
  EXPECT_EQ(image->notice, most);
  EXPECT_EQ(image->comment, std::string(255, 'n'));
}

TEST_F(IffTest, AStopKeepsTheRowsRead) {
  host.stopAt = 1;
  const ImageGuard image =
      LoadIlbm({1, 4, 1}, ColourMap(2), Body({0x80, 0, 0x80, 0, 0x80, 0, 0x80, 0}),
               IffText("ANNO", "behind"));
  EXPECT_THAT(Pixels(image),
              testing::ElementsAre(Colours({1})[0], Colours({1})[0], Rgba{}, Rgba{}));
  EXPECT_STREQ(image->comment, "behind");
}

Bytes Vertical(const Bytes& commands, const Bytes& words) {
  ByteBuilder data = BigEndian();
  data.U16(static_cast<std::uint32_t>(commands.size() + 2)).Raw(commands).Raw(words);
  return IffChunk("VDAT", data.bytes());
}

TEST_F(IffTest, OtherProgramsWays) {
  const Bytes map = ColourMap(4), row = PlaneRows(2, {1, 2, 3}), mask = {0xA0, 0};
  const Bytes indexed = IffHeader({3, 1, 2}), form = IffForm("ILBM", indexed, map, Body(row));
  const auto opaque = [](Row colours, std::initializer_list<int> alpha) {
    for (std::size_t i = 0; i < colours.size(); ++i) {
      colours[i].a = static_cast<std::uint8_t>(alpha.begin()[i]);
    }
    return colours;
  };
  const auto list = [&](std::string_view id, const Bytes& chunks) {
    const Bytes type = {'I', 'L', 'B', 'M'};
    return IffChunk(id, type + chunks);
  };
  const Bytes wide = PlaneRows(48, {0}), ham = PlaneRows(5, {1, 0x1F, 2});
  const auto header = [](IlbmHeader fields, int compression, int transparent) {
    return WithByte(WithByte(IffHeader(fields), 18, compression), 21, transparent);
  };
  const Bytes narrow = BigEndian().Words({0, 1, 1, 1, 1, 1, 1, 1}).Longs({1}).bytes();
  const Bytes broad = BigEndian().Words({0, 2, 0, 1, 1, 3, 3, 1}).Longs({1}).bytes();
  const Row plain = Colours({1, 2, 3}), none;
  const auto deep = [](const Bytes& size, std::initializer_list<std::int64_t> kinds,
                       const Bytes& body) {
    const auto count = static_cast<std::uint32_t>(kinds.size() / 2);
    return IffForm("DEEP", IffChunk("DGBL", size + Bytes{1, 1}),
                   IffChunk("DPEL", BigEndian().Longs({count}).Words(kinds).bytes()),
                   IffChunk("TVDC", BigEndian().Words({0, 1, -1, 5}).bytes() + Bytes(24, 0)),
                   IffChunk("DBOD", body));
  };
  struct Case {
    QuirkId quirk;
    Bytes file;
    Row ours, theirs;
  };
  const Case cases[] = {
      {kIlbmContainers, IffForm("PBM ", header({3, 1, 8}, 1, 0), map, Body({3, 1, 2, 3, 0})), none,
       plain},
      {kIlbmContainers, list("LIST", list("PROP", indexed + map) + form), none, plain},
      {kIlbmContainers, list("CAT ", IffForm("8SVX") + list("LIST", form)), none, plain},
      {kIlbmAlphaPlanes,
       IffForm("ILBM", IffHeader({1, 1, 32}), Body(PlaneRows(32, {0x81030201}))),
       {{1, 2, 3, 0}},
       {{1, 2, 3, 0x81}}},
      {kIlbmAlphaPlanes,
       IffForm("ILBM", IffHeader({1, 1, 48}),
               Body(Part(wide, 0, 16) + Bytes{0x80, 0} + Part(wide, 18))),
       {{0, 1, 0, 0}},
       {{1, 0, 0, 0}}},
      {kIlbmHam,
       IffForm("ILBM", IffHeader({3, 1, 5}), IffViewMode(0x800), ColourMap(32), Body(ham)),
       Colours({1, 31, 2}),
       {{4, 254, 101, 0}, {4, 254, 255, 0}, {8, 253, 102, 0}}},
      {kIlbmVertical,
       IffForm("ILBM", header({1, 3, 1}, 2, 0), map,
               Body(Vertical({1, 0xFF}, {0, 2, 0x80, 0, 0, 0}))),
       Colours({0, 0, 0}), Colours({1, 1, 0})},
      {kIlbmMask, IffForm("ILBM", IffHeader({3, 1, 2, 1}), map, Body(row + mask)), plain,
       opaque(plain, {255, 0, 255})},
      {kIlbmMask, IffForm("ILBM", header({3, 1, 2, 2}, 0, 2), map, Body(row)), plain,
       opaque(plain, {255, 0, 255})},
      {kIlbmLinePalettes,
       IffForm("ILBM", IffHeader({1, 2, 2}), map,
               IffChunk("SHAM", Bytes(36, 0) + Bytes{0x0F, 0x18} + Bytes(28, 0)),
               Body(PlaneRows(2, {1}) + PlaneRows(2, {1}))),
       Colours({1, 1}),
       {{0, 0, 0, 0}, {255, 17, 136, 0}}},
      {kIlbmLinePalettes,
       IffForm("ILBM", IffHeader({1, 2, 2}), map,
               IffChunk("PCHG", narrow + Bytes{0x80, 0, 0, 0, 1, 0, 0x1F, 0x18}),
               Body(PlaneRows(2, {1}) + PlaneRows(2, {1}))),
       Colours({1, 1}),
       {Colours({1})[0], {255, 17, 136, 0}}},
      {kIlbmLinePalettes,
       IffForm("ILBM", IffHeader({1, 1, 2}), map,
               IffChunk("PCHG", broad + Bytes{0x80, 0, 0, 0, 0, 1, 0, 3, 0, 9, 8, 7}),
               Body(PlaneRows(2, {3}))),
       Colours({3}),
       {{9, 7, 8, 0}}},
      {kIlbmChunky,
       deep({0, 1, 0, 2, 0, 0}, {3, 16, 2, 8, 1, 8}, {30, 0, 20, 10, 31, 0, 21, 11}),
       none,
       {{10, 20, 30, 0}, {11, 21, 31, 0}}},
      {kIlbmChunky,
       deep({0, 2, 0, 2, 0, 1}, {1, 8, 2, 8, 3, 8, 4, 8},
            {0, 1, 2, 3, 9, 0xFF, 4, 5, 6, 8, 0, 1, 2, 3, 7}),
       none,
       {{1, 2, 3, 9}, {4, 5, 6, 8}, {4, 5, 6, 8}, {1, 2, 3, 7}}},
      {kIlbmChunky,
       deep({0, 3, 0, 1, 0, 5}, {1, 8, 2, 8, 3, 8}, {0x30, 0x10, 0x12, 0x30, 0x01, 0x10}),
       none,
       {{5, 1, 0, 0}, {5, 0, 0, 0}, {5, 5, 1, 0}}}};
  for (const Case& c : cases) {
    EXPECT_EQ(Pixels(Load(c.file)), c.ours) << Quirks()[c.quirk].name;
    const QuirkScope scope(QuirkSet().set(c.quirk));
    EXPECT_EQ(Pixels(Load(c.file)), c.theirs) << Quirks()[c.quirk].name;
    EXPECT_TRUE(scope.applied()[c.quirk]);
    for (std::size_t size = 0; size < c.file.size(); ++size) Load(Part(c.file, 0, size));
  }
  const QuirkScope scope(AllQuirks());
  BeginLoadOutcome();
  Load(deep({0, 1, 0, 2, 0, 0}, {1, 8, 2, 8, 3, 8}, {1, 2, 3, 0}));
  EXPECT_TRUE(PixelsAreDamaged()) << "the file does not end early";
  EXPECT_FALSE(FileEndedEarly(true));
}

TEST_F(IffTest, HuffmanCodedPaletteChanges) {
  // The root is the last word: a 1 is byte 0, a 0 goes on one word in front. There a 0 is byte 1,
  // and a 1 goes back by two words, where a 0 is byte 0x18 and a 1 byte 0x80.
  const Bytes tree = BigEndian().Words({0x118, 0x80, 0x101, 0xFFFC, 0}).bytes();
  // 80 00 00 00, 01 00, 18 18: of line 0, colour 1 becomes 8, 1, 8 of 15.
  const Bytes code = {0x7C, 0xA4, 0, 0};
  ByteBuilder data = BigEndian();
  data.Words({1, 1, 0, 1, 1, 1, 1, 1}).Longs({1, 10, 8}).Raw(tree).Raw(code);
  const QuirkScope scope(AllQuirks());
  EXPECT_EQ(Pixels(LoadIlbm({1, 1, 2}, ColourMap(4), IffChunk("PCHG", data.bytes()),
                            Body(PlaneRows(2, {1})))),
            (Row{{136, 17, 136, 0}}));
}

TEST_F(IffTest, WritesAMask) {
  const ImageGuard image = FromPixels(2, 1, Row{{1, 2, 3, 127}, {4, 5, 6, 128}});
  const Bytes exact = Save(*image, 1);
  image->flags |= kFlagAlpha;
  EXPECT_EQ(Save(*image, 1), exact);
  const QuirkScope scope(AllQuirks());
  for (const int compression : {0, 1}) {
    EXPECT_EQ(Pixels(Load(Save(*image, compression))), (Row{{1, 2, 3, 0}, {4, 5, 6, 255}}));
  }
}

// Writing

TEST_F(IffTest, SavesByHand) {
  const ImageGuard image = FromPixels(2, 1, Row{{0x80, 0x01, 0xFF, 9}, {0x80, 0x02, 0x00, 9}});
  const auto file = [](int compression, std::uint32_t size) {
    ByteBuilder head = BigEndian();
    head.Text("FORM").U32(4 + 28 + 8 + size + size % 2).Text("ILBM").Text("BMHD").U32(20);
    head.U16(2).U16(1).U32(0).List({24, 0, compression, 0, 0, 0, 0, 0}).U16(2).U16(1);
    return head.Text("BODY").U32(size);
  };
  ByteBuilder plain = file(0, 48);
  plain.Repeat(0, 14).List({0xC0, 0});                // red: bit 7 of both
  plain.List({0x80, 0, 0x40, 0}).Repeat(0, 12);       // green: bit 0 of one, 1 of the other
  for (int k = 0; k < 8; ++k) plain.List({0x80, 0});  // blue: all of the first
  EXPECT_EQ(Save(*image, 0), plain.bytes());
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::whole);

  // Packed, every two zeros are a run, and other rows a copy of two.
  ByteBuilder packed = file(1, 59);
  for (int k = 0; k < 7; ++k) packed.List({0xFF, 0});
  packed.List({1, 0xC0, 0, 1, 0x80, 0, 1, 0x40, 0});
  for (int k = 0; k < 6; ++k) packed.List({0xFF, 0});
  for (int k = 0; k < 8; ++k) packed.List({1, 0x80, 0});
  EXPECT_EQ(Save(*image, 1), packed.U8(0).bytes());
}

TEST_F(IffTest, TooLargeForTheHeader) {
  for (const auto& [width, height] : {std::pair{65536, 1}, {1, 65536}}) {
    host.Clear();
    Save(*Solid(width, height, {1, 2, 3, 255}), 1);
    EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
    EXPECT_THAT(host.errors,
                testing::ElementsAre("An IFF file holds at most 65535 x 65535 pixels"));
  }
  const ImageGuard loaded = Load(Save(*Solid(65535, 1, {1, 2, 3, 255}), 1));
  ASSERT_TRUE(loaded);
  EXPECT_EQ(loaded->width, 65535);
}

// Rows in run-length code

class ByteRunTest : public LibraryTest {
 protected:
  static Bytes Pack(const Bytes& row) {
    Bytes packed(MostByteRun(row.size()));
    packed.resize(PackByteRun(row.data(), row.size(), packed.data()));
    return packed;
  }
};

TEST_F(ByteRunTest, PacksByHand) {
  EXPECT_EQ(Pack({5}), (Bytes{0, 5}));
  EXPECT_EQ(Pack({5, 5, 5, 6, 7, 7, 8, 9, 9, 9}), (Bytes{0xFE, 5, 4 - 1, 6, 7, 7, 8, 0xFE, 9}));
  EXPECT_EQ(Pack(Bytes(130, 1)), (Bytes{0x81, 1, 0xFF, 1}));
}

TEST_F(ByteRunTest, ReadsWhatItPacks) {
  std::vector<Bytes> rows;
  for (std::size_t size = 1, count = 3; size <= 8; ++size, count *= 3) {  // all of three values
    for (std::size_t number = 0; number < count; ++number) {
      Bytes& row = rows.emplace_back();
      for (std::size_t digits = number; row.size() < size; digits /= 3) {
        row.push_back(static_cast<std::uint8_t>(digits % 3));
      }
    }
  }
  for (std::size_t size = 100; size <= 8192; size += 607) {
    for (const unsigned kinds : {1u, 2u, 5u, 256u}) rows.push_back(NoiseBytes(size, kinds, kinds));
  }
  ByteBuilder file = BigEndian();
  for (const Bytes& row : rows) file.Raw(Pack(row));
  FileReader in(temp.Write("rows", file.bytes()).c_str());
  std::uint64_t left = file.size();
  for (const Bytes& row : rows) {
    Bytes got(row.size());
    EXPECT_TRUE(ReadByteRun(in, &left, got.data(), got.size()));
    ASSERT_EQ(got, row);
  }
  EXPECT_EQ(left, 0u);
}

TEST_F(ByteRunTest, ReadsWhatIsThere) {
  const auto read = [&](const Bytes& file, std::uint64_t left, const Bytes& expected,
                        bool whole = false) {
    FileReader in(temp.Write("row", file).c_str());
    Bytes row(4, 0xEE);
    EXPECT_EQ(ReadByteRun(in, &left, row.data(), row.size()), whole);
    EXPECT_EQ(row, expected);
  };
  read({0x80, 1, 7, 8, 0xF0, 9}, 100, {7, 8, 9, 9}, true);  // nothing, a copy, a run that is cut
  read({3, 1, 2}, 100, {1, 2, 0, 0});                       // the file ends in a copy
  read({3, 1, 2, 3, 4, 5}, 3, {1, 2, 0, 0});                // the chunk does
  read({0, 9, 0xFE}, 100, {9, 0, 0, 0});                    // in front of the byte to repeat
  read(Bytes(20000, 128), 20000, {0, 0, 0, 0});
}

}  // namespace
}  // namespace imx::test
