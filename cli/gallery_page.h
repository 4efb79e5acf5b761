/// The web page of a gallery.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "cli/json.h"

namespace imx {

/// What is known of a picture when it has been loaded; of one that could not be, what its header
/// tells.
struct PictureFacts {
  std::string format;  ///< short label; empty: nothing is known
  bool shown = false;  ///< there are a thumbnail and a full picture
  std::int32_t width = 0, height = 0;
  std::uint32_t depth = 0;  ///< bits per pixel of the file; 0: it has no such
  std::int32_t frames = 0;  ///< of a sequence
  std::string author, comment, notice;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(PictureFacts, format, shown, width, height, depth, frames,
                                   author, comment, notice)

/// An input of the gallery.
struct GalleryEntry {
  std::string input;  ///< its name
  std::string file;   ///< name of its pictures in the folders thumbs and full
  PictureFacts facts;
  std::string message;  ///< what was said about it
  bool failed = false;  ///< for the reason that `message` gives
  std::uint64_t bytes = 0;
  std::int64_t changed = 0;  ///< ModificationTime
};

/// Names of the folders of pictures beside the page.
inline constexpr char kThumbnailFolder[] = "thumbs";
inline constexpr char kPictureFolder[] = "full";

/// Longest side of a thumbnail in pixels.
inline constexpr std::int32_t kThumbnailSide = 256;

/// `text` as the content of an element or of an attribute in quotes. Control characters, which a
/// page cannot have, become U+FFFD.
std::string HtmlText(std::string_view text);

/// Writes the page. Errors are left to the stream.
void WriteGalleryPage(const std::vector<GalleryEntry>& entries, std::FILE* to);

/// The page around the list of pictures, without a variable part but the list.
extern const std::string_view kGalleryHead, kGalleryTail;

}  // namespace imx
