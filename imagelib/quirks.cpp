#include "imagelib/quirks.h"

#include <algorithm>
#include <iterator>

namespace imx {
namespace {

constexpr bool kReads = true;
constexpr bool kWrites = true;

constexpr QuirkRow kRows[] = {
    {kJpegWithoutJfif, "jpeg-without-jfif", "jpg", "only files that begin with a JFIF header",
     "every JPEG: with an Exif or Adobe header, or none", kReads, !kWrites},
    {kJpegOrientation, "jpeg-orientation", "jpg", "pixels are shown as they are stored",
     "the picture is turned upright as Exif's orientation says", kReads, !kWrites},
    {kPngDamage, "png-damage", "png", "damaged files are refused",
     "wrong check sums, unknown chunks and blue-first pixels (CgBI) are read, and of a file that "
     "breaks off the rows before",
     kReads, !kWrites},
    {kPngNoMetrePixels, "png-no-metre-pixels", "png", "pixels are stated to be a metre wide",
     "no pixel size is stated", !kReads, kWrites},
    {kGifScreen, "gif-screen", "gif",
     "all frames are drawn over each other at the top left with the width of the first; a nonzero "
     "aspect byte gives a blank image",
     "frames are placed on the logical screen with their own colours, transparency and disposal, "
     "counted and chosen; the aspect byte is passed over",
     kReads, !kWrites},
    {kPnmFamily, "pnm-family", "ppm", "P3 and P6 only", "P1 to P7, under every usual extension",
     kReads, !kWrites},
    {kPnmSamples, "pnm-samples", "ppm",
     "one byte a sample in binary files; samples are scaled and cut; text ends with white space",
     "two bytes a sample where the maximum is above 255; samples are scaled and rounded; text ends "
     "with its last digit",
     kReads, !kWrites},
    {kBmpTopDown, "bmp-top-down", "bmp", "a negative height refuses the file",
     "the rows are stored top row first", kReads, !kWrites},
    {kBmpMasks, "bmp-masks", "bmp",
     "bit masks are passed over; 16-bit pixels take red from the 5-6-5 place, green and blue from "
     "the 5-5-5 places",
     "masks of any kind are obeyed, alpha among them; 16-bit pixels without masks are 5-5-5",
     kReads, !kWrites},
    {kBmpRunLength, "bmp-run-length", "bmp",
     "both pixels of an RLE4 run take the low nibble; skipped pixels are black",
     "the nibbles alternate; skipped pixels take entry 0", kReads, !kWrites},
    {kBmpHeaders, "bmp-headers", "bmp",
     "headers of 12 bytes, or of 40 or more; bitmap arrays are refused",
     "OS/2 headers that end early and the first picture of a bitmap array are read", kReads,
     !kWrites},
    {kTargaGrey, "targa-grey", "tga",
     "run-length grey is read as plain rows, 16-bit grey as colour",
     "run-length grey is decoded; 16-bit grey is grey with alpha", kReads, !kWrites},
    {kTargaRightToLeft, "targa-right-to-left", "tga", "the right-to-left bit is passed over",
     "it turns the rows round", kReads, !kWrites},
    {kTargaMap, "targa-map", "tga",
     "a colour map fills slots from 0; entries of 15 bits are not read",
     "it fills slots from its first entry; entries of 15 bits are read", kReads, !kWrites},
    {kTargaAttributes, "targa-attributes", "tga",
     "32-bit pixels alone have alpha, whatever the attribute bits say; none are stated when "
     "writing",
     "alpha counts, of 16-bit pixels too, where attribute bits or the extension area state it, and "
     "premultiplied colours are divided by it; it is stated when writing",
     kReads, kWrites},
    {kPcxLongRuns, "pcx-long-runs", "pcx", "runs end with their line",
     "runs go on over planes and lines", kReads, !kWrites},
    {kPcxPacked16, "pcx-packed-16", "pcx", "4 bits in one plane are read as four planes",
     "they are 16 colours, two pixels a byte", kReads, !kWrites},
    {kPcxStored, "pcx-stored", "pcx", "the encoding byte is passed over: all data are run-length",
     "encoding 0 is plain bytes", kReads, !kWrites},
    {kPcxBilevel, "pcx-bilevel", "pcx", "1-bit files take the header's two first colours",
     "they are black and white where those are equal", kReads, !kWrites},
    {kSgiWideRuns, "sgi-wide-runs", "rgb",
     "of run-length files with 2-byte samples one channel is read, into red",
     "all channels are read", kReads, !kWrites},
    {kSgiFullRange, "sgi-full-range", "rgb", "samples are scaled from the stated range",
     "the stated range is passed over", kReads, !kWrites},
    {kIlbmContainers, "ilbm-containers", "iff", "FORM ILBM and LIST as if it were a FORM",
     "pixels by bytes (PBM), and the first picture in a LIST or CAT, are read", kReads, !kWrites},
    {kIlbmAlphaPlanes, "ilbm-alpha-planes", "iff", "planes above 23 are passed over",
     "32 and 64 planes are colour and alpha, 48 and 64 are 16 bits a channel", kReads, !kWrites},
    {kIlbmHam, "ilbm-ham", "iff", "hold-and-modify needs 6 or 8 planes",
     "5 and 7 planes hold and modify blue alone", kReads, !kWrites},
    {kIlbmVertical, "ilbm-vertical", "iff", "compression 2 is read as plain rows",
     "compression 2 runs down the columns", kReads, !kWrites},
    {kIlbmMask, "ilbm-mask", "iff", "the mask plane and the transparent colour are passed over",
     "they are alpha; written with a mask plane where the image has alpha", kReads, kWrites},
    {kIlbmLinePalettes, "ilbm-line-palettes", "iff", "one palette for the whole picture",
     "palette changes by line (PCHG, SHAM) are obeyed", kReads, !kWrites},
    {kIlbmChunky, "ilbm-chunky", "iff", "a DEEP form is refused", "its chunky pixels are read",
     kReads, !kWrites},
    {kSoftimagePackets, "softimage-packets", "pic",
     "a single packet is colour whatever its mask; colour needs its three channels together",
     "packets are read in their order, by their type, channels and size, in any number", kReads,
     !kWrites},
    {kSoftimageRuns, "softimage-runs", "pic", "pixels are written as they are",
     "they are written in runs", !kReads, kWrites},
    {kAliasBlueFirst, "alias-blue-first", "pix", "pixels are red, green, blue",
     "pixels are blue, green, red", kReads, kWrites},
    {kAliasGreyMatte, "alias-grey-matte", "pix", "a matte is alpha over grey 136",
     "a matte is a grey picture", kReads, !kWrites},
    {kRlaOffsets, "rla-offsets", "rla", "scanlines are read in sequence",
     "each scanline is read where the offset table says", kReads, !kWrites},
    {kRlaMatte, "rla-matte", "rla", "the matte is the complement of alpha", "the matte is alpha",
     kReads, kWrites},
    {kRlaDeepSamples, "rla-deep-samples", "rla", "samples are of 8 bits",
     "samples of up to 16 bits and floats are read", kReads, !kWrites},
    {kDemRecords, "dem-records", "dem",
     "fields are read as words: 1201 x 1201 elevations without the last column, levels that wrap, "
     "and no files whose name begins with a blank or whose header has the newer fields",
     "fields are read by their columns, from records with or without line ends: any size, all "
     "columns, levels that are held to the stated range",
     kReads, !kWrites},
    {kAviTopDown, "avi-top-down", "avi", "Windows refuses frames with the top row first",
     "they are read", kReads, !kWrites},
    {kAviDeepPixels, "avi-deep-pixels", "avi", "Windows reads 8, 16 (5-5-5) and 24 bits",
     "bit masks (5-6-5) and 32 bits as well", kReads, !kWrites},
    {kFlicColours, "flic-colours", "flc",
     "the colours stay from one load to the next, and a packet's first colour counts from the "
     "skips "
     "alone",
     "every load begins with black, and colours count on behind a packet", kReads, !kWrites},
    {kTiffDamage, "tiff-damage", "tif", "pixels are read up to the first damaged strip or tile",
     "damaged strips and tiles are passed over", kReads, !kWrites},
    {kTiffTexts, "tiff-texts", "tif", "author and notice are not written", "they are", !kReads,
     kWrites},
};
static_assert(std::size(kRows) == kQuirkCount);

constexpr bool RowsStandAtTheirIds() {
  for (std::size_t i = 0; i < kQuirkCount; ++i) {
    if (kRows[i].id != i) return false;
  }
  return true;
}
static_assert(RowsStandAtTheirIds());

QuirkSet turnedOn;
QuirkSet askedFor;  // on or off
QuirkSet met;       // asked while on, or shown by the file

}  // namespace

std::span<const QuirkRow> Quirks() {
  return kRows;
}

const QuirkRow* FindQuirk(std::string_view name) {
  const auto* found = std::find_if(std::begin(kRows), std::end(kRows),
                                   [name](const QuirkRow& row) { return name == row.name; });
  return found == std::end(kRows) ? nullptr : found;
}

const char* QuirkDirection(const QuirkRow& row) {
  if (!row.writing) return "reading";
  return row.reading ? "reading and writing" : "writing";
}

QuirkSet AllQuirks() {
  return QuirkSet().set();
}

std::string QuirkNames(const QuirkSet& set, const char* between) {
  std::string names;
  for (const QuirkRow& row : kRows) {
    if (set[row.id]) names.append(names.empty() ? "" : between).append(row.name);
  }
  return names;
}

std::optional<QuirkSet> QuirksNamed(std::string_view names) {
  QuirkSet named;
  while (!names.empty()) {
    const std::size_t comma = std::min(names.find(','), names.size());
    const QuirkRow* row = FindQuirk(names.substr(0, comma));
    if (!row) return std::nullopt;
    named.set(row->id);
    names.remove_prefix(std::min(comma + 1, names.size()));
  }
  return named;
}

bool Quirk(QuirkId id) {
  askedFor.set(id);
  if (turnedOn[id]) met.set(id);
  return turnedOn[id];
}

bool QuirkShown(QuirkId id) {
  askedFor.set(id);
  met.set(id);
  return turnedOn[id];
}

QuirkScope::QuirkScope(const QuirkSet& on) : before_(turnedOn) {
  turnedOn = on;
  askedFor.reset();
  met.reset();
}

QuirkScope::~QuirkScope() {
  turnedOn = before_;
  askedFor.reset();
  met.reset();
}

QuirkSet QuirkScope::asked() const {
  return askedFor;
}

QuirkSet QuirkScope::applied() const {
  return met & turnedOn;
}

QuirkSet QuirkScope::shown() const {
  return met & ~turnedOn;
}

}  // namespace imx
