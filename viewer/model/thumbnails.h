/// Small pictures of files, kept in memory within a bound.
#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "viewer/model/view.h"

namespace imx {

/// Most that the thumbnails of a window take; those not looked at for longest go first.
inline constexpr std::size_t kThumbnailBytes = std::size_t{32} << 20;

struct Thumbnail {
  Extent size;
  std::vector<std::uint8_t> bgrx;  ///< blue, green, red and an unused byte; empty: there is none
  std::string facts;               ///< "640 x 480", or why there is none
};

/// The image within `most`, never enlarged; alpha over a checkerboard.
Thumbnail MakeThumbnail(const ImageRecord& image, Extent most);

class ThumbnailCache {
 public:
  explicit ThumbnailCache(std::size_t most = kThumbnailBytes) : most_(most) {}

  /// The thumbnail of the file, or null. It stays valid until the next Put.
  const Thumbnail* Find(const std::string& name);
  void Put(const std::string& name, Thumbnail thumbnail);
  void Clear() { *this = ThumbnailCache(most_); }
  std::size_t bytes() const { return bytes_; }

 private:
  struct Entry {
    std::string name;
    Thumbnail thumbnail;
  };
  std::list<Entry> entries_;  // the one looked at last stands first
  std::size_t most_;
  std::size_t bytes_ = 0;
};

/// Place of the first name from `start` on, round about, that begins with `typed`, without regard
/// to the case of ASCII letters; -1 when none does.
std::int32_t FindByStart(const std::vector<std::string>& names, const std::string& typed,
                         std::int32_t start);

/// "12 KB".
std::string FileSizeText(std::uint64_t bytes);

}  // namespace imx
