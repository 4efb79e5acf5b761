#include "shell/model/progress_layout.h"

#include <algorithm>

namespace imx {
namespace {

constexpr double kBarWidthShare = 0.9;
constexpr double kBarHeightShare = 0.5;

// Positions below 0 of a total of 0 are minus infinity, and times a width of 0 no number.
std::int32_t Truncated(float value) {
  constexpr float kLowest = -2147483648.0F;
  return value > kLowest ? static_cast<std::int32_t>(value) : INT32_MIN;
}

std::int32_t Share(std::int32_t size, double share) {
  return static_cast<std::int32_t>(share * size);
}

}  // namespace

float ProgressScale(std::int32_t total) {
  return static_cast<float>(1.0 / total);
}

float ProgressFraction(std::int32_t position, float scale) {
  const float fraction = static_cast<float>(position) * scale;
  return fraction < 1.0F ? fraction : 1.0F;  // also when 0 x infinity is no number
}

std::int32_t ProgressPercentage(float fraction) {
  return Truncated(fraction * 100.0F);
}

ProgressLayout LayOutProgress(const Box& client, bool abortable, float fraction) {
  ProgressLayout layout = {};
  layout.barArea = client;
  if (abortable) layout.barArea.bottom = client.top + client.height() / 2;

  const std::int32_t width = Share(client.width(), kBarWidthShare);
  const std::int32_t height = Share(layout.barArea.height(), kBarHeightShare);
  const std::int32_t left = client.left + client.width() / 2 - width / 2;
  const std::int32_t top = layout.barArea.top + layout.barArea.height() / 2 - height / 2;
  const Box bar = {left, top, left + width, top + height};

  // A position below 0 fills nothing.
  const std::int32_t filledWidth = std::max(Truncated(static_cast<float>(width) * fraction), 0);
  const std::int32_t filledTo = bar.left + std::min(filledWidth, width);
  layout.filled = {bar.left, bar.top, filledTo, bar.bottom};
  layout.unfilled = {filledTo, bar.top, bar.right, bar.bottom};

  layout.margins[0] = {client.left, client.top, client.right, bar.top};
  layout.margins[1] = {client.left, bar.bottom, client.right, client.bottom};
  layout.margins[2] = {client.left, bar.top, bar.left, bar.bottom};
  layout.margins[3] = {bar.right, bar.top, client.right, bar.bottom};
  return layout;
}

Box StopButtonBox(const Box& client) {
  const std::int32_t left = client.right - client.width() / 2 - kStopButtonWidth / 2;
  const std::int32_t top =
      client.bottom - (client.bottom - kProgressBarStrip) / 2 - kStopButtonHeight / 2;
  return {left, top, left + kStopButtonWidth, top + kStopButtonHeight};
}

}  // namespace imx
