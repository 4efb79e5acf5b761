/// What the load dispatch asks of a file's start and name to tell its type.
#pragma once

#include <cstddef>
#include <cstdint>

namespace imx {

inline constexpr std::size_t kFileStartSize = 100;

/// The first bytes of a file; zeros follow where the file is shorter.
struct FileStart {
  const char* path;
  std::uint64_t fileSize;
  std::size_t size;  ///< bytes that the file really has, up to kFileStartSize
  std::uint8_t bytes[kFileStartSize];
};

/// Reads the start of `path`. False when it cannot be opened or read: errno tells.
bool ReadFileStart(const char* path, FileStart* start);

// Each answers for its type alone and changes nothing; the order in which they are asked is the
// dispatch's. Names are compared without regard to case.

bool LooksLikePng(const FileStart& file);
bool LooksLikePhotoshop(const FileStart& file);
bool LooksLikeSoftimage(const FileStart& file);
/// Nothing in the format is a magic: the fields that all such files share are taken together.
bool LooksLikeWavefront(const FileStart& file);
/// "FORM" or "ILBM".
bool LooksLikeIff(const FileStart& file);
bool LooksLikeGif(const FileStart& file);
/// JFIF of version 1.0 to 1.2; to other programs, any JPEG.
bool LooksLikeJpeg(const FileStart& file);
bool LooksLikeSgi(const FileStart& file);
bool LooksLikeBmp(const FileStart& file);
bool LooksLikeTiff(const FileStart& file);
/// First byte 10 and ".pcx".
bool LooksLikePcx(const FileStart& file);
bool LooksLikeAlias(const FileStart& file);
/// A known image type in byte 2 and ".tga".
bool LooksLikeTarga(const FileStart& file);
/// A raw layout has been chosen (Raw().kind), or the extension names one.
bool LooksLikeRaw(const FileStart& file);
/// To other programs, any anymap.
bool LooksLikePpm(const FileStart& file);
/// The magic of either kind and ".flc" or ".fli".
bool LooksLikeFlic(const FileStart& file);
bool LooksLikeAvi(const FileStart& file);
/// Text at the start and ".dem". Binary files that begin with text pass too: the loader refuses
/// them with a message of its own.
bool LooksLikeDem(const FileStart& file);

}  // namespace imx
