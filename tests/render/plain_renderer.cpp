#include "tests/render/plain_renderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace imx::test {
namespace {

int IntegerRoot(int x) {
  return static_cast<int>(std::sqrt(static_cast<double>(x)) - 0.5);
}

int TableEntry(int flat) {
  const auto size = [](int k) { return k * 255 / 63; };
  flat = std::min(flat, 32767);
  const int i = size(flat / 1024);
  const int j = size(flat / 32 % 32);
  const int k = size(flat % 32);
  return std::min(255, IntegerRoot(i * i + j * j + k * k));
}

std::size_t Cell(int r, int g, int b) {
  const int cell = (r >> 2) * 4096 + (g >> 2) * 64 + (b >> 2);
  return static_cast<std::size_t>(cell);
}

int Base(int n) {
  return n >= 60 ? 12 : 12 + ((60 - n) * 12) / 44;
}

std::uint8_t Byte(int value) {
  return static_cast<std::uint8_t>(value);
}

void SetEntry(Palette& palette, int i, int r, int g, int b) {
  palette.red[i] = Byte(r);
  palette.green[i] = Byte(g);
  palette.blue[i] = Byte(b);
}

void CopyEntries(const Palette& from, Palette& to, int count) {
  for (int i = 0; i < count; ++i) SetEntry(to, i, from.red[i], from.green[i], from.blue[i]);
}

int GreyOf(const std::uint8_t* p) {
  return p[0] * 85 / 255 + p[1] * 105 / 255 + p[2] * 65 / 255;
}

constexpr int kFixed[16][3] = {{0, 0, 0},       {128, 0, 0},   {0, 128, 0},   {128, 128, 0},
                               {0, 0, 128},     {128, 0, 128}, {0, 128, 128}, {192, 192, 192},
                               {128, 128, 128}, {255, 0, 0},   {0, 255, 0},   {255, 255, 0},
                               {0, 0, 255},     {255, 0, 255}, {0, 255, 255}, {255, 255, 255}};

constexpr int kM[] = {0, 13, 4, 8, 12, 5, 1, 9, 6, 14, 10, 3, 7, 11, 2, 15};
constexpr int kR[] = {16, 18, 7, 12, 3, 9, 2, 17, 5, 13, 10, 4, 11, 19, 8, 14, 20, 3, 16, 6, 1};
constexpr int kG[] = {7, 12, 3, 18, 9, 2, 5, 13, 17, 10, 4, 11, 8, 14, 3, 16, 6, 1};
constexpr int kB[] = {23, 12, 22, 9, 19, 17, 29, 13, 31, 4,  11, 21, 14, 17, 34, 40,
                      6,  16, 35, 7, 28, 37, 3,  20, 32, 2,  25, 41, 5,  30, 38, 10,
                      24, 27, 39, 8, 26, 33, 3,  18, 1,  36, 0,  13, 4,  8,  12, 5};

/// Column of the n-th pixel that a serpentine walk visits in row y.
int SerpentineColumn(int n, int y, int width) {
  return y % 2 == 0 ? n : width - 1 - n;
}

}  // namespace

const std::uint8_t* PlainRenderer::Pixel(int x, int y) const {
  return image_->pixels + 4 * (image_->rowOffsets[y] + x);
}

void PlainRenderer::Put(int x, int y, int index) {
  output_[static_cast<std::size_t>(y) * static_cast<std::size_t>(image_->width) +
          static_cast<std::size_t>(x)] = Byte(index);
}

int PlainRenderer::Scaled(int e) const {
  return static_cast<int>(
      std::clamp<std::int64_t>(std::int64_t{e} * strength_ / 100, -100000, 100000));
}

std::vector<std::uint8_t> PlainRenderer::Render(const ImageRecord& image, Palette& palette,
                                                int code, int mode, bool ordered, bool keep,
                                                int strength) {
  image_ = &image;
  palette_ = &palette;
  local_ = {};
  mode_ = mode;
  strength_ = strength;
  renderAdaptive_ = mode == 2 || mode == 3 || mode == 4;
  if (mode == 1 && code == 1) code = 2;
  if (mode == 1 && code == 3) code = 4;
  entries_ = renderBits == 24 ? 0 : 1 << renderBits;
  if ((entries_ == 256 || entries_ == 16) && (mode == 2 || mode == 3) &&
      renderPalette.count < entries_) {
    entries_ = std::max(renderPalette.count, 2);
  }
  if (mode != 4) {
    CopyEntries(renderPalette.colours, palette, entries_);
    CopyEntries(renderPalette.colours, local_.colours, entries_);
  }
  output_.assign(image.pixelCount, 0);

  if (code == 0) PackRows();
  if (code == 1 || code == 3) ColourPalette(code == 3);
  if (code == 1 && ordered) {
    SetDirections();
    mode == 0 ? OrderFixed() : OrderMapped();
  } else if (code == 1 || code == 3) {
    DiffuseColour(code == 3);
  }
  if (code == 2 || code == 4 || code == 5) Grey(code);

  if (keep) CopyEntries(palette, renderPalette.colours, entries_);
  return output_;
}

void PlainRenderer::PackRows() {
  output_.clear();
  for (int y = 0; y < image_->height; ++y) {
    for (int x = 0; x < image_->width; ++x) {
      const std::uint8_t* p = Pixel(x, y);
      output_.insert(output_.end(), {p[2], p[1], p[0]});
    }
    while (output_.size() % 4 != 0) output_.push_back(0);
  }
}

void PlainRenderer::ColourPalette(bool fourBits) {
  Palette& palette = *palette_;
  if (mode_ == 3) {
    palette = renderPalette.colours;
    MapPalette(renderPalette);
  } else if (mode_ == 0 && fourBits) {
    for (int i = 0; i < 16; ++i) SetEntry(palette, i, kFixed[i][0], kFixed[i][1], kFixed[i][2]);
  } else if (mode_ == 0) {
    for (int i = 0; i < 224; ++i) {
      SetEntry(palette, i, i / 32 * 255 / 6, i / 4 % 8 * 255 / 7, i % 4 * 255 / 3);
    }
    for (int k = 0; k <= 20; ++k) {
      SetEntry(palette, 224 + k, k * 255 / 21, k * 255 / 21, k * 255 / 21);
    }
    for (int i = 245; i < entries_; ++i) SetEntry(palette, i, 255, 255, 255);
  } else if (mode_ == 4 && !fourBits) {
    local_ = {palette, entries_};
    MapPalette(local_);
  } else {
    BuildPalette(entries_, !fourBits);
    CopyEntries(local_.colours, palette, entries_);
  }
}

int PlainRenderer::FixedIndex(int r, int g, int b, bool fourBits) const {
  if (!fourBits) return (r + 18) * 6 / 255 * 32 + (g + 16) * 7 / 255 * 4 + (b + 32) * 3 / 255;
  int best = 0;
  double least = 1e9;
  for (int i = 0; i < 16; ++i) {
    const double dr = (r >> 5) * 255.0 / 7 - kFixed[i][0];
    const double dg = (g >> 5) * 255.0 / 7 - kFixed[i][1];
    const double db = (b >> 5) * 255.0 / 7 - kFixed[i][2];
    const double distance = dr * dr + dg * dg + db * db;
    if (distance < least - 1e-6) {  // less is rounding: the exact values are whole 49ths
      least = distance;
      best = i;
    }
  }
  return best;
}

void PlainRenderer::DiffuseColour(bool fourBits) {
  const int width = image_->width;
  const std::uint8_t* planes[3] = {palette_->red, palette_->green, palette_->blue};
  std::vector<int> above[3];
  for (auto& row : above) row.assign(static_cast<std::size_t>(width), 0);
  for (int y = 0; y < image_->height; ++y) {
    int error[3] = {0, 0, 0};
    for (int n = 0; n < width; ++n) {
      const int x = SerpentineColumn(n, y, width);
      const auto column = static_cast<std::size_t>(x);
      int v[3];
      for (int c = 0; c < 3; ++c) {
        v[c] = std::clamp(Pixel(x, y)[c] + Scaled((error[c] + above[c][column]) / 2), 0, 255);
      }
      int index;
      if (mode_ != 0) {
        index = NearestIndex(v[0], v[1], v[2]);
      } else if (!fourBits && v[0] / 32 == v[1] / 32 && v[1] / 32 == v[2] / 32) {
        const int k = (v[0] + v[1] + v[2]) * 21 / 767;
        index = k < 3 ? 0 : 224 + k;
      } else {
        index = FixedIndex(v[0], v[1], v[2], fourBits);
      }
      for (int c = 0; c < 3; ++c) error[c] = above[c][column] = v[c] - planes[c][index];
      Put(x, y, index);
    }
  }
}

void PlainRenderer::SetDirections() {
  const std::uint8_t* planes[3] = {palette_->red, palette_->green, palette_->blue};
  for (int c = 0; c < 3; ++c) {
    up_[c].assign(256, 0);
    down_[c].assign(256, 0);
  }
  for (int i = 0; i < entries_; ++i) {
    for (int c = 0; c < 3; ++c) {
      for (const int step : {1, -1}) {
        int v[3] = {planes[0][i], planes[1][i], planes[2][i]};
        int index = i;
        for (; v[c] >= 0 && v[c] <= 255 && index == i; v[c] += step) {
          index = mode_ == 0 ? FixedIndex(v[0], v[1], v[2], false) : NearestIndex(v[0], v[1], v[2]);
        }
        (step > 0 ? up_ : down_)[c][static_cast<std::size_t>(i)] = index;
      }
    }
  }
}

void PlainRenderer::OrderFixed() {
  for (int y = 0; y < image_->height; ++y) {
    for (int x = 0; x < image_->width; ++x) {
      const int r = Pixel(x, y)[0];
      const int g = Pixel(x, y)[1];
      const int b = Pixel(x, y)[2];
      int index;
      if (r / 4 == g / 4 && g / 4 == b / 4) {
        const int k = g * 20 / 255;
        const bool next = ((y / 4 + x) % 4) * ((x / 4 + y) % 5) < (g - k * 255 / 20) / 2;
        index = 224 + k + (next && k < 20 ? 1 : 0);
      } else {
        int lr = r * 6 / 255;
        int lg = g * 7 / 255;
        int lb = b * 3 / 255;
        const bool nextRed =
            kR[((y / 2 + x) % 7) + ((x / 3 + y) % 3) * 7] < (r - lr * 255 / 6) / 2 && lr < 6;
        const bool nextGreen =
            kG[((y / 3 + x) % 3) + ((x / 2 + y) % 6) * 3] < (g - lg * 255 / 7) / 2 && lg < 7;
        const bool nextBlue =
            kB[((y / 4 + x) % 6) + ((x / 5 + y) % 8) * 6] < (b - lb * 255 / 3) / 2 && lb < 3;
        lr += nextRed;
        lg += nextGreen;
        lb += nextBlue;
        index = lb + (lg + lr * 8) * 4;
      }
      Put(x, y, index);
    }
  }
}

void PlainRenderer::OrderMapped() {
  const std::int64_t s = std::int64_t{strength_} * 16 / 100;
  const std::uint8_t* planes[3] = {palette_->red, palette_->green, palette_->blue};
  for (int y = 0; y < image_->height; ++y) {
    for (int n = 0; n < image_->width; ++n) {
      const int x = SerpentineColumn(n, y, image_->width);
      const std::uint8_t* p = Pixel(x, y);
      const int thresholds[3] = {kM[(x & 3) + (y & 3) * 4],
                                 kM[((y + 1 + x) & 3) + ((y - 1) & 3) * 4],
                                 kM[((x - 2) & 3) + ((x + y) & 3) * 4]};
      int index = NearestIndex(p[0], p[1], p[2]);
      for (int c = 0; c < 3; ++c) {
        const int d = p[c] - planes[c][index];
        if (d == 0) continue;
        const int candidate = (d > 0 ? up_ : down_)[c][static_cast<std::size_t>(index)];
        const int way = planes[c][candidate] - planes[c][index];
        if (way == 0) continue;
        if (thresholds[c] < std::abs(d * s / way)) index = candidate;
      }
      Put(x, y, index);
    }
  }
}

void PlainRenderer::Grey(int code) {
  for (int i = 0; i < entries_ && code == 2; ++i) SetEntry(*palette_, i, i, i, i);
  for (int i = 0; i < entries_ && code == 4; ++i) {
    SetEntry(*palette_, i, i * 17, i * 17, i * 17);
  }
  if (code == 5) {
    SetEntry(*palette_, 0, 0, 0, 0);
    SetEntry(*palette_, 1, 255, 255, 255);
  }
  const int width = image_->width;
  std::vector<int> above(static_cast<std::size_t>(width), 0);
  for (int y = 0; y < image_->height; ++y) {
    int error = 0;
    for (int n = 0; n < width; ++n) {
      const int x = SerpentineColumn(n, y, width);
      int& carried = above[static_cast<std::size_t>(x)];
      const int grey = GreyOf(Pixel(x, y));
      int index = grey;
      if (code != 2) {
        const int v = std::clamp(grey + Scaled((error + carried) / 2), 0, 255);
        index = code == 4 ? v >> 4 : v > 127;
        error = carried = v - index * (code == 4 ? 17 : 255);
      }
      Put(x, y, index);
    }
  }
}

void PlainRenderer::StartMapping(int count) {
  rebuild_ = true;
  exactOn_ = false;
  cellDistance_.assign(64 * 64 * 64, 255);
  cellIndex_.assign(64 * 64 * 64, 0);
  radius_ = std::min(Base(count) + 4, 30);
  mapped_ = true;
}

void PlainRenderer::BuildPalette(int n, bool keepEntryZero) {
  StartMapping(n);
  if (!keepEntryZero) {
    SetEntry(local_.colours, 0, 0, 0, 0);
    AddPaletteEntry(0, 0, 0, 0);
  }
  GrowPalette(local_, n, keepEntryZero ? 0 : 1);
  mirror_ = local_;
  lastMapped_ = local_;
  std::memcpy(lastLocks_, entryLocks, sizeof lastLocks_);
}

void PlainRenderer::GrowPalette(PaletteRecord& record, int n, int first) {
  Palette& colours = record.colours;
  int i = first;
  int threshold = 4 * Base(n);
  while (i < n && threshold >= 3) {
    if (entryLocks[i] == 2) {
      ++i;
      continue;
    }
    if (entryLocks[i] == 1) {
      AddPaletteEntry(colours.red[i], colours.green[i], colours.blue[i], i);
      ++i;
      continue;
    }
    for (std::uint32_t k = 0; k < image_->pixelCount && i < n && entryLocks[i] == 0; ++k) {
      const std::uint8_t* p = image_->pixels + 4 * k;
      const bool wanted = threshold >= 9 ? cellDistance_[Cell(p[0], p[1], p[2])] > threshold
                                         : ExactIndex(p[0], p[1], p[2]) == -1;
      if (!wanted) continue;
      SetEntry(colours, i, p[0], p[1], p[2]);
      AddPaletteEntry(p[0], p[1], p[2], i);
      ++i;
    }
    threshold = threshold < 5 ? threshold - 1 : (4 * threshold) / 5;
  }
  record.count = i;
}

void PlainRenderer::AddPaletteEntry(int r, int g, int b, int i) {
  SetEntry(mirror_.colours, i, r, g, b);
  mirror_.count = i + 1;
  if (exactOn_) InsertExact(r, g, b, i);
  const auto from = [&](int c) { return std::max(c / 4 - radius_, 0); };
  const auto to = [&](int c) { return std::min(c / 4 + radius_, 63); };
  static const std::array<int, 33 * 1024> table = [] {
    std::array<int, 33 * 1024> made = {};
    int flat = 0;
    for (int& entry : made) entry = TableEntry(flat++);
    return made;
  }();
  for (int cr = from(r); cr <= to(r); ++cr) {
    for (int cg = from(g); cg <= to(g); ++cg) {
      for (int cb = from(b); cb <= to(b); ++cb) {
        const int flat = (std::abs(cr - r / 4) + 1) * 1024 + (std::abs(cg - g / 4) + 2) * 32 +
                         std::abs(cb - b / 4);
        const int d = table[static_cast<std::size_t>(flat)];
        const std::size_t cell = Cell(cr * 4, cg * 4, cb * 4);
        if (d >= cellDistance_[cell]) continue;
        cellIndex_[cell] = i;
        cellDistance_[cell] = d;
      }
    }
  }
}

void PlainRenderer::MapPalette(const PaletteRecord& record) {
  bool same = mapped_;
  for (int i = 0; i < record.count; ++i) {
    same = same && record.colours.red[i] == lastMapped_.colours.red[i] &&
           record.colours.green[i] == lastMapped_.colours.green[i] &&
           record.colours.blue[i] == lastMapped_.colours.blue[i] && entryLocks[i] == lastLocks_[i];
  }
  if (same) return;
  StartMapping(record.count);
  for (int i = 0; i < record.count; ++i) {
    if (entryLocks[i] == 2) continue;
    const Palette& colours = record.colours;
    ExactIndex(colours.red[i], colours.green[i], colours.blue[i]);
    AddPaletteEntry(colours.red[i], colours.green[i], colours.blue[i], i);
  }
  lastMapped_ = record;
  std::memcpy(lastLocks_, entryLocks, sizeof lastLocks_);
}

int PlainRenderer::NearestIndex(int r, int g, int b) {
  if (exactOn_) {
    if (const int index = ExactIndex(r, g, b); index != -1) return index;
  }
  const std::size_t cell = Cell(r, g, b);
  if (cellDistance_[cell] < 255) return cellIndex_[cell];
  int best = 0;
  int least = 99999;
  for (int i = 0; i < mirror_.count && least > 0; ++i) {
    if (Skipped(i)) continue;
    const int dr = r - mirror_.colours.red[i];
    const int dg = g - mirror_.colours.green[i];
    const int db = b - mirror_.colours.blue[i];
    const int d = IntegerRoot(dr * dr + dg * dg + db * db);
    if (d >= least) continue;
    least = d;
    best = i;
  }
  cellIndex_[cell] = best;
  cellDistance_[cell] = 254;
  return best;
}

void PlainRenderer::InsertExact(int r, int g, int b, int i) {
  if (!treeRows_.contains({r, g}) && treeRows_.size() == 256) return;
  treeRows_.insert({r, g});
  tree_.insert({{r, g, b}, i});  // the first index of a colour stays
}

int PlainRenderer::ExactIndex(int r, int g, int b) {
  if (rebuild_) {
    if (!treeAvailable) return 65534;
    tree_.clear();
    treeRows_.clear();
    for (int i = 0; i < mirror_.count; ++i) {
      if (Skipped(i)) continue;
      InsertExact(mirror_.colours.red[i], mirror_.colours.green[i], mirror_.colours.blue[i], i);
    }
    exactOn_ = true;
    rebuild_ = false;
  }
  const auto found = tree_.find({r, g, b});
  return found == tree_.end() ? -1 : found->second;
}

}  // namespace imx::test
