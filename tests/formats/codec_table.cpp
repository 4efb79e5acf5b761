#include "tests/formats/codec_table.h"

#include <cstdio>
#include <filesystem>

#include "formats/alias.h"
#include "formats/avi.h"
#include "formats/bmp.h"
#include "formats/codec_state.h"
#include "formats/dem.h"
#include "formats/flic.h"
#include "formats/gif.h"
#include "formats/iff.h"
#include "formats/pcx.h"
#include "formats/png.h"
#include "formats/ppm.h"
#include "formats/psd.h"
#include "formats/raw.h"
#include "formats/sgi.h"
#include "formats/softimage.h"
#include "formats/targa.h"
#include "formats/wavefront.h"
#include "tests/formats/common_builder.h"
#include "tests/formats/iff_builder.h"
#include "tests/formats/png_builder.h"
#include "tests/formats/station_builder.h"
#include "tests/support/files.h"

namespace imx::test {
namespace {

Bytes TextBytes(std::string_view text) {
  return Bytes(text.begin(), text.end());
}

// PNG

template <int depth, int interlace>
void SavePngAt(const ImageRecord& image, const char* path) {
  Output().depthBits = depth;
  SavePng(&image, path, interlace);
}

Codec Png() {
  const Bytes palette = PngChunk("PLTE", {255, 0, 0, 0, 255, 0, 0, 0, 255});
  const Bytes transparency = PngChunk("tRNS", {0, 128});
  Bytes chunks = palette;
  chunks.insert(chunks.end(), transparency.begin(), transparency.end());
  const Bytes longText = BigEndian()
                             .Raw(PngSignature())
                             .Raw(PngHeader(1, 1, 8, kPngGrey))
                             .U32(0x7FFFFFFF)
                             .Text("tEXtAuthor")
                             .bytes();
  return {
      .name = "png",
      .load = LoadPng,
      .savings = {{"24", SavePngAt<24, 0>, Kept::rgb},
                  {"32", SavePngAt<32, 0>, Kept::rgba},
                  {"24-interlaced", SavePngAt<24, 1>, Kept::rgb},
                  {"32-interlaced", SavePngAt<32, 1>, Kept::rgba},
                  {"palette", SavePngAt<8, 0>, Kept::size}},
      .samples = {{"palette-transparent",
                   PngFile(PngHeader(3, 2, 8, kPngPalette), {0, 0, 1, 2, 0, 2, 1, 0}, chunks)},
                  {"palette-index-without-entry",
                   PngFile(PngHeader(4, 1, 4, kPngPalette), {0, 0x01, 0xF2}, palette)},
                  {"grey-1-bit",
                   PngFile(PngHeader(9, 2, 1, kPngGrey), {0, 0xA5, 0x80, 1, 0x5A, 0x00})},
                  {"grey-alpha-16-bit-texts",
                   PngFile(PngHeader(1, 1, 16, kPngGreyAlpha), {0, 1, 2, 3, 4},
                           PngText("Author", "A"), PngText("Description", "D"))}},
      .promises = {{"square", PngFile(PngHeader(16000, 16000, 8, kPngRgba), {0, 1, 2, 3, 4})},
                   {"tall", PngFile(PngHeader(1, 200000000, 1, kPngGrey), {0, 1})},
                   {"wide", PngFile(PngHeader(200000000, 1, 8, kPngRgb), {0, 1})},
                   {"long-text", longText}},
      .repair = RepairPng,
  };
}

// PPM

template <int binary>
void SavePpmAs(const ImageRecord& image, const char* path) {
  SavePpm(&image, path, binary);
}

Codec Ppm() {
  return {
      .name = "ppm",
      .load = LoadPpm,
      .savings = {{"binary", SavePpmAs<1>, Kept::rgb}, {"text", SavePpmAs<0>, Kept::rgb}},
      .samples = {{"text-scaled", TextBytes("P3 # comment\n2 2\n15\n0 7 15\n1 2 3 4 5 6 7 8 999 ")},
                  {"binary-scaled", TextBytes("P6\n2 1\n63\n\x01\x02\x03\x3F\xFF\x20")},
                  {"maximum-zero", TextBytes("P3\n1 1\n0\n0 1 2\n")}},
      .promises = {{"square-binary", TextBytes("P6\n16000 16000\n255\nabc")},
                   {"square-text", TextBytes("P3\n16000 16000\n255\n1 2 3 ")},
                   {"tall", TextBytes("P6\n1 200000000\n255\nabc")},
                   {"wide", TextBytes("P6\n200000000 1\n255\nabc")},
                   {"beyond-32-bits", TextBytes("P6\n99999999999999999999 9999999999\n255\nabc")}},
  };
}

// IFF and TRIM

ImageRecord* LoadIffPath(const char* path) {
  std::FILE* file = std::fopen(path, "rb");
  return file ? LoadIff(file, path) : nullptr;
}

template <int trimMode, int compression>
void SaveIffAs(const ImageRecord& image, const char* path) {
  SaveIff(&image, path, trimMode, compression);
}

Bytes IffColours(int count) {
  ByteBuilder colours = BigEndian();
  for (int i = 0; i < count; ++i) colours.List({i * 4, 255 - i, i * 7});
  return IffChunk("CMAP", colours.bytes());
}

/// `rows` plane rows of 16 pixels.
Bytes IffBody(int rows) {
  ByteBuilder body = BigEndian();
  for (int i = 0; i < rows; ++i) body.List({i * 37, 255 - i * 11});
  return IffChunk("BODY", body.bytes());
}

/// A chunk that says it is much longer than any file.
Bytes IffEndlessChunk(std::string_view id) {
  return BigEndian().Text(id).U32(0x7FFFFFFE).bytes();
}

Codec Iff() {
  const Bytes packed = IffChunk("BODY", {1, 0xAA, 0x55, 0xFF, 0x0F, 0x80, 0, 7, 0xFF, 0x33});
  const auto ilbm = [](const IlbmHeader& header, const auto&... chunks) {
    return IffForm("ILBM", IffHeader(header), chunks...);
  };
  return {
      .name = "iff",
      .load = LoadIffPath,
      .savings = {{"plain", SaveIffAs<0, 0>, Kept::rgb}, {"packed", SaveIffAs<0, 1>, Kept::rgb}},
      .samples = {{"ham6", ilbm({16, 2, 6}, IffColours(16), IffBody(12))},
                  {"ham8", ilbm({16, 2, 8}, IffColours(64), IffBody(16))},
                  {"half-brite", ilbm({16, 2, 6}, IffViewMode(0x80), IffColours(32), IffBody(12))},
                  {"mask", ilbm({13, 2, 4, 1}, IffColours(16), IffBody(10))},
                  {"packed", ilbm({16, 2, 2, 0, 1}, IffColours(4), packed)},
                  {"texts", ilbm({16, 1, 1}, IffText("ANNO", "abc"), IffText("AUTH", "de"),
                                 IffText("WHAT", "123"), IffColours(2), IffBody(1))}},
      .promises = {{"deep", ilbm({16000, 16000, 24}, IffBody(1))},
                   {"packed", ilbm({16000, 16000, 24, 0, 1}, packed)},
                   {"largest", ilbm({65535, 65535, 8, 0, 1}, packed)},
                   {"long-text", ilbm({16, 1, 1}, IffEndlessChunk("ANNO"))}},
  };
}

Codec Trim() {
  const auto trim = [](std::uint32_t side, const Bytes& body) {
    return IffForm("TRIM", IffHeader({side, side}), body);
  };
  return {
      .name = "trm",
      .load = LoadIffPath,
      .savings = {{"trim", SaveIffAs<1, 1>, Kept::flagged}},
      .samples = {},
      .promises = {{"colour", trim(16000, IffChunk("RGBT", {0xF0, 0}))},
                   {"alpha", trim(16000, IffChunk("RGBA", {}))},
                   {"long-body", trim(16, IffEndlessChunk("MONO"))}},
  };
}

// Targa

/// For loaders that take an open file.
template <ImageRecord* (*load)(std::FILE*)>
ImageRecord* LoadOpened(const char* path) {
  std::FILE* file = std::fopen(path, "rb");
  return file ? load(file) : nullptr;
}

template <int depth, int compress>
void SaveTargaAs(const ImageRecord& image, const char* path) {
  SaveTarga(&image, path, depth, compress);
}

Codec Targa() {
  const Bytes map24 = SomeBmpColours(4, 3);
  const TargaFields mapped = {
      .type = 1, .width = 3, .depth = 8, .mapType = 1, .mapLength = 4, .mapBits = 24, .id = "id"};
  TargaFields mappedRle = mapped;
  mappedRle.type = 9;
  const Bytes mapped16 = {0x1F, 0x7C, 0xE0, 0x03, 0, 1, 1};
  const Bytes words = {0x1F, 0x7C, 0xE0, 0x83, 0x42, 0x18};
  return {
      .name = "tga",
      .load = LoadOpened<LoadTarga>,
      .savings = {{"24", SaveTargaAs<24, 0>, Kept::rgb},
                  {"24-packed", SaveTargaAs<24, 1>, Kept::rgb},
                  {"32", SaveTargaAs<32, 0>, Kept::flagged},
                  {"32-packed", SaveTargaAs<32, 1>, Kept::flagged}},
      .samples = {{"mapped", TargaFile(mapped, Joined({map24, {0, 3, 200}}))},
                  {"mapped-16", TargaFile({.type = 1,
                                           .width = 3,
                                           .depth = 8,
                                           .mapType = 1,
                                           .mapStart = 9,
                                           .mapLength = 2,
                                           .mapBits = 16},
                                          mapped16)},
                  {"mapped-packed", TargaFile(mappedRle, Joined({map24, {0x81, 3, 0x00, 1}}))},
                  {"grey",
                   TargaFile({.type = 3, .width = 2, .height = 2, .depth = 8}, {1, 2, 3, 4})},
                  {"15", TargaFile({.width = 3, .depth = 15, .descriptor = 0}, words)},
                  {"16-packed", TargaFile({.type = 10, .width = 3, .height = 2, .depth = 16},
                                          {0x84, 0x42, 0x18, 0x00, 0x1F, 0x7C})},
                  {"texts", WithTargaTexts(TargaFile({}, {1, 2, 3, 4, 5, 6}), "A", "C")}},
      .promises = {{"largest", TargaFile({.width = 65535, .height = 65535}, {1, 2, 3})},
                   {"square", TargaFile({.width = 16000, .height = 16000}, {1, 2, 3})},
                   {"packed", TargaFile({.type = 10, .width = 16000, .height = 16000, .depth = 32},
                                        {0xFF, 1, 2, 3, 4})},
                   {"map", TargaFile({.type = 1,
                                      .width = 16000,
                                      .height = 16000,
                                      .depth = 8,
                                      .mapType = 1,
                                      .mapLength = 65535,
                                      .mapBits = 32},
                                     {1, 2, 3})}},
  };
}

// BMP

template <int depth>
void SaveBmpAs(const ImageRecord& image, const char* path) {
  SaveBmp(&image, path, depth);
}

Codec Bmp() {
  const Bytes colours = SomeBmpColours(16);
  // A run, literals, an end of line, a move, a run past the row, the end.
  const Bytes rle8 = {3, 1, 0, 3, 2, 3, 4, 0, 0, 0, 0, 2, 1, 1, 90, 5, 0, 1};
  const Bytes rle4 = {3, 0x12, 0, 5, 0x34, 0x56, 0x70, 0, 0, 0, 0, 2, 1, 1, 90, 0x5A, 0, 1};
  return {
      .name = "bmp",
      .load = LoadOpened<LoadBmp>,
      .savings = {{"24", SaveBmpAs<24>, Kept::rgb},
                  {"32", SaveBmpAs<32>, Kept::flagged},
                  {"8", SaveBmpAs<8>, Kept::size},
                  {"4", SaveBmpAs<4>, Kept::size},
                  {"1", SaveBmpAs<1>, Kept::size}},
      .samples =
          {{"rle8",
            BmpFile({.width = 7, .height = 4, .bits = 8, .compression = 1, .coloursUsed = 16},
                    colours, rle8)},
           {"rle4", BmpFile({.width = 9, .height = 4, .bits = 4, .compression = 2}, colours, rle4)},
           {"os2", BmpFile({.width = 5, .height = 2, .bits = 4, .headerSize = 12},
                           SomeBmpColours(16, 3), {0x12, 0x34, 0x50, 0, 0x67, 0x89, 0, 0})},
           {"16", BmpFile({.width = 3, .height = 2, .bits = 16}, {},
                          {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0})},
           {"long-header", BmpFile({.width = 2, .bits = 32, .compression = 3, .headerSize = 124},
                                   {}, {1, 2, 3, 4, 5, 6, 7, 8})}},
      .promises = {{"largest", BmpFile({.width = 40000, .height = 40000}, {}, {1, 2, 3})},
                   {"square",
                    BmpFile({.width = 16000, .height = 16000, .bits = 1, .imageSize = 0x7FFFFFFF},
                            {}, {1})},
                   {"rle8", BmpFile({.width = 16000,
                                     .height = 16000,
                                     .bits = 8,
                                     .compression = 1,
                                     .imageSize = 0xFFFFFFFF,
                                     .coloursUsed = 0xFFFFFFFF},
                                    colours, rle8)}},
  };
}

// GIF

template <int interlace>
void SaveGifAs(const ImageRecord& image, const char* path) {
  SaveGif(&image, path, interlace);
}

Codec Gif() {
  const Bytes pixels = {0, 1, 2, 3, 3, 2, 1, 0, 0, 1, 2, 3};
  const Bytes local = SomeColours(8);
  const Bytes control = GifExtension(0xF9, {1, 2, 0, 3});
  const Bytes comment = GifExtension(0xFE, Bytes(300, 'c'));
  return {
      .name = "gif",
      .load = LoadOpened<LoadGif>,
      .savings = {{"plain", SaveGifAs<0>, Kept::size}, {"interlaced", SaveGifAs<1>, Kept::size}},
      .samples = {{"89a", Joined({GifScreen(4, 3, 2),
                                  control,
                                  comment,
                                  GifFrame(0, 0, 4, 3),
                                  GifPixels(2, pixels),
                                  {0x3B}})},
                  {"several", Joined({GifScreen(4, 3, 0),
                                      GifFrame(0, 0, 4, 3, 0x82),
                                      local,
                                      GifPixels(3, pixels),
                                      control,
                                      GifFrame(1, 1, 2, 2, 0x82),
                                      local,
                                      GifPixels(3, {4, 5, 6, 7}),
                                      {0x3B}})},
                  {"beyond-the-screen", Joined({GifScreen(2, 2, 2),
                                                GifFrame(0, 0, 400, 300),
                                                GifPixels(2, Bytes(50, 1)),
                                                {0x3B}})},
                  {"interlaced-few-rows", Joined({GifScreen(4, 3, 2),
                                                  GifFrame(0, 0, 4, 3, kGifInterlaced),
                                                  GifPixels(2, pixels),
                                                  {0x3B}})}},
      .promises = {{"square", Joined({GifScreen(16000, 16000, 2), GifFrame(0, 0, 16000, 16000),
                                      GifPixels(2, pixels)})},
                   {"largest", Joined({GifScreen(65535, 65535, 2), GifFrame(0, 0, 1, 65535),
                                       GifPixels(2, pixels)})}},
  };
}

// PCX

template <int depth>
void SavePcxAs(const ImageRecord& image, const char* path) {
  SavePcx(&image, path, depth);
}

Codec Pcx() {
  const PcxFields bits = {.width = 12, .height = 2, .bits = 1, .planes = 1, .bytesPerLine = 2};
  PcxFields planes = bits;
  planes.planes = 4;
  const Bytes trailer = Joined({{0x0C}, SomeColours(256)});
  return {
      .name = "pcx",
      .load = LoadOpened<LoadPcx>,
      .savings = {{"24", SavePcxAs<24>, Kept::rgb},
                  {"8", SavePcxAs<8>, Kept::size},
                  {"4", SavePcxAs<4>, Kept::size},
                  {"1", SavePcxAs<1>, Kept::size}},
      .samples = {{"bits", PcxFile(bits, {0x12, 0x30, 0xFF, 0xAA})},
                  {"planes", PcxFile(planes, {0xC8, 0x55, 0xC3, 0x0F, 0xC5, 0x33})},
                  {"indices",
                   PcxFile({.width = 3, .height = 2, .bits = 8, .planes = 1, .bytesPerLine = 4},
                           Joined({{1, 2, 0xC2, 3, 0xC1, 0xC0, 4, 5, 6}, trailer}))},
                  {"short-lines",
                   PcxFile({.width = 30, .height = 3, .bits = 8, .planes = 3, .bytesPerLine = 2},
                           Bytes(18, 7))},
                  {"unknown-depth", PcxFile({.bits = 2, .planes = 1}, {1, 2})}},
      .promises =
          {{"square",
            PcxFile(
                {.width = 16000, .height = 16000, .bits = 8, .planes = 3, .bytesPerLine = 16000},
                {0xFF, 1})},
           {"indices",
            PcxFile(
                {.width = 16000, .height = 16000, .bits = 8, .planes = 1, .bytesPerLine = 65535},
                {0xFF, 1})}},
  };
}

// RAW

/// Nothing in the file tells its layout, so the one that was saved last is read.
ImageRecord* LoadRawAsSaved(const char* path) {
  constexpr std::int32_t kSide = 5;
  const RawState& raw = Raw();
  if (std::filesystem::is_directory(path)) return nullptr;  // hosts look before they ask
  return raw.kind < 0 ? LoadRaw(path, kRawGbr, kSide, kSide)
                      : LoadRaw(path, raw.kind, raw.width, raw.height);
}

template <RawKind kind>
void SaveRawAs(const ImageRecord& image, const char* path) {
  Raw().kind = kind;
  Raw().width = image.width;
  Raw().height = image.height;
  SaveRaw(&image, path, kind);
}

Codec RawChannels() {
  return {
      .name = "raw",
      .load = LoadRawAsSaved,
      .savings = {{"grey", SaveRawAs<kRawGrey>, Kept::size},
                  {"red", SaveRawAs<kRawRed>, Kept::size},
                  {"green", SaveRawAs<kRawGreen>, Kept::size},
                  {"blue", SaveRawAs<kRawBlue>, Kept::size},
                  {"rgb", SaveRawAs<kRawRgb>, Kept::rgb}},
      .samples = {{"triples", Bytes(75, 3)}},
      .promises = {},
  };
}

// Workstation formats

template <int bits, int compress>
void SaveSgiAs(const ImageRecord& image, const char* path) {
  SaveSgi(&image, path, bits, compress);
}

Codec Sgi() {
  const Bytes scan8 = {3, 7, 0x82, 1, 2, 0};
  const Bytes scan16 = {0, 3, 0x12, 0x34, 0, 0x82, 0, 1, 0xFF, 0xFF, 0, 0};
  const SgiFields grey = {.dimension = 2, .width = 5, .channels = 1};
  SgiFields words = grey;
  words.sampleBytes = 2;
  words.pixMax = 65535;
  SgiFields damaged = grey;
  damaged.channels = 2;
  damaged.pixMax = 0;
  SgiFields largest = {.width = 65535, .height = 65535, .channels = 4};
  SgiFields square = {.width = 16000, .height = 16000, .channels = 4};
  SgiFields packed = square;
  packed.storage = 1;
  return {
      .name = "sgi",
      .load = LoadSgi,
      .savings = {{"24", SaveSgiAs<24, 0>, Kept::rgb},
                  {"24-packed", SaveSgiAs<24, 1>, Kept::rgb},
                  {"32", SaveSgiAs<32, 0>, Kept::flagged},
                  {"32-packed", SaveSgiAs<32, 1>, Kept::flagged},
                  {"grey", SaveSgiAs<8, 0>, Kept::size},
                  {"grey-packed", SaveSgiAs<8, 1>, Kept::size}},
      .samples = {{"16-bit", SgiFile(words, {0, 0, 1, 1, 2, 2, 3, 3, 255, 255})},
                  {"16-bit-packed", SgiRunLengthFile(words, {scan16})},
                  {"repaired", SgiFile(damaged, {1, 2, 3, 4, 5})},
                  {"packed", SgiRunLengthFile(grey, {scan8})}},
      .promises = {{"largest", SgiFile(largest, {1, 2, 3})},
                   {"square", SgiFile(square, {1, 2, 3})},
                   {"packed", SgiFile(packed, {1, 2, 3})}},
  };
}

void SaveSoftimageAs(const ImageRecord& image, const char* path) {
  SaveSoftimage(path, &image);
}

Codec Softimage() {
  const Bytes colour = {0, 8, 2, 0xE0};
  // Literals, a short run, a long run of two; the same for alpha.
  const Bytes mixed = {0, 1, 2, 3, 129, 4, 5, 6, 128, 0, 2, 7, 8, 9};
  const Bytes mixedAlpha = {2, 1, 2, 3, 128, 0, 2, 9};
  return {
      .name = "pic",
      .load = LoadSoftimage,
      .savings = {{"plain", SaveSoftimageAs, Kept::flagged}},
      .samples = {{"mixed", SoftimageFile(5, 2, colour, Joined({mixed, mixed}))},
                  {"alpha-first", SoftimageFile(5, 1, {1, 8, 2, 0x10, 0, 8, 2, 0xE0},
                                                Joined({mixed, mixedAlpha}))},
                  {"alpha-packet-alone", SoftimageFile(1, 1, {0, 8, 0, 0x10}, {1, 2, 3})}},
      .promises = {{"largest", SoftimageFile(65535, 65535, colour, mixed)},
                   {"square", SoftimageFile(16000, 16000, colour, mixed)},
                   {"nothing-repeated",
                    SoftimageFile(16000, 16000, colour, Bytes({128, 0, 0, 1, 2, 3}))}},
  };
}

void SaveAliasAs(const ImageRecord& image, const char* path) {
  SaveAlias(path, &image);
}

Codec Alias() {
  return {
      .name = "pix",
      .load = LoadAlias,
      .savings = {{"24", SaveAliasAs, Kept::rgb}},
      .samples = {{"matte", AliasFile(4, 2, 8, {0, 9, 3, 1, 1, 2, 255, 3})},
                  {"cut-run", AliasFile(2, 2, 24, {200, 1, 2, 3, 1, 4, 5, 6, 9, 7, 8, 9})}},
      .promises = {{"largest", AliasFile(65535, 65535, 24, {1, 2, 3, 4})},
                   {"square", AliasFile(16000, 16000, 24, {1, 2, 3, 4})}},
  };
}

void SaveWavefrontAs(const ImageRecord& image, const char* path) {
  SaveWavefront(path, &image);
}

Codec Wavefront() {
  const Bytes channel = {0, 6, 2, 5, 0xFE, 6, 7, 0};
  const Bytes body = Joined({channel, channel, channel, channel});
  return {
      .name = "rla",
      .load = LoadWavefront,
      .savings = {{"literals", SaveWavefrontAs, Kept::flagged}},
      .samples = {{"repeats", RlaFile({10, 14, 3, 3}, 1, body)},
                  {"cut-run", RlaFile({0, 1, 0, 0}, 0, {0, 0, 9, 1, 0, 0, 0x80, 2, 3})}},
      .promises = {{"wide", RlaFile({0x8000, 0x7FFF, 0, 0}, 0, channel)},
                   {"square", RlaFile({0, 15999, 0, 15999}, 0, channel)},
                   {"negative", RlaFile({9, 1, 9, 9}, 0, channel)}},
  };
}

// Sequences

ImageRecord* LoadLastFlicFrame(const char* path) {
  Sequence().chosenFrame = 99;
  return LoadFlic(path);
}

Codec Flic() {
  const Bytes colour = FlicChunk(4, Joined({{1, 0, 0, 0}, SomeColours(256)}));
  const Bytes colour64 = FlicChunk(11, {2, 0, 0, 1, 63, 0, 0, 5, 1, 1, 2, 3});
  const Bytes run = FlicChunk(15, {1, 4, 7, 1, 0xFC, 1, 2, 3, 4});
  const Bytes byteDelta = FlicChunk(12, {0, 0, 2, 0, 1, 1, 2, 8, 9, 1, 0, 0xFE, 5});
  // A literal pair and a repeated one, the last pixel set by itself, a skipped line.
  const Bytes wordDelta =
      FlicChunk(7, {1, 0, 9, 0x80, 0xFF, 0xFF, 2, 0, 0, 1, 1, 2, 0, 0xFF, 3, 4});
  const Bytes copy = FlicChunk(16, {1, 2, 3, 4, 5, 6, 7, 8});
  const Bytes black = FlicChunk(13, {});
  const Bytes prefix = FlicFrame({FlicChunk(99, {1, 2, 3})}, 0xF100);
  Bytes lying = copy;
  lying[3] = 0x7F;
  std::vector<Bytes> manyBlack(2000, black);
  return {
      .name = "flic",
      .load = LoadLastFlicFrame,
      .savings = {},
      .samples = {{"fli", FlicFile(kFli, 4, 2,
                                   {FlicFrame({colour64, run}), FlicFrame({byteDelta}),
                                    FlicFrame({black, copy})})},
                  {"flc", FlicFile(kFlc, 4, 2,
                                   {Joined({prefix, FlicFrame({colour, run})}),
                                    FlicFrame({wordDelta}), FlicFrame({})})},
                  {"chunk-size-lies", FlicFile(kFlc, 4, 2, {FlicFrame({lying, run})})}},
      .promises = {{"square", FlicFile(kFlc, 16000, 16000, {FlicFrame({run, copy})})},
                   {"largest", FlicFile(kFli, 65535, 65535, {FlicFrame({run})})},
                   {"black-again", FlicFile(kFlc, 16000, 16000, {FlicFrame(manyBlack)})}},
  };
}

ImageRecord* LoadPackedBitmap(const char* path) {
  return ImageFromPackedBitmap(ReadFile(path));
}

/// The frames of AVI files, once the system has decoded them.
Codec PackedBitmap() {
  return {
      .name = "dib",
      .load = LoadPackedBitmap,
      .savings = {},
      .samples = {{"8", Dib({3, 2, 8, 2}, {1, 2, 3, 0, 4, 5, 6, 0, 0, 1, 9, 0, 1, 0, 1, 0})},
                  {"16", Dib({1, 2, 16}, {0x1F, 0x7C, 0, 0, 0xE0, 0x03, 0, 0})},
                  {"24", Dib({2, 1, 24}, {1, 2, 3, 4, 5, 6, 0, 0})}},
      .promises = {{"square", Dib({16000, 16000, 24}, {1, 2, 3, 4})},
                   {"colours", Dib({16000, 16000, 8, 0xFFFFFFFF}, {1, 2, 3, 4})}},
  };
}

// Elevations and Photoshop

ImageRecord* LoadDemNamed(const char* path) {
  return LoadDem(path, "elevations");
}

Codec Dem() {
  return {
      .name = "dem",
      .load = LoadDemNamed,
      .savings = {},
      .samples = {{"few-elevations", TextBytes(DemHeader({}) + DemProfile(1) + "100 250 400 -1 ")}},
      .promises = {{"header-alone", TextBytes(DemHeader({}) + DemProfile(1))}},
  };
}

Codec Psd() {
  const Bytes colours = Joined({Bytes(256, 1), Bytes(256, 2), Bytes(256, 3)});
  const Bytes lengths = {0, 2, 0, 3, 0, 2};
  const Bytes packed = {0xFF, 9, 1, 7, 8, 0xFF, 5};
  const PsdFields rle = {.compression = 1};
  PsdFields tall = rle;
  tall.width = tall.height = 16000;
  return {
      .name = "psd",
      .load = LoadPsd,
      .savings = {},
      .samples = {{"bitmap",
                   PsdFile({.channels = 1, .width = 9, .bits = 1, .mode = 0}, {0xA5, 0x80})},
                  {"grey", PsdFile({.channels = 1, .mode = 1}, {1, 2})},
                  {"grey-alpha", PsdFile({.channels = 2, .mode = 1}, {1, 2, 3, 4})},
                  {"duotone", PsdFile({.channels = 1, .mode = 8, .colours = {1, 2}}, {1, 2})},
                  {"indexed", PsdFile({.channels = 1, .mode = 2, .colours = colours}, {0, 255})},
                  {"rgb", PsdFile({}, {1, 2, 3, 4, 5, 6})},
                  {"rgba-16",
                   PsdFile({.channels = 4, .width = 1, .bits = 16}, {1, 9, 2, 9, 3, 9, 4, 9})},
                  {"cmyk", PsdFile({.channels = 4, .width = 1, .mode = 4}, {255, 128, 0, 128})},
                  {"packed", PsdFile(rle, Joined({lengths, packed}))}},
      .promises = {{"square", PsdFile({.width = 16000, .height = 16000}, {1, 2, 3})},
                   {"largest", PsdFile({.width = 30000, .height = 30000}, {1, 2, 3})},
                   {"packed", PsdFile(tall, Joined({lengths, packed}))}},
  };
}

}  // namespace

const std::vector<Codec>& Codecs() {
  static const std::vector<Codec> table = {Alias(), Bmp(),          Dem(), Flic(),      Gif(),
                                           Iff(),   PackedBitmap(), Pcx(), Png(),       Ppm(),
                                           Psd(),   RawChannels(),  Sgi(), Softimage(), Targa(),
                                           Trim(),  Wavefront()};
  return table;
}

const Codec* FindCodec(std::string_view name) {
  for (const Codec& codec : Codecs()) {
    if (codec.name == name) return &codec;
  }
  return nullptr;
}

}  // namespace imx::test
