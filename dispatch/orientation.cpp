#include "dispatch/orientation.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "ops/operations.h"

namespace imx {
namespace {

constexpr int kUpright = 1;
constexpr std::uint8_t kExifMarker = 0xE1;
constexpr std::uint8_t kScanMarker = 0xDA;
constexpr std::size_t kEntrySize = 12;
constexpr std::uint16_t kOrientationTag = 274;

/// The orientation in an Exif segment's data; 0 where it is another segment.
int OrientationIn(const FileReader::View& segment) {
  static constexpr char kExif[] = {'E', 'x', 'i', 'f', 0, 0};
  if (segment.size < sizeof kExif + 8) return 0;
  if (std::memcmp(segment.data, kExif, sizeof kExif) != 0) return 0;
  const std::uint8_t* const tiff = segment.data + sizeof kExif;
  const std::size_t size = segment.size - sizeof kExif;
  const ByteOrder order = tiff[0] == 'M' ? ByteOrder::big : ByteOrder::little;
  const std::uint64_t directory = LoadU32(tiff + 4, order);
  if (directory + 2 > size) return kUpright;
  const std::uint64_t count = LoadU16(tiff + directory, order);
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::uint64_t at = directory + 2 + kEntrySize * i;
    if (at + kEntrySize > size) break;
    if (LoadU16(tiff + at, order) != kOrientationTag) continue;
    const int value = LoadU16(tiff + at + 8, order);
    return value >= kUpright && value <= 8 ? value : kUpright;
  }
  return kUpright;
}

}  // namespace

int JpegOrientation(const char* path) {
  FileReader in(path);
  in.Skip(2);
  while (in.remaining() > 4) {
    if (in.U8() != 0xFF) break;
    std::uint8_t marker = 0xFF;  // may be filled up with more of these
    while (marker == 0xFF && in.remaining() > 2) marker = in.U8();
    const auto length = static_cast<std::uint32_t>(in.U8() << 8 | in.U8());
    if (marker == kScanMarker || length < 2 || length - 2 > in.remaining()) break;
    if (marker == kExifMarker) {
      if (const int orientation = OrientationIn(in.Peek(length - 2))) return orientation;
    }
    in.Skip(length - 2);
  }
  return kUpright;
}

bool MakeUpright(ImageRecord& image, int orientation) {
  static constexpr struct {
    bool mirrored;
    std::int32_t quarters;  ///< to be turned clockwise once it is mirrored
  } kWays[] = {{false, 0}, {true, 0},  {false, 2}, {true, 2},
               {true, 3},  {false, 1}, {true, 1},  {false, 3}};
  const auto& way = kWays[orientation - kUpright];
  if (!image.pixels) {
    if (way.quarters % 2 != 0) std::swap(image.width, image.height);
    return true;
  }
  const std::uint32_t flags = image.flags;
  if (way.mirrored) FlopLeftToRight(image);
  image.flags = flags;
  if (way.quarters == 0) return true;
  const NewImage turned = Rotated(image, way.quarters);
  if (!turned) return false;
  std::swap(image.width, turned.image->width);
  std::swap(image.height, turned.image->height);
  std::swap(image.pixels, turned.image->pixels);
  std::swap(image.rowOffsets, turned.image->rowOffsets);
  return true;
}

}  // namespace imx
