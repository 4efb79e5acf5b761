#include "viewer/model/scaled_rows.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace imx {
namespace {

constexpr std::int32_t kQuarter = 4;

/// Sums over the pixels that one shown pixel stands for.
struct Sums {
  std::uint32_t red = 0, green = 0, blue = 0, alpha = 0, weight = 0, count = 0;
};

/// Of more pixels than this each way the first ones make the average: the sums stay in 32 bits.
constexpr std::int32_t kMostAveraged = 256;

template <Averages averages>
void AddRun(const std::uint8_t* pixel, std::int32_t count, Sums& sums) {
  std::uint32_t red = 0, green = 0, blue = 0, alpha = 0, weight = 0;
  for (std::int32_t i = 0; i < count; ++i, pixel += 4) {
    const std::uint32_t by = averages == Averages::byAlpha ? pixel[3] : 1;
    red += pixel[0] * by;
    green += pixel[1] * by;
    blue += pixel[2] * by;
    alpha += pixel[3];
    weight += by;
  }
  sums.red += red;
  sums.green += green;
  sums.blue += blue;
  sums.alpha += alpha;
  sums.weight += weight;
  sums.count += static_cast<std::uint32_t>(count);
}

void StoreAverage(const Sums& sums, std::uint8_t* pixel) {
  const auto average = [](std::uint32_t sum, std::uint32_t by) {
    return static_cast<std::uint8_t>(by == 0 ? 0 : (sum + by / 2) / by);
  };
  pixel[0] = average(sums.red, sums.weight);
  pixel[1] = average(sums.green, sums.weight);
  pixel[2] = average(sums.blue, sums.weight);
  pixel[3] = average(sums.alpha, sums.count);
}

/// The source's pixels where shown pixels begin, one after the other, without a division for each.
class Begins {
 public:
  Begins(const ScaledSource& source, std::int64_t first, std::int32_t length)
      : shown_(source.shown),
        whole_(source.taken / source.shown),
        rest_(source.taken % source.shown),
        at_(static_cast<std::int32_t>(first * source.taken / source.shown)),
        part_(static_cast<std::int32_t>(first * source.taken % source.shown)),
        length_(length) {}

  /// Within the source.
  std::int32_t Pixel() const { return std::min(at_, length_ - 1); }
  /// How many pixels the shown pixel has that began at `begin`, this being the next one.
  std::int32_t CountFrom(std::int32_t begin) const {
    return std::clamp(std::min(at_, length_) - begin, 1, kMostAveraged);
  }
  void Advance() {
    at_ += whole_;
    part_ += rest_;
    if (part_ < shown_) return;
    part_ -= shown_;
    ++at_;
  }

 private:
  std::int32_t shown_, whole_, rest_, at_, part_, length_;
};

const std::uint8_t* SourceRow(const ScaledSource& source, std::int32_t y) {
  return source.pixels +
         std::size_t{4} * static_cast<std::size_t>(source.size.width) * static_cast<std::size_t>(y);
}

void MakeNearest(const ScaledSource& source, const std::uint8_t* row, std::int32_t first,
                 std::span<std::uint8_t> rgba) {
  if (source.shown == source.taken) {
    const auto last = static_cast<std::size_t>(source.size.width - first);
    std::memcpy(rgba.data(), row + std::size_t{4} * static_cast<std::size_t>(first),
                std::min(rgba.size(), 4 * last));
    return;
  }
  Begins x(source, first, source.size.width);
  for (std::size_t i = 0; i + 3 < rgba.size(); i += 4, x.Advance()) {
    std::memcpy(&rgba[i], row + std::ptrdiff_t{4} * x.Pixel(), 4);
  }
}

template <Averages averages>
void MakeAverages(const ScaledSource& source, std::int32_t y, std::int32_t first,
                  std::span<std::uint8_t> rgba) {
  std::vector<Sums> sums(rgba.size() / 4);
  Begins rows(source, y, source.size.height);
  std::int32_t row = rows.Pixel();
  rows.Advance();
  for (const std::int32_t bottom = row + rows.CountFrom(row); row < bottom; ++row) {
    const std::uint8_t* const pixels = SourceRow(source, row);
    Begins columns(source, first, source.size.width);
    for (Sums& sum : sums) {
      const std::int32_t left = columns.Pixel();
      columns.Advance();
      AddRun<averages>(pixels + std::ptrdiff_t{4} * left, columns.CountFrom(left), sum);
    }
  }
  for (std::size_t i = 0; i < sums.size(); ++i) StoreAverage(sums[i], &rgba[4 * i]);
}

QuarterCopy MakeQuarterCopy(const ImageRecord& image, Averages averages) {
  const auto quarter = [](std::int32_t length) { return (length + kQuarter - 1) / kQuarter; };
  QuarterCopy copy;
  copy.size = {quarter(image.width), quarter(image.height)};
  copy.averages = averages;
  const std::uint64_t rowBytes = std::uint64_t{4} * static_cast<std::uint32_t>(copy.size.width);
  copy.pixels = TrackedBytes(rowBytes * static_cast<std::uint32_t>(copy.size.height), "view_copy1");
  if (!copy.pixels) return copy;
  const ScaledSource source = {image.pixels, {image.width, image.height}, 1, kQuarter, averages};
  for (std::int32_t y = 0; y < copy.size.height; ++y) {
    MakeScaledRow(
        source, y, 0,
        copy.pixels.span().subspan(static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(y),
                                   static_cast<std::size_t>(rowBytes)));
  }
  return copy;
}

}  // namespace

ScaledSource SourceFor(const ImageRecord& image, Zoom zoom, Averages averages, QuarterCopy& copy) {
  const ScaledSource whole = {
      image.pixels, {image.width, image.height}, zoom.numerator, zoom.denominator, averages};
  if (std::int64_t{zoom.numerator} * kQuarter > zoom.denominator) return whole;
  if (!copy.pixels || copy.averages != averages) {
    copy = {};  // released before the new one is made
    copy = MakeQuarterCopy(image, averages);
  }
  if (!copy.pixels) return whole;
  return {copy.pixels.data(), copy.size, zoom.numerator * kQuarter, zoom.denominator, averages};
}

void MakeScaledRow(const ScaledSource& source, std::int32_t y, std::int32_t first,
                   std::span<std::uint8_t> rgba) {
  if (source.shown >= source.taken) {
    const std::int32_t row = Begins(source, y, source.size.height).Pixel();
    MakeNearest(source, SourceRow(source, row), first, rgba);
  } else if (source.averages == Averages::byAlpha) {
    MakeAverages<Averages::byAlpha>(source, y, first, rgba);
  } else {
    MakeAverages<Averages::plain>(source, y, first, rgba);
  }
}

}  // namespace imx
