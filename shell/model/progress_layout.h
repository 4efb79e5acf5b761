/// Arithmetic of the progress window: how far it is, and where its parts stand.
#pragma once

#include <cstdint>

namespace imx {

/// Right and bottom edges are outside.
struct Box {
  std::int32_t left;
  std::int32_t top;
  std::int32_t right;
  std::int32_t bottom;

  std::int32_t width() const { return right - left; }
  std::int32_t height() const { return bottom - top; }
  friend bool operator==(const Box&, const Box&) = default;
};

inline constexpr std::int32_t kProgressWidth = 300;     ///< of the client area, when opened
inline constexpr std::int32_t kProgressBarStrip = 30;   ///< height of the part with the bar
inline constexpr std::int32_t kProgressStopStrip = 30;  ///< height of the part with the button
inline constexpr std::int32_t kStopButtonWidth = 72;
inline constexpr std::int32_t kStopButtonHeight = 24;

/// The length of one step; infinite for a total of 0.
float ProgressScale(std::int32_t total);

/// At most 1; not limited downwards. Position 0 of a total of 0 is 1.
float ProgressFraction(std::int32_t position, float scale);

std::int32_t ProgressPercentage(float fraction);

/// Everything that is painted. The margins and the two parts of the bar cover the client area.
struct ProgressLayout {
  Box barArea;     ///< the percentage stands in its middle
  Box filled;      ///< left part of the bar
  Box unfilled;    ///< the rest of the bar
  Box margins[4];  ///< above, below, left and right of the bar
};

/// `abortable` leaves the lower half of the client area to the Stop button.
ProgressLayout LayOutProgress(const Box& client, bool abortable, float fraction);

/// Where the Stop button stands in a client area just opened.
Box StopButtonBox(const Box& client);

}  // namespace imx
