#include "dispatch/file_tests.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "formats/alias.h"
#include "formats/codec_state.h"
#include "formats/png.h"
#include "formats/pnm.h"
#include "formats/raw.h"
#include "formats/softimage.h"
#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/open_file.h"
#include "imagelib/quirks.h"
#include "imagelib/text.h"

namespace imx {
namespace {

using namespace std::string_view_literals;

bool HasAt(const FileStart& file, std::size_t offset, std::string_view magic) {
  return std::memcmp(file.bytes + offset, magic.data(), magic.size()) == 0;
}

bool NameEndsIn(const FileStart& file, std::string_view ending) {
  return EndsWithNoCase(file.path, ending);
}

std::int16_t BigEndian16(const FileStart& file, std::size_t offset) {
  return static_cast<std::int16_t>(LoadU16(file.bytes + offset, ByteOrder::big));
}

/// Printable ASCII or white space.
bool IsTextByte(std::uint8_t byte) {
  return (byte >= ' ' && byte <= '~') || (byte >= '\t' && byte <= '\r');
}

}  // namespace

bool ReadFileStart(const char* path, FileStart* start) {
  const OpenFile file(OpenForReading(path));
  if (!file) return false;
  *start = {path, 0, 0, {}};
  std::setvbuf(file.get(), nullptr, _IONBF, 0);  // it is read once
  start->size = std::fread(start->bytes, 1, sizeof start->bytes, file.get());
  if (std::ferror(file.get()) || fseeko(file.get(), 0, SEEK_END) != 0) return false;
  start->fileSize = static_cast<std::uint64_t>(std::max<off_t>(ftello(file.get()), 0));
  return true;
}

bool LooksLikePng(const FileStart& file) {
  return IsPng(file.bytes, static_cast<std::uint32_t>(file.size));
}

bool LooksLikePhotoshop(const FileStart& file) {
  return HasAt(file, 0, "8BPS"sv);
}

bool LooksLikeSoftimage(const FileStart& file) {
  return IsSoftimageStart(file.bytes, file.fileSize);
}

bool LooksLikeWavefront(const FileStart& file) {
  const auto isFieldByte = [](std::uint8_t byte) { return byte == 0 || IsTextByte(byte); };
  const std::uint8_t* gamma = file.bytes + 28;
  return file.size == kFileStartSize &&                               // the header has 740 bytes
         BigEndian16(file, 10) >= BigEndian16(file, 8) &&             // active window: right, left
         BigEndian16(file, 14) >= BigEndian16(file, 12) &&            // top, bottom
         BigEndian16(file, 18) == 0 &&                                // storage type: bytes
         BigEndian16(file, 20) == 3 &&                                // colour channels
         BigEndian16(file, 22) >= 0 && BigEndian16(file, 22) <= 1 &&  // matte channels
         BigEndian16(file, 26) == -2 &&                               // revision
         std::all_of(gamma, gamma + 16, isFieldByte);
}

bool LooksLikeIff(const FileStart& file) {
  if (HasAt(file, 0, "FORM"sv) || HasAt(file, 0, "ILBM"sv)) return true;
  const bool holdsPictures = HasAt(file, 8, "ILBM"sv) || HasAt(file, 8, "PBM "sv);
  const bool isList = HasAt(file, 0, "LIST"sv) || HasAt(file, 0, "CAT "sv);
  return isList && (holdsPictures || HasAt(file, 8, "    "sv)) && Quirk(kIlbmContainers);
}

bool LooksLikeGif(const FileStart& file) {
  return HasAt(file, 0, "GIF"sv);
}

bool LooksLikeJpeg(const FileStart& file) {
  if (!HasAt(file, 0, "\xFF\xD8\xFF"sv)) return false;
  const bool isJfif = file.bytes[3] == 0xE0 && HasAt(file, 6, "JFIF"sv) && file.bytes[11] == 1 &&
                      file.bytes[12] < 3;
  return isJfif || Quirk(kJpegWithoutJfif);
}

bool LooksLikeSgi(const FileStart& file) {
  return HasAt(file, 0, "\x01\xDA"sv);
}

bool LooksLikeBmp(const FileStart& file) {
  return HasAt(file, 0, "BM"sv) ||
         (HasAt(file, 0, "BA"sv) && HasAt(file, 14, "BM"sv) && Quirk(kBmpHeaders));
}

bool LooksLikeTiff(const FileStart& file) {
  return HasAt(file, 0, "II"sv) || HasAt(file, 0, "MM"sv);
}

bool LooksLikePcx(const FileStart& file) {
  return file.bytes[0] == 10 && NameEndsIn(file, ".pcx"sv);
}

bool LooksLikeAlias(const FileStart& file) {
  return NameEndsIn(file, ".pix"sv) && IsAliasStart(file.bytes, file.size);
}

bool LooksLikeTarga(const FileStart& file) {
  return "\x01\x02\x03\x09\x0A\x0B"sv.find(static_cast<char>(file.bytes[2])) !=
             std::string_view::npos &&
         NameEndsIn(file, ".tga"sv);
}

bool LooksLikeRaw(const FileStart& file) {
  return Raw().kind >= 0 || RawKindByName(file.path) >= 0;
}

bool LooksLikePpm(const FileStart& file) {
  if (HasAt(file, 0, "P6"sv) || HasAt(file, 0, "P3"sv)) return true;
  return IsPnmStart(file.bytes) && Quirk(kPnmFamily);
}

bool LooksLikeFlic(const FileStart& file) {
  return file.bytes[5] == 0xAF && (file.bytes[4] == 0x11 || file.bytes[4] == 0x12) &&
         (NameEndsIn(file, ".flc"sv) || NameEndsIn(file, ".fli"sv));
}

bool LooksLikeAvi(const FileStart& file) {
  return HasAt(file, 0, "RIFF"sv) && HasAt(file, 8, "AVI"sv);
}

bool LooksLikeDem(const FileStart& file) {
  constexpr std::size_t kTextBytes = 14;  // as many as the loader looks at itself
  return file.size >= kTextBytes && std::all_of(file.bytes, file.bytes + kTextBytes, IsTextByte) &&
         NameEndsIn(file, ".dem"sv);
}

}  // namespace imx
