#include "tests/formats/codec_table.h"

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
#include "tests/formats/codec_calls.h"
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

template <int depth, int interlace>
void SavePngAt(const ImageRecord& image, const char* path) {
  Output().depthBits = depth;
  SavePng(&image, path, interlace);
}

Codec Png() {
  const Bytes palette = PngChunk("PLTE", {255, 0, 0, 0, 255, 0, 0, 0, 255});
  const Bytes transparency = PngChunk("tRNS", {0, 128});
  const Bytes endless = BigEndian().U32(0x7FFFFFFF).Text("tEXtAuthor").bytes();
  return {
      .name = "png",
      .load = LoadPng,
      .savings = {{"24", SavePngAt<24, 0>, Kept::rgb},
                  {"32", SavePngAt<32, 0>, Kept::rgba},
                  {"24-interlaced", SavePngAt<24, 1>, Kept::rgb},
                  {"32-interlaced", SavePngAt<32, 1>, Kept::rgba},
                  {"palette", SavePngAt<8, 0>, Kept::size}},
      .samples = {{"palette", PngFile(PngHeader(3, 2, 8, kPngPalette), {0, 0, 1, 2, 0, 2, 1, 0},
                                      palette + transparency)},
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
                   {"long-text", PngSignature() + PngHeader(1, 1, 8, kPngGrey) + endless}},
      .repair = RepairPng,
  };
}

Codec Ppm() {
  return {
      .name = "ppm",
      .load = LoadPpm,
      .savings = {{"binary", SaveWith<SavePpm, 1>, Kept::rgb},
                  {"text", SaveWith<SavePpm, 0>, Kept::rgb}},
      .samples = {{"text-scaled", TextBytes("P3 # comment\n2 2\n15\n0 7 15\n1 2 3 4 5 6 7 8 999 ")},
                  {"binary-scaled", TextBytes("P6\n2 1\n63\n\x01\x02\x03\x3F\xFF\x20")},
                  {"maximum-zero", TextBytes("P3\n1 1\n0\n0 1 2\n")}},
      .promises = {{"square-binary", TextBytes("P6\n16000 16000\n255\nabc")},
                   {"square-text", TextBytes("P3\n16000 16000\n255\n1 2 3 ")},
                   {"tall", TextBytes("P6\n1 200000000\n255\nabc")},
                   {"beyond-32-bits", TextBytes("P6\n99999999999999999999 9999999999\n255\nabc")}},
  };
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
  const auto colours = [](std::size_t count) { return IffChunk("CMAP", NoiseBytes(3 * count, 1)); };
  // Plane rows of 16 pixels.
  const auto body = [](std::size_t rows) { return IffChunk("BODY", NoiseBytes(2 * rows, 2)); };
  return {
      .name = "iff",
      .load = LoadPath<LoadIff>,
      .savings = {{"plain", SaveWith<SaveIff, 0, 0>, Kept::rgb},
                  {"packed", SaveWith<SaveIff, 0, 1>, Kept::rgb}},
      .samples = {{"ham6", ilbm({16, 2, 6}, colours(16), body(12))},
                  {"ham8", ilbm({16, 2, 8}, colours(64), body(16))},
                  {"half-brite", ilbm({16, 2, 6}, IffViewMode(0x80), colours(32), body(12))},
                  {"mask", ilbm({13, 2, 4, 1}, colours(16), body(10))},
                  {"packed", ilbm({16, 2, 2, 0, 1}, colours(4), packed)},
                  {"texts", ilbm({16, 1, 1}, IffText("ANNO", "abc"), IffText("AUTH", "de"),
                                 IffText("WHAT", "123"), colours(2), body(1))}},
      .promises = {{"deep", ilbm({16000, 16000, 24}, body(1))},
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
      .load = LoadPath<LoadIff>,
      .savings = {{"trim", SaveWith<SaveIff, 1, 1>, Kept::flagged}},
      .samples = {},
      .promises = {{"colour", trim(16000, IffChunk("RGBT", {0xF0, 0}))},
                   {"alpha", trim(16000, IffChunk("RGBA", {}))},
                   {"long-body", trim(16, IffEndlessChunk("MONO"))}},
  };
}

Codec Targa() {
  const Bytes map24 = SomeBmpColours(4, 3), map16 = {0x1F, 0x7C, 0xE0, 0x03};
  const auto tga = [](int type, int width, int height, int depth, const Bytes& pixels) {
    return TargaFile({.type = type, .width = width, .height = height, .depth = depth}, pixels);
  };
  const auto mapped = [](int type, int side, int length, int bits, const Bytes& rest) {
    TargaFields f = {.type = type, .width = side, .height = side, .depth = 8, .mapType = 1};
    f.mapStart = 9;
    f.mapLength = length;
    f.mapBits = bits;
    f.id = "id";
    return TargaFile(f, rest);
  };
  return {
      .name = "tga",
      .load = LoadPath<LoadTarga>,
      .savings = {{"24", SaveWith<SaveTarga, 24, 0>, Kept::rgb},
                  {"24-packed", SaveWith<SaveTarga, 24, 1>, Kept::rgb},
                  {"32", SaveWith<SaveTarga, 32, 0>, Kept::flagged},
                  {"32-packed", SaveWith<SaveTarga, 32, 1>, Kept::flagged}},
      .samples = {{"mapped", mapped(1, 2, 4, 24, map24 + Bytes{0, 3, 200, 1})},
                  {"mapped-16", mapped(1, 2, 2, 16, map16 + Bytes{0, 1, 1, 0})},
                  {"mapped-packed", mapped(9, 2, 4, 24, map24 + Bytes{0x81, 3, 0x01, 1, 2})},
                  {"grey", tga(3, 2, 2, 8, {1, 2, 3, 4})},
                  {"15", tga(2, 3, 1, 15, {0x1F, 0x7C, 0xE0, 0x83, 0x42, 0x18})},
                  {"16-packed", tga(10, 3, 2, 16, {0x84, 0x42, 0x18, 0x00, 0x1F, 0x7C})},
                  {"texts", WithTargaTexts(tga(2, 2, 1, 24, {1, 2, 3, 4, 5, 6}), "A", "C")}},
      .promises = {{"largest", tga(2, 65535, 65535, 24, {1, 2, 3})},
                   {"square", tga(2, 16000, 16000, 24, {1, 2, 3})},
                   {"packed", tga(10, 16000, 16000, 32, {0xFF, 1, 2, 3, 4})},
                   {"map", mapped(1, 16000, 65535, 32, {1, 2, 3})}},
  };
}

Codec Bmp() {
  const Bytes colours = SomeBmpColours(16);
  // A run, literals, an end of line, a move, a run past the row, the end.
  const Bytes rle8 = {3, 1, 0, 3, 2, 3, 4, 0, 0, 0, 0, 2, 1, 1, 90, 5, 0, 1};
  const Bytes rle4 = {3, 0x12, 0, 5, 0x34, 0x56, 0x70, 0, 0, 0, 0, 2, 1, 1, 90, 0x5A, 0, 1};
  const auto square = [](int bits, std::uint32_t compression, std::uint32_t claimed) {
    return BmpFields{16000, 16000, bits, compression, claimed, claimed};
  };
  return {
      .name = "bmp",
      .load = LoadPath<LoadBmp>,
      .savings = {{"24", SaveWith<SaveBmp, 24>, Kept::rgb},
                  {"32", SaveWith<SaveBmp, 32>, Kept::flagged},
                  {"8", SaveWith<SaveBmp, 8>, Kept::size},
                  {"4", SaveWith<SaveBmp, 4>, Kept::size},
                  {"1", SaveWith<SaveBmp, 1>, Kept::size}},
      .samples = {{"rle8", BmpFile({7, 4, 8, 1, 0, 16}, colours, rle8)},
                  {"rle4", BmpFile({9, 4, 4, 2}, colours, rle4)},
                  {"os2", BmpFile({.width = 5, .bits = 4, .headerSize = 12}, SomeBmpColours(16, 3),
                                  {0x12, 0x34, 0x50, 0})},
                  {"16", BmpFile({3, 2, 16}, {}, NoiseBytes(16, 1))},
                  {"long-header", BmpFile({.bits = 32, .compression = 3, .headerSize = 124}, {},
                                          {1, 2, 3, 4, 5, 6, 7, 8})}},
      .promises = {{"largest", BmpFile({.width = 40000, .height = 40000}, {}, {1, 2, 3})},
                   {"square", BmpFile(square(1, 0, 0x7FFFFFFF), {}, {1})},
                   {"rle8", BmpFile(square(8, 1, 0xFFFFFFFF), colours, rle8)}},
  };
}

Codec Gif() {
  const Bytes pixels = GifPixels(2, {0, 1, 2, 3, 3, 2, 1, 0, 0, 1, 2, 3}), end = {0x3B};
  const Bytes control = GifExtension(0xF9, {1, 2, 0, 3});
  const Bytes comment = GifExtension(0xFE, Bytes(300, 'c'));
  const Bytes first = GifFrame(0, 0, 4, 3, 0x82) + SomeColours(8) + pixels;
  const Bytes second = GifFrame(1, 1, 2, 2, 0x82) + SomeColours(8) + GifPixels(3, {4, 5, 6, 7});
  return {
      .name = "gif",
      .load = LoadPath<LoadGif>,
      .savings = {{"plain", SaveWith<SaveGif, 0>, Kept::size},
                  {"interlaced", SaveWith<SaveGif, 1>, Kept::size}},
      .samples = {{"89a", GifScreen(4, 3, 2) + control + comment + GifFrame(0, 0, 4, 3) + pixels},
                  {"several", GifScreen(4, 3, 0) + first + control + second + end},
                  {"beyond-the-screen", GifScreen(2, 2, 2) + GifFrame(0, 0, 400, 300) + pixels},
                  {"interlaced-few-rows",
                   GifScreen(4, 3, 2) + GifFrame(0, 0, 4, 3, kGifInterlaced) + pixels + end}},
      .promises = {{"square", GifScreen(16000, 16000, 2) + GifFrame(0, 0, 16000, 16000) + pixels},
                   {"largest", GifScreen(65535, 65535, 2) + GifFrame(0, 0, 1, 65535) + pixels}},
  };
}

Codec Pcx() {
  const Bytes trailer = Bytes{0x0C} + SomeColours(256);
  return {
      .name = "pcx",
      .load = LoadPath<LoadPcx>,
      .savings = {{"24", SaveWith<SavePcx, 24>, Kept::rgb},
                  {"8", SaveWith<SavePcx, 8>, Kept::size},
                  {"4", SaveWith<SavePcx, 4>, Kept::size},
                  {"1", SaveWith<SavePcx, 1>, Kept::size}},
      .samples = {{"bits", PcxFile({12, 2, 1, 1, 2}, {0x12, 0x30, 0xFF, 0xAA})},
                  {"planes", PcxFile({12, 2, 1, 4, 2}, {0xC8, 0x55, 0xC3, 0x0F, 0xC5, 0x33})},
                  {"indices",
                   PcxFile({3, 2, 8, 1, 4}, Bytes{1, 2, 0xC2, 3, 0xC1, 0xC0, 4, 5, 6} + trailer)},
                  {"short-lines", PcxFile({30, 3, 8, 3, 2}, Bytes(18, 7))},
                  {"unknown-depth", PcxFile({.bits = 2, .planes = 1}, {1, 2})}},
      .promises = {{"square", PcxFile({16000, 16000, 8, 3, 16000}, {0xFF, 1})},
                   {"indices", PcxFile({16000, 16000, 8, 1, 65535}, {0xFF, 1})}},
  };
}

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
  Raw() = {.kind = kind, .width = image.width, .height = image.height};
  SaveRaw(&image, path, kind);
}

Codec RawChannels() {
  return {
      .name = "raw",
      .load = LoadRawAsSaved,
      .savings = {{"grey", SaveRawAs<kRawGrey>, Kept::size},
                  {"blue", SaveRawAs<kRawBlue>, Kept::size},
                  {"rgb", SaveRawAs<kRawRgb>, Kept::rgb}},
      .samples = {{"triples", Bytes(75, 3)}},
      .promises = {},
  };
}

Codec Sgi() {
  const Bytes scan8 = {3, 7, 0x82, 1, 2, 0};
  const Bytes scan16 = {0, 3, 0x12, 0x34, 0, 0x82, 0, 1, 0xFF, 0xFF, 0, 0};
  const SgiFields grey = {.dimension = 2, .width = 5, .channels = 1};
  const SgiFields words = {0, 2, 2, 5, 1, 1, 0, 65535};
  const SgiFields damaged = {0, 1, 2, 5, 1, 2, 0, 0};
  return {
      .name = "sgi",
      .load = LoadSgi,
      .savings = {{"24", SaveWith<SaveSgi, 24, 0>, Kept::rgb},
                  {"24-packed", SaveWith<SaveSgi, 24, 1>, Kept::rgb},
                  {"32", SaveWith<SaveSgi, 32, 0>, Kept::flagged},
                  {"32-packed", SaveWith<SaveSgi, 32, 1>, Kept::flagged},
                  {"grey", SaveWith<SaveSgi, 8, 0>, Kept::size},
                  {"grey-packed", SaveWith<SaveSgi, 8, 1>, Kept::size}},
      .samples = {{"16-bit", SgiFile(words, {0, 0, 1, 1, 2, 2, 3, 3, 255, 255})},
                  {"16-bit-packed", SgiRunLengthFile(words, {scan16})},
                  {"repaired", SgiFile(damaged, {1, 2, 3, 4, 5})},
                  {"packed", SgiRunLengthFile(grey, {scan8})}},
      .promises = {{"largest", SgiFile({0, 1, 3, 65535, 65535, 4}, {1, 2, 3})},
                   {"square", SgiFile({0, 1, 3, 16000, 16000, 4}, {1, 2, 3})},
                   {"packed", SgiFile({1, 1, 3, 16000, 16000, 4}, {1, 2, 3})}},
  };
}

Codec Softimage() {
  const Bytes colour = {0, 8, 2, 0xE0}, alphaFirst = {1, 8, 2, 0x10, 0, 8, 2, 0xE0};
  // Literals, a short run, a long run of two; the same for alpha.
  const Bytes mixed = {0, 1, 2, 3, 129, 4, 5, 6, 128, 0, 2, 7, 8, 9};
  const Bytes mixedAlpha = {2, 1, 2, 3, 128, 0, 2, 9}, idle = {128, 0, 0, 1, 2, 3};
  return {
      .name = "pic",
      .load = LoadSoftimage,
      .savings = {{"plain", SaveWith<SaveSoftimage>, Kept::flagged}},
      .samples = {{"mixed", SoftimageFile(5, 2, colour, mixed + mixed)},
                  {"alpha-first", SoftimageFile(5, 1, alphaFirst, mixed + mixedAlpha)},
                  {"alpha-packet-alone", SoftimageFile(1, 1, {0, 8, 0, 0x10}, {1, 2, 3})}},
      .promises = {{"largest", SoftimageFile(65535, 65535, colour, mixed)},
                   {"square", SoftimageFile(16000, 16000, colour, mixed)},
                   {"nothing-repeated", SoftimageFile(16000, 16000, colour, idle)}},
  };
}

Codec Alias() {
  return {
      .name = "pix",
      .load = LoadAlias,
      .savings = {{"24", SaveWith<SaveAlias>, Kept::rgb}},
      .samples = {{"matte", AliasFile(4, 2, 8, {0, 9, 3, 1, 1, 2, 255, 3})},
                  {"cut-run", AliasFile(2, 2, 24, {200, 1, 2, 3, 1, 4, 5, 6, 9, 7, 8, 9})}},
      .promises = {{"largest", AliasFile(65535, 65535, 24, {1, 2, 3, 4})},
                   {"square", AliasFile(16000, 16000, 24, {1, 2, 3, 4})}},
  };
}

Codec Wavefront() {
  const Bytes channel = {0, 6, 2, 5, 0xFE, 6, 7, 0};
  return {
      .name = "rla",
      .load = LoadWavefront,
      .savings = {{"literals", SaveWith<SaveWavefront>, Kept::flagged}},
      .samples = {{"repeats", RlaFile({10, 14, 3, 3}, 1, channel + channel + channel + channel)},
                  {"cut-run", RlaFile({0, 1, 0, 0}, 0, {0, 0, 9, 1, 0, 0, 0x80, 2, 3})}},
      .promises = {{"wide", RlaFile({0x8000, 0x7FFF, 0, 0}, 0, channel)},
                   {"square", RlaFile({0, 15999, 0, 15999}, 0, channel)},
                   {"negative", RlaFile({9, 1, 9, 9}, 0, channel)}},
  };
}

ImageRecord* LoadLastFlicFrame(const char* path) {
  Sequence().chosenFrame = 99;
  return LoadFlic(path);
}

Codec Flic() {
  const Bytes colour = FlicChunk(4, Bytes{1, 0, 0, 0} + SomeColours(256));
  const Bytes colour64 = FlicChunk(11, {2, 0, 0, 1, 63, 0, 0, 5, 1, 1, 2, 3});
  const Bytes run = FlicChunk(15, {1, 4, 7, 1, 0xFC, 1, 2, 3, 4});
  const Bytes byteDelta = FlicChunk(12, {0, 0, 2, 0, 1, 1, 2, 8, 9, 1, 0, 0xFE, 5});
  // A literal pair and a repeated one, the last pixel set by itself, a skipped line.
  const Bytes wordDelta =
      FlicChunk(7, {1, 0, 9, 0x80, 0xFF, 0xFF, 2, 0, 0, 1, 1, 2, 0, 0xFF, 3, 4});
  const Bytes copy = FlicChunk(16, {1, 2, 3, 4, 5, 6, 7, 8}), black = FlicChunk(13, {});
  const Bytes prefix = FlicFrame({FlicChunk(99, {1, 2, 3})}, 0xF100);
  const Bytes key64 = FlicFrame({colour64, run}), key = prefix + FlicFrame({colour, run});
  const Bytes lying = WithByte(copy, 3, 0x7F);
  return {
      .name = "flic",
      .load = LoadLastFlicFrame,
      .savings = {},
      .samples = {{"fli",
                   FlicFile(kFli, 4, 2, {key64, FlicFrame({byteDelta}), FlicFrame({black, copy})})},
                  {"flc", FlicFile(kFlc, 4, 2, {key, FlicFrame({wordDelta}), FlicFrame({})})},
                  {"chunk-size-lies", FlicFile(kFlc, 4, 2, {FlicFrame({lying, run})})}},
      .promises = {{"square", FlicFile(kFlc, 16000, 16000, {FlicFrame({run, copy})})},
                   {"largest", FlicFile(kFli, 65535, 65535, {FlicFrame({run})})},
                   {"black-again",
                    FlicFile(kFlc, 16000, 16000, {FlicFrame(std::vector<Bytes>(2000, black))})}},
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

ImageRecord* LoadDemNamed(const char* path) {
  return LoadDem(path, "elevations");
}

Codec Dem() {
  const std::string start = DemHeader({}) + DemProfile(1);
  return {
      .name = "dem",
      .load = LoadDemNamed,
      .savings = {},
      .samples = {{"few-elevations", TextBytes(start + "100 250 400 -1 ")}},
      .promises = {{"header-alone", TextBytes(start)}},
  };
}

Codec Psd() {
  const Bytes lengths = {0, 2, 0, 3, 0, 2}, packed = {0xFF, 9, 1, 7, 8, 0xFF, 5};
  const PsdFields rle = {.compression = 1};
  const auto psd = [](std::uint32_t channels, std::uint32_t width, std::uint32_t bits,
                      std::uint32_t mode, const Bytes& body, const Bytes& colours = {}) {
    return PsdFile({channels, width, 1, bits, mode, 0, colours}, body);
  };
  return {
      .name = "psd",
      .load = LoadPsd,
      .savings = {},
      .samples = {{"bitmap", psd(1, 9, 1, 0, {0xA5, 0x80})},
                  {"grey-alpha", psd(2, 2, 8, 1, {1, 2, 3, 4})},
                  {"duotone", psd(1, 2, 8, 8, {1, 2}, {1, 2})},
                  {"indexed", psd(1, 2, 8, 2, {0, 255}, NoiseBytes(768, 1))},
                  {"rgb", PsdFile({}, {1, 2, 3, 4, 5, 6})},
                  {"rgba-16", psd(4, 1, 16, 3, {1, 9, 2, 9, 3, 9, 4, 9})},
                  {"cmyk", psd(4, 1, 8, 4, {255, 128, 0, 128})},
                  {"packed", PsdFile(rle, lengths + packed)}},
      .promises = {{"square", PsdFile({.width = 16000, .height = 16000}, {1, 2, 3})},
                   {"largest", PsdFile({.width = 30000, .height = 30000}, {1, 2, 3})},
                   {"packed", PsdFile({.width = 16000, .height = 16000, .compression = 1},
                                      lengths + packed)}},
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
