/// What was done to an image, so that it can be undone and done again.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "imagelib/guards.h"

namespace imx {

/// Most that the images kept for undoing take, those of all windows together.
inline constexpr std::uint64_t kHistoryBytes = std::uint64_t{256} << 20;

/// An image as it was at some time.
struct HistoryStep {
  ImageGuard image;
  bool edited = false;       ///< closing it then would have lost changes
  std::uint64_t serial = 0;  ///< later steps have larger ones
};

struct History {
  std::vector<HistoryStep> undo;  ///< the last one is undone first
  std::vector<HistoryStep> redo;
};

std::uint64_t BytesOf(const ImageRecord& image);

/// The image was `before` until a change: what was undone before cannot be done again.
void Remember(History& history, ImageGuard before, bool edited);

enum class HistoryWay { undo, redo };

/// Takes the next step of that way out. None when there is none.
std::optional<HistoryStep> TakeStep(History& history, HistoryWay way);

/// Keeps the image that this way leads back to.
void KeepStep(History& history, HistoryWay way, ImageGuard image, bool edited);

/// The image was saved: going to another step from here on is a change.
void MarkAllEdited(History& history);

/// Drops the oldest steps until all of them together are within `most` bytes.
void Trim(std::span<History* const> histories, std::uint64_t most);

}  // namespace imx
