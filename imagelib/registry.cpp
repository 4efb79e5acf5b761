#include "imagelib/registry.h"

#include <cstdio>

#include "imagelib/quirks.h"
#include "imagelib/text.h"

namespace imx {
namespace {

constexpr std::int32_t kDepthBitCounts[kDepthNames] = {32, 24, 8, 7, 6, 5, 4, 3, 2, 1};

enum CapabilityBit : std::uint32_t {
  kDepthMask = (1u << kDepthNames) - 1,
  kInterlaces = 1u << 23,
  kGreyBelow24 = 1u << 24,
  kHasQuality = 1u << 25,
  kCompresses = 1u << 26,
  kSaves = 1u << 28,
  kLoads = 1u << 29,
  kReducesColours = 1u << 30,
  kLossy = 1u << 31,
};

/// The depth bits of these bits per pixel.
template <typename... Bits>
constexpr std::uint32_t Depths(Bits... bits) {
  std::uint32_t mask = 0;
  for (std::int32_t bit = 0; bit < kDepthNames; ++bit) {
    if (((kDepthBitCounts[bit] == bits) || ...)) mask |= 1u << bit;
  }
  return mask;
}

constexpr RegistryRow kTable[kRegistryRows + 1] = {
    {"tga", "Targa (*.tga)", kTypeTarga,
     kLoads | kSaves | kCompresses | kReducesColours | Depths(32, 24)},
    {"bmp", "BMP (*.bmp)", kTypeBmp, kLoads | kSaves | kReducesColours | Depths(24, 8, 4, 1)},
    {"gif", "GIF (*.gif)", kTypeGif, kLoads | kSaves | kInterlaces | kReducesColours | Depths(8)},
    {"fs", "Framestore (*.fs)", kTypeFramestore,
     kLoads | kSaves | kCompresses | kLossy | Depths(24)},
    {"flc", "Flick (*.flc)", kTypeFlc, kLoads | kReducesColours | Depths(8)},
    {"avi", "AVI (*.avi)", kTypeAvi, kLoads | kReducesColours | Depths(8)},
    {"psd", "Photoshop (*.psd)", kTypePhotoshop, kLoads},
    {"pic", "Softimage (*.pic)", kTypeSoftimage, kLoads | kSaves | Depths(24)},
    {"rla", "Wavefront (*.rla)", kTypeRla, kLoads | kSaves | Depths(24)},
    {"pix", "Alias (*.pix)", kTypeAlias, kLoads | kSaves | Depths(24)},
    {"fli", "Flick (*.fli)", kTypeFli, kLoads | kReducesColours | Depths(8)},
    {"dem", "DEM (*.dem)", kTypeDem, kLoads | Depths(8)},
    {"red", "RAW Red (*.red)", kTypeRawRed, kLoads | kSaves | Depths(8)},
    {"grn", "RAW Green (*.grn)", kTypeRawGreen, kLoads | kSaves | Depths(8)},
    {"blu", "RAW Blue (*.blu)", kTypeRawBlue, kLoads | kSaves | Depths(8)},
    {"gry", "RAW Grey (*.gry)", kTypeRawGrey, kLoads | kSaves | Depths(8)},
    {"raw", "RAW RGB (*.raw)", kTypeRawRgb, kLoads | kSaves | Depths(24)},
    {"jpg", "JPEG (*.jpg)", kTypeJpeg, kLoads | kSaves | kHasQuality | kLossy | Depths(24)},
    {"tif", "TIFF (*.tif)", kTypeTiff, kLoads | kSaves | kCompresses | Depths(32, 24)},
    {"iff", "Amiga IFF (*.iff)", kTypeIff, kLoads | kSaves | kCompresses | Depths(24)},
    {"pcx", "PCX (*.pcx)", kTypePcx, kLoads | kSaves | kReducesColours | Depths(24, 8, 4, 1)},
    {"rgb", "SGI RGB (*.rgb)", kTypeSgi,
     kLoads | kSaves | kCompresses | kGreyBelow24 | Depths(32, 24, 8)},
    {"ppm", "PPM (*.ppm)", kTypePpm, kLoads | kSaves | kCompresses | Depths(24)},
    {"png", "PNG (*.png)", kTypePng,
     kLoads | kSaves | kInterlaces | kReducesColours | Depths(32, 24, 8)},
    {"trm", "QMK Trim (*.trm)", kTypeTrim, kLoads | kSaves | Depths(32, 24)},
    {"", "", -1, 0},
};

constexpr const char* kDepthNameTexts[kDepthNames] = {
    "32-bit (16m colors + Alpha)",
    "24-bit (16m colors)",
    "8-bit (256 values)",
    "7-bit (128 values)",
    "6-bit (64 values)",
    "5-bit (32 values)",
    "4-bit (16 values)",
    "3-bit (8 values)",
    "2-bit (4 values)",
    "1-bit (2 values)",
};

constexpr std::int32_t kFirstReducedDepthBit = 2;  // bits 0 and 1 are 32-bit and 24-bit

constexpr const char* kRawKindNames[kRawKinds] = {
    "Greyscale File",   "Red Channel File", "Green Channel File", "Blue Channel File",
    "RGB Triples File", "RBG Triples File", "GBR Triples File",   "GRB Triples File",
    "BGR Triples File", "BRG Triples File", "R, G & B Files",
};

std::uint32_t Capabilities(std::int32_t row) {
  return Registry(row).capabilities;
}

std::int32_t Has(std::int32_t row, std::uint32_t bit) {
  return (Capabilities(row) & bit) ? 1 : 0;
}

const char* DepthSuffix(std::uint32_t capabilities, std::int32_t bit) {
  const bool reduced = bit >= kFirstReducedDepthBit;
  if (capabilities & kLossy) return " - [lossy]";
  if (capabilities & kReducesColours) return reduced ? " - [reduction]" : "";
  if (capabilities & kGreyBelow24) return reduced ? " - [greyscale]" : "";
  return "";
}

}  // namespace

const RegistryRow& Registry(std::int32_t row) {
  return kTable[row >= 0 && row < kRegistryRows ? row : kRegistryRows];
}

const char* TypeLabel(std::int32_t row) {
  return Registry(row).label;
}
const char* TypeExtension(std::int32_t row) {
  return Registry(row).extension;
}
std::int32_t TypeHasCompression(std::int32_t row) {
  return Has(row, kCompresses);
}
std::int32_t TypeHasInterlace(std::int32_t row) {
  return Has(row, kInterlaces);
}
std::int32_t TypeHasQuality(std::int32_t row) {
  return Has(row, kHasQuality);
}
std::int32_t TypeCanSave(std::int32_t row) {
  return Has(row, kSaves);
}
std::int32_t TypeCanLoad(std::int32_t row) {
  return Has(row, kLoads);
}
std::int32_t TypeRowOutOfRange(std::int32_t row) {
  return Capabilities(row) == 0 ? 1 : 0;
}

std::int32_t SaverPosition(std::int32_t row) {
  if (!TypeCanSave(row)) return -1;
  std::int32_t position = 0;
  for (std::int32_t i = 0; i < row; ++i) position += TypeCanSave(i);
  return position;
}

std::int32_t SaverRow(std::int32_t position) {
  for (std::int32_t row = 0; Capabilities(row) != 0; ++row) {
    if (TypeCanSave(row) && position-- == 0) return row;
  }
  return -1;
}

std::int32_t TypeRowByExtension(const char* extension) {
  for (std::int32_t row = 0; Capabilities(row) != 0; ++row) {
    if (EqualNoCase(TypeExtension(row), extension)) return row;
  }
  return -1;
}

TextLimits TypeTextLimits(std::int32_t row) {
  // The record itself holds no more.
  constexpr std::size_t kWhole = 254;
  // Credits of IFF files are cut to this when they are read back.
  constexpr std::size_t kIffCredit = 98;
  // The fields that plug-ins take credits from.
  constexpr std::size_t kPluginCredit = 99;
  switch (Registry(row).type) {
    case kTypeTarga:
      return {.author = 40, .comment = kWhole};
    case kTypePng:
      return {.author = kWhole, .comment = kWhole};
    case kTypeTrim:
    case kTypeIff:
    case kTypeFramestore:
      return {.author = kIffCredit, .comment = kWhole, .notice = kIffCredit};
    case kTypeTiff:
      if (Quirk(kTiffTexts)) {
        return {.author = kPluginCredit, .comment = kWhole, .notice = kPluginCredit};
      }
      return {.comment = kWhole};
    case kTypeJpeg:
      return {.comment = kWhole};
    default:
      return {};
  }
}

std::int32_t DepthChoiceCount(std::int32_t row) {
  std::int32_t count = 0;
  while (DepthChoiceBit(row, count) >= 0) ++count;
  return count;
}

std::int32_t DepthChoiceBit(std::int32_t row, std::int32_t choice) {
  const std::uint32_t depths = Capabilities(row) & kDepthMask;
  for (std::int32_t bit = 0; bit < kDepthNames && choice >= 0; ++bit) {
    if ((depths >> bit & 1) && choice-- == 0) return bit;
  }
  return -1;
}

std::int32_t DepthBits(std::int32_t bit) {
  return bit >= 0 && bit < kDepthNames ? kDepthBitCounts[bit] : 0;
}

const char* DepthSuffixName(std::int32_t row, std::int32_t choice) {
  static char text[64];
  const std::int32_t bit = DepthChoiceBit(row, choice);
  if (bit < 0) return nullptr;
  std::snprintf(text, sizeof text, "%s%s", kDepthNameTexts[bit],
                DepthSuffix(Capabilities(row), bit));
  return text;
}

const char* RawKindName(std::int32_t kind) {
  return kind >= 0 && kind < kRawKinds ? kRawKindNames[kind] : nullptr;
}

}  // namespace imx
