#include "formats/softimage.h"

#include "imagelib/quirks.h"
#include "imagelib/save_outcome.h"
#include "tests/formats/format_test.h"
#include "tests/formats/station_builder.h"
#include "tests/support/fault_injection.h"

namespace imx::test {
namespace {

using testing::ElementsAre;

class SoftimageTest : public FormatTest<LoadSoftimage> {};

const Bytes kRaw = {0, 8, 0, 0xE0};
const Bytes kMixed = {0, 8, 2, 0xE0};
const Bytes kColourFirst = {1, 8, 2, 0xE0, 0, 8, 2, 0x10};
const Bytes kAlphaFirst = {1, 8, 2, 0x10, 0, 8, 2, 0xE0};

TEST_F(SoftimageTest, MixedRuns) {
  const Bytes row = {1, 1, 2, 3, 4, 5, 6, 128, 0, 0, 9, 9, 9, 129, 7, 8, 9, 128, 0, 1, 1, 1, 1};
  const ImageGuard image = Load(SoftimageFile(5, 1, kMixed, row));
  EXPECT_THAT(Pixels(image), ElementsAre(Rgba{1, 2, 3, 255}, Rgba{4, 5, 6, 255}, Rgba{7, 8, 9, 255},
                                         Rgba{7, 8, 9, 255}, Rgba{1, 1, 1, 255}));
  EXPECT_EQ(image->flags & kFlagAlpha, 0u);
}

TEST_F(SoftimageTest, Packets) {
  for (const Bytes& packets : {kColourFirst, kAlphaFirst}) {
    const ImageGuard image = Load(SoftimageFile(2, 1, packets, {128, 0, 2, 1, 2, 3, 1, 10, 20}));
    EXPECT_THAT(Pixels(image), ElementsAre(Rgba{1, 2, 3, 10}, Rgba{1, 2, 3, 20}));
    EXPECT_TRUE(image->flags & kFlagAlpha);
  }
  EXPECT_THAT(Pixels(Load(SoftimageFile(1, 1, {0, 8, 0, 0x10}, {1, 2, 3}))),
              ElementsAre(Rgba{1, 2, 3, 255}))
      << "a single packet is colour";
}

TEST_F(SoftimageTest, PacketsByTypeAndChannels) {
  struct Case {
    Bytes packets, body;
    std::vector<Rgba> ours, theirs;
  };
  const Case cases[] = {{{0, 8, 0, 0xF0},
                         {1, 2, 3, 4, 5, 6, 7, 8},
                         {{1, 2, 3, 255}, {4, 5, 6, 255}},
                         {{1, 2, 3, 4}, {5, 6, 7, 8}}},
                        {{0, 8, 1, 0xE0},
                         {2, 1, 2, 3},
                         {{0, 0, 0, 0}, {0, 0, 0, 0}},
                         {{1, 2, 3, 255}, {1, 2, 3, 255}}},
                        {kAlphaFirst,
                         {1, 7, 8, 129, 1, 2, 3},
                         {{7, 8, 129, 255}, {1, 2, 3, 255}},
                         {{1, 2, 3, 7}, {1, 2, 3, 8}}},
                        {{1, 16, 0, 0x80, 1, 8, 2, 0x60, 0, 8, 0, 0x10},
                         {1, 0, 2, 0, 129, 3, 4, 5, 6},
                         {},
                         {{1, 3, 4, 5}, {2, 3, 4, 6}}}};
  for (const Case& c : cases) {
    const Bytes file = SoftimageFile(2, 1, c.packets, c.body);
    EXPECT_EQ(Pixels(Load(file)), c.ours);
    const QuirkScope scope(AllQuirks());
    EXPECT_EQ(Pixels(Load(file)), c.theirs);
    for (std::size_t size = 100; size < file.size(); ++size) Load(Part(file, 0, size));
  }
  const QuirkScope scope(AllQuirks());
  for (const Bytes& packets :
       {Bytes{0, 8, 0, 0x08}, {0, 24, 0, 0xE0}, {0, 8, 3, 0xE0}, {1, 8, 0, 0x80}}) {
    EXPECT_FALSE(Load(SoftimageFile(1, 1, packets, {})));
  }
}

TEST_F(SoftimageTest, NamesWhatIsWrongWithHeaders) {
  const Bytes good = SoftimageFile(1, 1, kColourFirst, {});
  const std::pair<std::size_t, const char*> cuts[] = {
      {3, "could not read magic number"},
      {80, "could not read file comment"},
      {90, "could not read ID"},
      {92, "width and/or height illegal or unreadable"},
      {95, "width and/or height illegal or unreadable"},
      {103, "could not read header pad"}};
  for (const auto& [size, message] : cuts) {
    EXPECT_EQ(Refusal(Part(good, 0, size)), std::string("Softimage loader: ") + message);
  }
  for (std::size_t i = 0; i < 8; ++i) {
    const char* const parts[] = {"chained info", "size info", "type info", "specification"};
    EXPECT_EQ(Refusal(Part(good, 0, 104 + i)), std::string("Softimage loader: could not read ") +
                                                   (i < 4 ? "first" : "second") + " channel " +
                                                   parts[i % 4]);
  }
  struct Change {
    std::size_t offset;
    int value;
    const char* message;
  };
  const Change changes[] = {{0, 0, "magic number does not validate"},
                            {88, 'p', "ID string failed to validate"},
                            {93, 0, "width and/or height illegal or unreadable"},
                            {95, 0, "width and/or height illegal or unreadable"},
                            {101, 4, "unknown field type: \"4\""},
                            {105, 16, "RGB channel not 8 bit"},
                            {107, 0x10, "incomprehensible channel format (1)"},
                            {107, 0xC0, "incomprehensible channel format (2)"},
                            {111, 0x20, "incomprehensible channel format (3)"},
                            {109, 4, "Alpha channel not 8 bit"},
                            {108, 1, "unknown Softimage file format - more than two channels"}};
  for (const Change& c : changes) {
    EXPECT_EQ(Refusal(WithByte(good, c.offset, c.value)),
              std::string("Softimage loader: ") + c.message);
  }
}

TEST_F(SoftimageTest, KeepsWhatCameBeforeAFault) {
  struct Fault {
    Bytes packets, body;
    const char* message;
  };
  // In the second pixel, or row; the alpha packet borrows the colour packet's texts for blue and
  // red.
  const Fault faults[] = {{kMixed, {0, 0, 0, 0, 1}, "copy length overrun"},
                          {kMixed, {0, 0, 0, 0, 129}, "repeat length overrun"},
                          {kMixed, {128, 1, 0, 0, 0, 0}, "repeat length overrun"},
                          {kMixed, {}, "failed to read pixel count data"},
                          {kMixed, {1}, "could not read copy object r"},
                          {kMixed, {1, 0, 0, 0, 9}, "could not read copy object g"},
                          {kMixed, {1, 0, 0}, "could not read copy object b"},
                          {kMixed, {129}, "could not read repeat object r"},
                          {kMixed, {129, 0}, "could not read repeat object g"},
                          {kMixed, {129, 0, 0}, "could not read repeat object b"},
                          {kColourFirst, {1, 5}, "could not read copy object b"},
                          {kColourFirst, {129}, "could not read repeat object r"}};
  for (const Fault& f : faults) {
    const Bytes row = {129, 1, 2, 3}, alpha = {129, 9};
    const bool colour = f.packets == kMixed;
    const Bytes file = SoftimageFile(2, 2, f.packets, (colour ? row : row + alpha + row) + f.body);
    EXPECT_EQ(Refusal(file), std::string("loaded: Softimage loader: ") + f.message);
    const ImageGuard image = Load(file);
    EXPECT_EQ(PixelAt(*image, 1, 0), (Rgba{1, 2, 3, static_cast<std::uint8_t>(colour ? 255 : 9)}));
  }
  const Bytes rawAlpha = {1, 8, 0, 0xE0, 0, 8, 0, 0x10};
  const Fault raw[] = {{kRaw, {}, "red"},
                       {kRaw, {1}, "green"},
                       {kRaw, {1, 2}, "blue"},
                       {rawAlpha, {1, 2, 3}, "alpha"}};
  for (const Fault& f : raw) {
    EXPECT_EQ(Refusal(SoftimageFile(1, 1, f.packets, f.body)),
              std::string("loaded: Softimage loader: failed to read uncompressed ") + f.message +
                  " component byte");
  }
}

TEST_F(SoftimageTest, Saves) {
  const ImageGuard image = FromPixels(2, 1, std::vector<Rgba>{{1, 2, 3, 4}, {5, 6, 7, 8}});
  Bytes wanted = SoftimageFile(2, 1, kRaw, {1, 2, 3, 5, 6, 7});
  const std::string_view comment = "Written by Quillmark IMX";
  std::copy(comment.begin(), comment.end(), wanted.begin() + 8);
  EXPECT_EQ(Saved<SaveSoftimage>(*image), wanted);
  EXPECT_EQ(IsSoftimage(temp.file("out").c_str()), 1);
  image->flags |= kFlagAlpha;
  EXPECT_EQ(Part(Saved<SaveSoftimage>(*image), 104),
            (Bytes{1, 8, 0, 0xE0, 0, 8, 0, 0x10, 1, 2, 3, 5, 6, 7, 4, 8}));
  SaveSoftimage(temp.file("no/such").c_str(), image.get());
  EXPECT_THAT(host.errors, ElementsAre("Softimage saver: could not open file"));
}

// 32660 data bytes join the 108 header bytes in the piece that the disk refuses.
TEST_F(SoftimageTest, GoesOnAfterAFailedByte) {
  const ImageGuard image = Solid(160, 120, {1, 2, 3, 255});
  const std::string path = temp.file("out.pic");
  BeginSaveOutcome();
  {
    const WriteFailure failure(0);
    SaveSoftimage(path.c_str(), image.get());
  }
  EXPECT_THAT(host.errors, ElementsAre("Softimage saver: failed on writing blue data byte"));
  EXPECT_EQ(ReadFile(path).size(), 3u * 160 * 120 - 32660 - 1);
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
}

}  // namespace
}  // namespace imx::test
