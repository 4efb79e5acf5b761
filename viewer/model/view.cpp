#include "viewer/model/view.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace imx {
namespace {

constexpr Zoom kZooms[] = {{1, 32}, {1, 24}, {1, 16}, {1, 12}, {1, 8},  {1, 6}, {1, 4},
                           {1, 3},  {1, 2},  {2, 3},  {1, 1},  {2, 1},  {3, 1}, {4, 1},
                           {6, 1},  {8, 1},  {12, 1}, {16, 1}, {24, 1}, {32, 1}};

bool Less(Zoom a, Zoom b) {
  return std::int64_t{a.numerator} * b.denominator < std::int64_t{b.numerator} * a.denominator;
}

std::int32_t Narrowed(std::int64_t value) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(
      value, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

std::int64_t FloorDivide(std::int64_t value, std::int64_t by) {
  const std::int64_t quotient = value / by;
  return value % by < 0 ? quotient - 1 : quotient;
}

// The first shown pixel of the image's pixel `at`.
std::int64_t Shown(Zoom zoom, std::int64_t at) {
  return FloorDivide(at * zoom.numerator, zoom.denominator);
}

std::int32_t ShownLength(Zoom zoom, std::int32_t length) {
  const std::int64_t part = std::int64_t{length} * zoom.numerator;
  return Narrowed(std::max<std::int64_t>(1, (part + zoom.denominator - 1) / zoom.denominator));
}

void Clamp(View& view) {
  const Extent shown = ShownSize(view);
  const auto clamped = [](std::int32_t at, std::int32_t length, std::int32_t room) {
    return std::clamp(at, 0, std::max(0, length - room));
  };
  view.scroll = {clamped(view.scroll.x, shown.width, view.client.width),
                 clamped(view.scroll.y, shown.height, view.client.height)};
}

void ApplyFit(View& view) {
  const Zoom across = {std::max(1, view.client.width), view.image.width};
  const Zoom down = {std::max(1, view.client.height), view.image.height};
  view.zoom = Less(across, down) ? across : down;
  // Beyond what the keys offer there is little to see.
  const Zoom most = kZooms[std::size(kZooms) - 1];
  if (Less(most, view.zoom)) view.zoom = most;
}

}  // namespace

Zoom NextZoom(Zoom zoom, bool larger) {
  Zoom next = zoom;
  for (const Zoom offered : kZooms) {
    if (larger && Less(zoom, offered)) return offered;
    if (!larger && Less(offered, zoom)) next = offered;
  }
  return next;
}

Extent ShownSize(const View& view) {
  return {ShownLength(view.zoom, view.image.width), ShownLength(view.zoom, view.image.height)};
}

void ZoomTo(View& view, Zoom zoom, Point anchor) {
  const Point origin = ShownOrigin(view);
  // In shown pixels, so that the anchor keeps its place within a large pixel as well.
  const double change = zoom.Factor() / view.zoom.Factor();
  const double x = (anchor.x - origin.x + 0.5) * change, y = (anchor.y - origin.y + 0.5) * change;
  view.zoom = zoom;
  view.fit = false;
  view.scroll = {Narrowed(static_cast<std::int64_t>(x) - anchor.x),
                 Narrowed(static_cast<std::int64_t>(y) - anchor.y)};
  Clamp(view);
}

void FitToWindow(View& view) {
  view.fit = true;
  ApplyFit(view);
  Clamp(view);
}

void ResizeClient(View& view, Extent client) {
  view.client = client;
  if (view.fit) ApplyFit(view);
  Clamp(view);
}

void ReplaceImage(View& view, Extent image) {
  view.image = image;
  view.scroll = {0, 0};
  if (view.fit) ApplyFit(view);
}

void ScrollTo(View& view, Point scroll) {
  view.scroll = scroll;
  Clamp(view);
}

bool ScrollsAcross(const View& view) {
  return ShownSize(view).width > view.client.width;
}

bool ScrollsDown(const View& view) {
  return ShownSize(view).height > view.client.height;
}

Point ShownOrigin(const View& view) {
  const Extent shown = ShownSize(view);
  const auto place = [&](std::int32_t scroll, std::int32_t length, std::int32_t room) {
    return view.centred && length < room ? (room - length) / 2 : -scroll;
  };
  return {place(view.scroll.x, shown.width, view.client.width),
          place(view.scroll.y, shown.height, view.client.height)};
}

Box PictureBox(const View& view) {
  const Point origin = ShownOrigin(view);
  const Extent shown = ShownSize(view);
  return {std::max(0, origin.x), std::max(0, origin.y),
          std::min(view.client.width, origin.x + shown.width),
          std::min(view.client.height, origin.y + shown.height)};
}

Point ImagePoint(const View& view, Point client) {
  const Point origin = ShownOrigin(view);
  const auto pixel = [&](std::int64_t shown) {
    return Narrowed(FloorDivide(shown * view.zoom.denominator, view.zoom.numerator));
  };
  return {pixel(std::int64_t{client.x} - origin.x), pixel(std::int64_t{client.y} - origin.y)};
}

ClipRegion RegionInWindow(const View& view, const ClipRegion& region) {
  const Point origin = ShownOrigin(view);
  const auto first = [&](std::int64_t at, std::int32_t from) {
    return Narrowed(Shown(view.zoom, at) + from);
  };
  ClipRegion shown = {first(region.left, origin.x), first(region.top, origin.y),
                      first(std::int64_t{region.right} + 1, origin.x) - 1,
                      first(std::int64_t{region.bottom} + 1, origin.y) - 1};
  shown.right = std::max(shown.left, shown.right);
  shown.bottom = std::max(shown.top, shown.bottom);
  return shown;
}

Bars BarsFor(Extent shown, Extent space, Extent bar) {
  Bars bars = {shown.width > space.width, shown.height > space.height};
  // A bar takes room, so that the other one may become needed too.
  if (bars.down && shown.width > space.width - bar.width) bars.across = true;
  if (bars.across && shown.height > space.height - bar.height) bars.down = true;
  if (bars.down && shown.width > space.width - bar.width) bars.across = true;
  return bars;
}

}  // namespace imx
