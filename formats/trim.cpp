#include "formats/trim.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "formats/pixel_rows.h"
#include "formats/trim_block.h"
#include "imagelib/file_writer.h"
#include "imagelib/guards.h"
#include "imagelib/host.h"
#include "imagelib/image.h"
#include "imagelib/registry.h"
#include "imagelib/save_outcome.h"
#include "imagelib/text.h"

namespace imx {
namespace {

constexpr std::size_t kTile = kTrimTileSize;
static_assert(kTile * kTile == kTrimBlockValues);

constexpr std::size_t kSymbols = 256;
constexpr std::uint32_t kDepth = 24;
/// While residuals are computed, the user is asked after every run of this many rows, at the row
/// behind it.
constexpr std::int32_t kRowsBetweenStops = 16;

using SymbolTable = std::array<std::uint8_t, kSymbols>;

std::int32_t TileRows(const ImageRecord& image) {
  return image.height / kTrimTileSize + (image.height % kTrimTileSize != 0);
}

/// A difference modulo 256 as a symbol: 0, -1, 1, -2, 2 ... become 0, 1, 2, 3, 4 ...
std::uint8_t Zigzag(std::uint8_t difference) {
  return static_cast<std::uint8_t>(difference * 2 ^ (difference < 128 ? 0 : 0xFF));
}

std::uint8_t Unzigzag(std::uint8_t symbol) {
  return static_cast<std::uint8_t>(symbol >> 1 ^ (symbol % 2 == 0 ? 0 : 0xFF));
}

// Encoding

/// The residual symbols of a channel, and how often each occurs. Neighbours are counted in
/// different tables, so that equal ones do not wait for each other.
struct SymbolPlane {
  std::uint8_t* symbols;  ///< width * height
  std::uint32_t tally[4][kSymbols];

  void Clear() { std::memset(tally, 0, sizeof tally); }
  void Count(const std::uint8_t* from, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) ++tally[i % 4][from[i]];
  }
  std::uint32_t CountOf(std::size_t symbol) const {
    return tally[0][symbol] + tally[1][symbol] + tally[2][symbol] + tally[3][symbol];
  }
};

/// Symbols of `count` pixels; the rows hold the pixel in front of the first one at index 0.
void PredictRow(const std::uint8_t* above, const std::uint8_t* row, std::uint8_t* symbols,
                std::size_t count) {
  const auto distance = [](std::uint8_t a, std::uint8_t b) {
    return static_cast<std::uint8_t>(std::max(a, b) - std::min(a, b));
  };
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint8_t left = row[i];
    const std::uint8_t up = above[i + 1];
    const std::uint8_t corner = above[i];
    const std::uint8_t guess = distance(up, corner) <= distance(left, corner) ? left : up;
    symbols[i] = Zigzag(static_cast<std::uint8_t>(row[i + 1] - guess));
  }
}

/// Takes one channel out of `count` pixels.
void CopyChannel(const std::uint8_t* pixels, std::uint8_t* bytes, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) bytes[i] = pixels[4 * i];
}

/// Symbols of row y, whose channel bytes `above` and `row` point at, four bytes apart. There is
/// nothing above the first row.
void PredictChannelRow(const std::uint8_t* above, const std::uint8_t* row, std::uint8_t* symbols,
                       std::size_t width) {
  constexpr std::size_t kPart = 2048;
  std::uint8_t upper[kPart + 1];
  std::uint8_t lower[kPart + 1];
  // In front of the first pixel: the one above it, which then predicts it.
  upper[0] = lower[0] = above ? *above : 0;
  for (std::size_t x = 0; x < width; x += kPart) {
    const std::size_t count = std::min(kPart, width - x);
    CopyChannel(row + 4 * x, lower + 1, count);
    if (above) {
      CopyChannel(above + 4 * x, upper + 1, count);
    } else {
      std::memset(upper, 0, count + 1);  // equal neighbours above choose the left one
    }
    PredictRow(upper, lower, symbols + x, count);
    upper[0] = upper[count];
    lower[0] = lower[count];
  }
}

/// False when the user stops.
bool PredictChannel(const ImageRecord& image, std::size_t channel, SymbolPlane* plane) {
  const auto width = static_cast<std::size_t>(image.width);
  plane->Clear();
  const std::uint8_t* above = nullptr;
  std::uint8_t* symbols = plane->symbols;
  for (std::int32_t y = 0; y < image.height; ++y) {
    if (y % (kRowsBetweenStops + 1) == kRowsBetweenStops && ProgressStepAbort() != 0) return false;
    const std::uint8_t* row = PixelRow(image, y) + channel;
    PredictChannelRow(above, row, symbols, width);
    plane->Count(symbols, width);
    above = row;
    symbols += width;
  }
  return true;
}

/// The symbols, most frequent first; of equally frequent ones the smaller first.
SymbolTable RankSymbols(const SymbolPlane& plane) {
  std::array<std::uint32_t, kSymbols> counts;
  SymbolTable ranked;
  for (std::size_t s = 0; s < kSymbols; ++s) {
    counts[s] = plane.CountOf(s);
    ranked[s] = static_cast<std::uint8_t>(s);
  }
  std::sort(ranked.begin(), ranked.end(), [&counts](std::uint8_t a, std::uint8_t b) {
    return counts[a] != counts[b] ? counts[a] > counts[b] : a < b;
  });
  return ranked;
}

void EncodeRanks(TrimOutput& out, const SymbolTable& ranked) {
  SymbolTable steps;
  std::uint8_t last = 0;
  for (std::size_t i = 0; i < kSymbols; ++i) {
    steps[i] = Zigzag(static_cast<std::uint8_t>(ranked[i] - last));
    last = ranked[i];
  }
  TrimEncodeBlock(out, steps.data(), steps.size());
}

/// The tiles of one row of tiles; `symbols` is its first pixel row.
void EncodeTileRow(TrimOutput& out, const SymbolTable& rank, const std::uint8_t* symbols,
                   std::size_t width, std::size_t tileHeight) {
  for (std::size_t x = 0; x < width; x += kTile) {
    const std::size_t tileWidth = std::min(kTile, width - x);
    std::uint8_t ranks[kTrimBlockValues];
    std::size_t count = 0;
    for (std::size_t row = 0; row < tileHeight; ++row) {
      const std::uint8_t* from = symbols + row * width + x;
      for (std::size_t i = 0; i < tileWidth; ++i) ranks[count++] = rank[from[i]];
    }
    TrimEncodeBlock(out, ranks, count);
  }
}

/// False when the user stops.
bool EncodeChannel(TrimOutput& out, const ImageRecord& image, std::size_t channel,
                   SymbolPlane* plane) {
  if (!PredictChannel(image, channel, plane)) return false;
  const SymbolTable ranked = RankSymbols(*plane);
  SymbolTable rank;
  for (std::size_t i = 0; i < kSymbols; ++i) rank[ranked[i]] = static_cast<std::uint8_t>(i);
  EncodeRanks(out, ranked);
  const auto width = static_cast<std::size_t>(image.width);
  for (std::int32_t y = 0; y < image.height; y += kTrimTileSize) {
    ProgressStep();
    const auto tileHeight = static_cast<std::size_t>(std::min(kTrimTileSize, image.height - y));
    EncodeTileRow(out, rank, plane->symbols + static_cast<std::size_t>(y) * width, width,
                  tileHeight);
  }
  return true;
}

/// Room for the longest stream of one channel: all blocks as plain bytes. A fixed share on top of
/// the pixels holds their headers, except in pictures of a few columns or rows, whose tiles are
/// small.
std::uint64_t StreamRoom(const ImageRecord& image) {
  const std::uint64_t pixels = image.pixelCount;
  const std::uint64_t tilesInRow = (static_cast<std::uint64_t>(image.width) + kTile - 1) / kTile;
  const std::uint64_t blocks = 1 + tilesInRow * static_cast<std::uint64_t>(TileRows(image));
  return std::max(pixels * 3 / 256 + pixels + 2048, kSymbols + pixels + blocks + kTrimOutputSlack);
}

// Decoding

/// What is added to the prediction for each rank.
SymbolTable DecodeRanks(TrimInput& in) {
  SymbolTable table;
  TrimDecodeBlock(in, table.data(), table.size());
  std::uint8_t symbol = 0;
  for (std::uint8_t& entry : table) {
    symbol = static_cast<std::uint8_t>(symbol + Unzigzag(entry));
    entry = Unzigzag(symbol);
  }
  return table;
}

/// Walks along a row and makes values of residuals.
struct RowRestorer {
  int left;
  int corner;  ///< above the left one

  std::uint8_t Next(int above, std::uint8_t delta) {
    // All bits set where the pixel above is the better guess: no branch that is hard to predict.
    const int choice = (std::abs(left - corner) - std::abs(above - corner)) >> 31;
    const int guess = left ^ ((left ^ above) & choice);
    corner = above;
    left = static_cast<std::uint8_t>(guess + delta);
    return static_cast<std::uint8_t>(left);
  }
};

/// One row of a tile. `above` is the row over it.
void RestoreRow(const std::uint8_t* ranks, const SymbolTable& deltas, const std::uint8_t* above,
                RowRestorer restorer, std::uint8_t* row, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) row[i] = restorer.Next(above[i], deltas[ranks[i]]);
}

/// Two rows, the lower one a pixel behind: every value waits for the one on its left, so two walks
/// take hardly longer than one. The lower row's restorer is made by `below`, once row[0] is there.
template <typename MakeRestorer>
void RestoreTwoRows(const std::uint8_t* ranks, const SymbolTable& deltas, const std::uint8_t* above,
                    RowRestorer upper, MakeRestorer&& below, std::uint8_t* row, std::uint8_t* next,
                    std::size_t count) {
  const std::uint8_t* nextRanks = ranks + count;
  std::uint8_t last = row[0] = upper.Next(above[0], deltas[ranks[0]]);
  RowRestorer lower = below();
  for (std::size_t i = 1; i < count; ++i) {
    const std::uint8_t value = row[i] = upper.Next(above[i], deltas[ranks[i]]);
    next[i - 1] = lower.Next(last, deltas[nextRanks[i - 1]]);
    last = value;
  }
  next[count - 1] = lower.Next(last, deltas[nextRanks[count - 1]]);
}

/// Decodes the tiles of one row of tiles into the plane rows from `rows` on. `above` is the row
/// over them; null for the first row of tiles.
void DecodeTileRow(TrimInput& in, const SymbolTable& deltas, const std::uint8_t* above,
                   std::uint8_t* rows, std::size_t width, std::size_t tileHeight) {
  static constexpr std::uint8_t kNothing[kTile] = {};  // equal neighbours choose the left one
  std::size_t x = 0;
  for (; x < width && !in.ended(); x += kTile) {
    const std::size_t tileWidth = std::min(kTile, width - x);
    std::uint8_t ranks[kTrimBlockValues];
    TrimDecodeBlock(in, ranks, tileWidth * tileHeight);
    const auto restorer = [x](const std::uint8_t* over, const std::uint8_t* row) {
      if (x == 0) return RowRestorer{over[0], over[0]};  // the pixel above predicts the first one
      return RowRestorer{row[-1], over == kNothing ? 0 : over[-1]};
    };
    const std::uint8_t* over = above ? above + x : kNothing;
    std::uint8_t* row = rows + x;
    std::size_t y = 0;
    for (; y + 2 <= tileHeight; y += 2) {
      std::uint8_t* next = row + width;
      RestoreTwoRows(
          ranks + y * tileWidth, deltas, over, restorer(over, row),
          [&] { return restorer(row, next); }, row, next, tileWidth);
      over = next;
      row = next + width;
    }
    if (y < tileHeight) {
      RestoreRow(ranks + y * tileWidth, deltas, over, restorer(over, row), row, tileWidth);
    }
  }
  // The last channel may have left something behind the end of the stream.
  for (std::size_t y = 0; x < width && y < tileHeight; ++y) {
    std::memset(rows + y * width + x, 0, width - x);
  }
}

void StoreChannel(const std::uint8_t* bytes, std::uint8_t* pixels, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) pixels[4 * i] = bytes[i];
}

/// False when there is no more to decode: the user stopped, or the stream ended.
bool DecodeChannel(TrimInput& in, const ImageRecord& image, std::size_t channel, bool grey,
                   std::uint8_t* plane) {
  in.position = std::min(in.position + in.position % 2, in.size);
  if (in.ended()) return false;
  const SymbolTable deltas = DecodeRanks(in);
  const auto width = static_cast<std::size_t>(image.width);
  const std::uint8_t* above = nullptr;
  for (std::int32_t y = 0; y < image.height; y += kTrimTileSize) {
    if (in.ended() || ProgressStepAbort() != 0) return false;
    const std::int32_t tileHeight = std::min(kTrimTileSize, image.height - y);
    std::uint8_t* rows = plane + static_cast<std::size_t>(y) * width;
    DecodeTileRow(in, deltas, above, rows, width, static_cast<std::size_t>(tileHeight));
    for (std::int32_t i = 0; i < tileHeight; ++i) {
      const std::uint8_t* row = rows + static_cast<std::size_t>(i) * width;
      std::uint8_t* pixels = PixelRow(image, y + i);
      if (grey) {
        RowFromGrey(row, pixels, width);
      } else {
        StoreChannel(row, pixels + channel, width);
      }
      above = row;
    }
  }
  return true;
}

}  // namespace

std::int32_t TrimSaveBody(FileWriter& file, const ImageRecord* image, std::int32_t channels,
                          bool* stopped) {
  *stopped = false;
  TrackedBytes symbols(image->pixelCount, "allocptr");
  TrackedBytes stream(StreamRoom(*image), "allocptr");
  if (!symbols || !stream) {
    NoteSaveFailed("Not enough memory");
    return 0;
  }
  SymbolPlane plane = {symbols.data(), {}};
  ProgressScope progress("Saving TRIM", TileRows(*image) * channels * 2, 1);
  std::uint64_t total = 0;
  for (std::int32_t channel = 0; channel < channels; ++channel) {
    TrimOutput out = {stream.data()};
    if (!EncodeChannel(out, *image, static_cast<std::size_t>(channel), &plane)) {
      *stopped = true;
      return static_cast<std::int32_t>(total);
    }
    if (out.position % 2 != 0) stream[out.position++] = 0;
    total += out.position;
    if (total > INT32_MAX) {
      NoteSaveFailed("A TRIM file holds at most 2 GB of coded pixels");
      return 0;
    }
    if (!file.Write(stream.data(), out.position)) return 0;
  }
  return static_cast<std::int32_t>(total);
}

void TrimDescribe(ImageRecord* image, std::int32_t channels) {
  CopyText(image->formatLabel, "TRIM");
  image->fileType = kTypeTrim;
  image->depth = kDepth;
  if (channels == 4) image->flags |= kFlagAlpha;
}

std::int32_t TrimLoadBody(ImageRecord* image, const std::uint8_t* data, std::uint32_t size,
                          std::int32_t channels) {
  TrimDescribe(image, channels);
  TrackedBytes plane(image->pixelCount, "allocptr");
  if (!plane) return 0;
  TrimInput in = {data, size};
  ProgressScope progress("Loading TRIM", TileRows(*image) * channels, 4);
  for (std::int32_t channel = 0; channel < channels; ++channel) {
    if (!DecodeChannel(in, *image, static_cast<std::size_t>(channel), channels == 1,
                       plane.data())) {
      break;
    }
  }
  return 0;
}

}  // namespace imx
