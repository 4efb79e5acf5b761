/// The format registry: one table of the file types, and questions about its rows.
#pragma once

#include <cstddef>
#include <cstdint>

namespace imx {

/// File type ids, as stored in ImageRecord::fileType by most load branches.
enum FileType : std::int32_t {
  kTypeBmp = 0,
  kTypeFlc = 1,
  kTypeFli = 2,
  kTypeIff = 3,
  kTypeJpeg = 4,
  kTypePcx = 5,
  kTypeTarga = 6,
  kTypeTiff = 7,
  kTypeTrim = 8,
  kTypeAvi = 9,
  kTypeFramestore = 10,
  kTypeGif = 11,
  kTypePng = 12,
  kTypeSoftimage = 13,
  kTypeRla = 14,
  kTypeAlias = 15,
  kTypeRawRgb = 16,
  kTypeRawRed = 17,
  kTypeRawGreen = 18,
  kTypeRawBlue = 19,
  kTypeRawGrey = 20,
  kTypeDem = 21,
  kTypePpm = 23,
  kTypeSgi = 24,
  kTypePhotoshop = 25,
};

/// One file type. The row index is what the save choices store.
struct RegistryRow {
  const char* extension;  ///< without the dot
  const char* label;      ///< for file dialogs
  std::int32_t type;      ///< FileType
  std::uint32_t capabilities;
};

inline constexpr std::int32_t kRegistryRows = 25;
inline constexpr std::int32_t kDepthNames = 10;
inline constexpr std::int32_t kRawKinds = 11;

/// Row `row` of the table; past the end, the closing row, whose capability word is 0.
const RegistryRow& Registry(std::int32_t row);

const char* TypeLabel(std::int32_t row);
const char* TypeExtension(std::int32_t row);
/// 0 or 1.
std::int32_t TypeHasCompression(std::int32_t row);
std::int32_t TypeHasInterlace(std::int32_t row);
std::int32_t TypeHasQuality(std::int32_t row);
std::int32_t TypeCanSave(std::int32_t row);
std::int32_t TypeCanLoad(std::int32_t row);
/// Nonzero when `row` is negative, or at or past the end row.
std::int32_t TypeRowOutOfRange(std::int32_t row);
/// Position of the row among those that can be saved, -1 when it is not one of them.
std::int32_t SaverPosition(std::int32_t row);
/// Row of a position among those that can be saved, -1 when out of range.
std::int32_t SaverRow(std::int32_t position);
/// First row with this extension (no dot; case is ignored), or -1.
std::int32_t TypeRowByExtension(const char* extension);

/// Bytes that the row's saver keeps of an image's texts; 0 where it keeps none.
struct TextLimits {
  std::size_t author = 0;
  std::size_t comment = 0;
  std::size_t notice = 0;
};
TextLimits TypeTextLimits(std::int32_t row);

/// Number of depths that the row offers.
std::int32_t DepthChoiceCount(std::int32_t row);
/// Bit (0..9) of the row's n-th offered depth, or -1.
std::int32_t DepthChoiceBit(std::int32_t row, std::int32_t choice);
/// Bits per pixel that depth bit 0..9 stands for (32, 24, 8, 7 ... 1); 0 outside.
std::int32_t DepthBits(std::int32_t bit);
/// Name of the row's n-th offered depth with its suffix, in one static buffer that each call
/// overwrites; null when the row offers fewer depths.
const char* DepthSuffixName(std::int32_t row, std::int32_t choice);

/// Name of a raw layout code (0..10) in the guide's "Load As Type" list; null past the end.
const char* RawKindName(std::int32_t kind);

}  // namespace imx
