#include "tests/render/plain_renderer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

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
  return static_cast<std::size_t>((r >> 2) * 4096 + (g >> 2) * 64 + (b >> 2));
}

int Base(int n) {
  return n >= 60 ? 12 : 12 + ((60 - n) * 12) / 44;
}

constexpr std::array<int, 3> kFixed[16] = {
    {0, 0, 0},     {128, 0, 0},     {0, 128, 0},     {128, 128, 0},  {0, 0, 128}, {128, 0, 128},
    {0, 128, 128}, {192, 192, 192}, {128, 128, 128}, {255, 0, 0},    {0, 255, 0}, {255, 255, 0},
    {0, 0, 255},   {255, 0, 255},   {0, 255, 255},   {255, 255, 255}};

constexpr int kM[] = {0, 13, 4, 8, 12, 5, 1, 9, 6, 14, 10, 3, 7, 11, 2, 15};
constexpr int kR[] = {16, 18, 7, 12, 3, 9, 2, 17, 5, 13, 10, 4, 11, 19, 8, 14, 20, 3, 16, 6, 1};
constexpr int kG[] = {7, 12, 3, 18, 9, 2, 5, 13, 17, 10, 4, 11, 8, 14, 3, 16, 6, 1};
constexpr int kB[] = {23, 12, 22, 9, 19, 17, 29, 13, 31, 4,  11, 21, 14, 17, 34, 40,
                      6,  16, 35, 7, 28, 37, 3,  20, 32, 2,  25, 41, 5,  30, 38, 10,
                      24, 27, 39, 8, 26, 33, 3,  18, 1,  36, 0,  13, 4,  8,  12, 5};

int CubeIndex(const std::array<int, 3>& c) {
  return (c[0] + 18) * 6 / 255 * 32 + (c[1] + 16) * 7 / 255 * 4 + (c[2] + 32) * 3 / 255;
}

/// The nearest of the sixteen fixed colours to the upper three bits of each channel; distances are
/// taken sevenfold, so that they are whole numbers.
int Fixed16Index(const std::array<int, 3>& colour) {
  int best = 0;
  int least = 1 << 30;
  for (int i = 0; i < 16; ++i) {
    int distance = 0;
    for (std::size_t c = 0; c < 3; ++c) {
      const int d = (colour[c] >> 5) * 255 - 7 * kFixed[i][c];
      distance += d * d;
    }
    if (distance >= least) continue;
    least = distance;
    best = i;
  }
  return best;
}

/// Column of the n-th pixel that a serpentine walk visits in row y.
int SerpentineColumn(int n, int y, int width) {
  return y % 2 == 0 ? n : width - 1 - n;
}

}  // namespace

PlainRenderer::Colour PlainRenderer::Entry(const Palette& palette, int i) {
  return {palette.red[i], palette.green[i], palette.blue[i]};
}

void PlainRenderer::SetEntry(Palette& palette, int i, const Colour& colour) {
  palette.red[i] = static_cast<std::uint8_t>(colour[0]);
  palette.green[i] = static_cast<std::uint8_t>(colour[1]);
  palette.blue[i] = static_cast<std::uint8_t>(colour[2]);
}

void PlainRenderer::CopyEntries(const Palette& from, Palette& to, int count) {
  for (int i = 0; i < count; ++i) SetEntry(to, i, Entry(from, i));
}

PlainRenderer::Colour PlainRenderer::Pixel(int x, int y) const {
  const std::uint8_t* p = image_->pixels + 4 * (image_->rowOffsets[y] + x);
  return {p[0], p[1], p[2]};
}

void PlainRenderer::Put(int x, int y, int index) {
  output_[static_cast<std::size_t>(y * image_->width + x)] = static_cast<std::uint8_t>(index);
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
      const std::uint8_t* p = image_->pixels + 4 * (image_->rowOffsets[y] + x);
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
    for (int i = 0; i < 16; ++i) SetEntry(palette, i, kFixed[i]);
  } else if (mode_ == 0) {
    for (int i = 0; i < 224; ++i) {
      SetEntry(palette, i, {i / 32 * 255 / 6, i / 4 % 8 * 255 / 7, i % 4 * 255 / 3});
    }
    for (int i = 224; i < std::max(entries_, 245); ++i) {
      const int grey = i < 245 ? (i - 224) * 255 / 21 : 255;
      SetEntry(palette, i, {grey, grey, grey});
    }
  } else if (mode_ == 4 && !fourBits) {
    local_ = {palette, entries_};
    MapPalette(local_);
  } else {
    BuildPalette(entries_, !fourBits);
    CopyEntries(local_.colours, palette, entries_);
  }
}

void PlainRenderer::Diffuse(const std::function<Colour(int x, int y)>& source,
                            const std::function<int(const Colour&)>& choose,
                            const std::function<Colour(int index)>& shown) {
  const int width = image_->width;
  std::vector<Colour> above(static_cast<std::size_t>(width));
  for (int y = 0; y < image_->height; ++y) {
    Colour error = {};
    for (int n = 0; n < width; ++n) {
      const int x = SerpentineColumn(n, y, width);
      Colour& carried = above[static_cast<std::size_t>(x)];
      Colour v = source(x, y);
      for (std::size_t c = 0; c < 3; ++c) {
        const std::int64_t scaled = std::int64_t{(error[c] + carried[c]) / 2} * strength_ / 100;
        v[c] = static_cast<int>(std::clamp<std::int64_t>(v[c] + scaled, 0, 255));
      }
      const int index = choose(v);
      for (std::size_t c = 0; c < 3; ++c) error[c] = carried[c] = v[c] - shown(index)[c];
      Put(x, y, index);
    }
  }
}

void PlainRenderer::DiffuseColour(bool fourBits) {
  const auto choose = [&](const Colour& v) {
    if (mode_ != 0) return NearestIndex(v);
    if (fourBits) return Fixed16Index(v);
    if (v[0] / 32 != v[1] / 32 || v[1] / 32 != v[2] / 32) return CubeIndex(v);
    const int k = (v[0] + v[1] + v[2]) * 21 / 767;
    return k < 3 ? 0 : 224 + k;
  };
  Diffuse([&](int x, int y) { return Pixel(x, y); }, choose,
          [&](int index) { return Entry(*palette_, index); });
}

void PlainRenderer::Grey(int code) {
  const int step = code == 2 ? 1 : code == 4 ? 17 : 255;
  const auto shown = [&](int index) { return Colour{index * step, index * step, index * step}; };
  for (int i = 0; i < (code == 5 ? 2 : entries_); ++i) SetEntry(*palette_, i, shown(i));
  const auto source = [&](int x, int y) {
    const Colour p = Pixel(x, y);
    const int grey = p[0] * 85 / 255 + p[1] * 105 / 255 + p[2] * 65 / 255;
    return Colour{grey, grey, grey};
  };
  const auto choose = [&](const Colour& v) {
    return code == 2 ? v[0] : code == 4 ? v[0] >> 4 : v[0] > 127;
  };
  Diffuse(source, choose, shown);
}

void PlainRenderer::OrderFixed() {
  constexpr int kTop[3] = {6, 7, 3};
  for (int y = 0; y < image_->height; ++y) {
    for (int x = 0; x < image_->width; ++x) {
      const auto [r, g, b] = Pixel(x, y);
      int index = 0;
      if (r / 4 == g / 4 && g / 4 == b / 4) {
        const int k = g * 20 / 255;
        const bool next = ((y / 4 + x) % 4) * ((x / 4 + y) % 5) < (g - k * 255 / 20) / 2;
        index = 224 + k + (next && k < 20 ? 1 : 0);
      } else {
        const int thresholds[3] = {kR[((y / 2 + x) % 7) + ((x / 3 + y) % 3) * 7],
                                   kG[((y / 3 + x) % 3) + ((x / 2 + y) % 6) * 3],
                                   kB[((y / 4 + x) % 6) + ((x / 5 + y) % 8) * 6]};
        for (std::size_t c = 0; c < 3; ++c) {
          const int v = Pixel(x, y)[c];
          const int level = v * kTop[c] / 255;
          const bool next = thresholds[c] < (v - level * 255 / kTop[c]) / 2 && level < kTop[c];
          index = index * (kTop[c] + 1) + level + (next ? 1 : 0);
        }
      }
      Put(x, y, index);
    }
  }
}

/// The first index other than i on the way from entry i to the channel's end, or i itself.
int PlainRenderer::Neighbour(int i, std::size_t channel, int step) {
  Colour v = Entry(*palette_, i);
  int index = i;
  for (; v[channel] >= 0 && v[channel] <= 255 && index == i; v[channel] += step) {
    index = NearestIndex(v);
  }
  return index;
}

void PlainRenderer::OrderMapped() {
  Colour up[256] = {};
  Colour down[256] = {};
  for (int i = 0; i < entries_; ++i) {
    for (std::size_t c = 0; c < 3; ++c) {
      up[i][c] = Neighbour(i, c, 1);
      down[i][c] = Neighbour(i, c, -1);
    }
  }
  const std::int64_t s = std::int64_t{strength_} * 16 / 100;
  for (int y = 0; y < image_->height; ++y) {
    for (int n = 0; n < image_->width; ++n) {
      const int x = SerpentineColumn(n, y, image_->width);
      const Colour p = Pixel(x, y);
      const int thresholds[3] = {kM[(x & 3) + (y & 3) * 4],
                                 kM[((y + 1 + x) & 3) + ((y - 1) & 3) * 4],
                                 kM[((x - 2) & 3) + ((x + y) & 3) * 4]};
      int index = NearestIndex(p);
      for (std::size_t c = 0; c < 3; ++c) {
        const int from = Entry(*palette_, index)[c];
        const int d = p[c] - from;
        if (d == 0) continue;
        const int candidate = (d > 0 ? up : down)[index][c];
        const int way = Entry(*palette_, candidate)[c] - from;
        if (way != 0 && thresholds[c] < std::abs(d * s / way)) index = candidate;
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
  const auto enter = [&](const Colour& colour, int i) {
    SetEntry(local_.colours, i, colour);
    AddPaletteEntry(colour, i);
  };
  int i = 0;
  if (!keepEntryZero) enter({0, 0, 0}, i++);
  int threshold = 4 * Base(n);
  while (i < n && threshold >= 3) {
    if (LockOf(i) != 0) {
      if (LockOf(i) == 1) AddPaletteEntry(Entry(local_.colours, i), i);
      ++i;
      continue;
    }
    for (std::uint32_t k = 0; k < image_->pixelCount && i < n && LockOf(i) == 0; ++k) {
      const std::uint8_t* p = image_->pixels + 4 * k;
      const bool wanted = threshold >= 9 ? cellDistance_[Cell(p[0], p[1], p[2])] > threshold
                                         : ExactIndex({p[0], p[1], p[2]}) == -1;
      if (wanted) enter({p[0], p[1], p[2]}, i++);
    }
    threshold = threshold < 5 ? threshold - 1 : (4 * threshold) / 5;
  }
  local_.count = i;
  mirror_ = lastMapped_ = local_;
  lastLocks_ = entryLocks;
}

void PlainRenderer::AddPaletteEntry(const Colour& colour, int i) {
  static const std::vector<int> table = [] {
    std::vector<int> made;
    for (int flat = 0; flat < 33 * 1024; ++flat) made.push_back(TableEntry(flat));
    return made;
  }();
  SetEntry(mirror_.colours, i, colour);
  mirror_.count = i + 1;
  if (exactOn_) InsertExact(colour, i);
  const auto from = [&](int c) { return std::max(c / 4 - radius_, 0); };
  const auto to = [&](int c) { return std::min(c / 4 + radius_, 63); };
  const auto [r, g, b] = colour;
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
  for (int i = 0; i < record.count && same; ++i) {
    same = Entry(record.colours, i) == Entry(lastMapped_.colours, i) &&
           LockOf(i) == lastLocks_[static_cast<std::size_t>(i)];
  }
  if (same) return;
  StartMapping(record.count);
  for (int i = 0; i < record.count; ++i) {
    if (LockOf(i) == 2) continue;
    const Colour colour = Entry(record.colours, i);
    ExactIndex(colour);
    AddPaletteEntry(colour, i);
  }
  lastMapped_ = record;
  lastLocks_ = entryLocks;
}

int PlainRenderer::NearestIndex(const Colour& colour) {
  if (exactOn_) {
    if (const int index = ExactIndex(colour); index != -1) return index;
  }
  const std::size_t cell = Cell(colour[0], colour[1], colour[2]);
  if (cellDistance_[cell] < 255) return cellIndex_[cell];
  int best = 0;
  int least = 99999;
  for (int i = 0; i < mirror_.count && least > 0; ++i) {
    if (Skipped(i)) continue;
    int squares = 0;
    for (std::size_t c = 0; c < 3; ++c) {
      const int d = colour[c] - Entry(mirror_.colours, i)[c];
      squares += d * d;
    }
    const int d = IntegerRoot(squares);
    if (d >= least) continue;
    least = d;
    best = i;
  }
  cellIndex_[cell] = best;
  cellDistance_[cell] = 254;
  return best;
}

void PlainRenderer::InsertExact(const Colour& colour, int i) {
  const std::pair row(colour[0], colour[1]);
  if (!treeRows_.contains(row) && treeRows_.size() == 256) return;
  treeRows_.insert(row);
  tree_.insert({colour, i});  // the first index of a colour stays
}

int PlainRenderer::ExactIndex(const Colour& colour) {
  if (rebuild_) {
    if (!treeAvailable) return 65534;
    tree_.clear();
    treeRows_.clear();
    for (int i = 0; i < mirror_.count; ++i) {
      if (!Skipped(i)) InsertExact(Entry(mirror_.colours, i), i);
    }
    exactOn_ = true;
    rebuild_ = false;
  }
  const auto found = tree_.find(colour);
  return found == tree_.end() ? -1 : found->second;
}

}  // namespace imx::test
