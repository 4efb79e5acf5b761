#include "viewer/model/thumbnails.h"

#include <algorithm>

#include "imagelib/text.h"
#include "shell/model/display_row.h"
#include "viewer/model/scaled_rows.h"

namespace imx {
namespace {

std::size_t BytesOf(const std::string& name, const Thumbnail& thumbnail) {
  constexpr std::size_t kEntry = 128;  // about what the rest of one takes
  return kEntry + name.size() + thumbnail.bgrx.size() + thumbnail.facts.size();
}

}  // namespace

Thumbnail MakeThumbnail(const ImageRecord& image, Extent most) {
  View view = {.image = {image.width, image.height}, .client = most};
  FitToWindow(view);
  if (view.zoom.Enlarges()) view.zoom = {};
  Thumbnail thumbnail = {ShownSize(view), {}, {}};
  thumbnail.facts = std::to_string(image.width) + " x " + std::to_string(image.height);
  const bool alpha = (image.flags & kFlagAlpha) != 0;
  QuarterCopy copy;
  const ScaledSource source =
      SourceFor(image, view.zoom, alpha ? Averages::byAlpha : Averages::plain, copy);
  const std::size_t rowBytes = std::size_t{4} * static_cast<std::size_t>(thumbnail.size.width);
  std::vector<std::uint8_t> row(rowBytes);
  thumbnail.bgrx.resize(rowBytes * static_cast<std::size_t>(thumbnail.size.height));
  for (std::int32_t y = 0; y < thumbnail.size.height; ++y) {
    const auto out =
        std::span(thumbnail.bgrx).subspan(rowBytes * static_cast<std::size_t>(y), rowBytes);
    MakeScaledRow(source, y, 0, row);
    if (alpha) {
      CheckerboardDisplayRow(row, y, out);
    } else {
      PlainDisplayRow(row, out);
    }
  }
  return thumbnail;
}

const Thumbnail* ThumbnailCache::Find(const std::string& name) {
  const auto found = std::find_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& entry) { return entry.name == name; });
  if (found == entries_.end()) return nullptr;
  entries_.splice(entries_.begin(), entries_, found);
  return &found->thumbnail;
}

void ThumbnailCache::Put(const std::string& name, Thumbnail thumbnail) {
  std::erase_if(entries_, [&](const Entry& entry) {
    if (entry.name != name) return false;
    bytes_ -= BytesOf(entry.name, entry.thumbnail);
    return true;
  });
  bytes_ += BytesOf(name, thumbnail);
  entries_.push_front({name, std::move(thumbnail)});
  while (bytes_ > most_ && entries_.size() > 1) {
    bytes_ -= BytesOf(entries_.back().name, entries_.back().thumbnail);
    entries_.pop_back();
  }
}

std::int32_t FindByStart(const std::vector<std::string>& names, const std::string& typed,
                         std::int32_t start) {
  const auto count = static_cast<std::int32_t>(names.size());
  for (std::int32_t i = 0; i < count; ++i) {
    const std::int32_t at = (std::max(start, 0) + i) % count;
    const std::string_view name = names[static_cast<std::size_t>(at)];
    if (EqualNoCase(name.substr(0, typed.size()), typed)) return at;
  }
  return -1;
}

std::string FileSizeText(std::uint64_t bytes) {
  constexpr std::uint64_t kKilo = 1024, kMega = kKilo * kKilo;
  if (bytes < 10 * kMega) return std::to_string((bytes + kKilo - 1) / kKilo) + " KB";
  return std::to_string((bytes + kMega / 2) / kMega) + " MB";
}

}  // namespace imx
