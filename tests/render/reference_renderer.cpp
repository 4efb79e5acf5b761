#include "tests/render/reference_renderer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>

namespace imx::test {
namespace {

constexpr int kAbsent = 65535;
constexpr int kUnavailable = 65534;

constexpr Colour kFixed[16] = {{0, 0, 0},       {128, 0, 0},   {0, 128, 0},   {128, 128, 0},
                               {0, 0, 128},     {128, 0, 128}, {0, 128, 128}, {192, 192, 192},
                               {128, 128, 128}, {255, 0, 0},   {0, 255, 0},   {255, 255, 0},
                               {0, 0, 255},     {255, 0, 255}, {0, 255, 255}, {255, 255, 255}};

constexpr int kM[] = {0, 13, 4, 8, 12, 5, 1, 9, 6, 14, 10, 3, 7, 11, 2, 15};
constexpr int kR[] = {16, 18, 7, 12, 3, 9, 2, 17, 5, 13, 10, 4, 11, 19, 8, 14, 20, 3, 16, 6, 1};
constexpr int kG[] = {7, 12, 3, 18, 9, 2, 5, 13, 17, 10, 4, 11, 8, 14, 3, 16, 6, 1};
constexpr int kB[] = {23, 12, 22, 9, 19, 17, 29, 13, 31, 4,  11, 21, 14, 17, 34, 40,
                      6,  16, 35, 7, 28, 37, 3,  20, 32, 2,  25, 41, 5,  30, 38, 10,
                      24, 27, 39, 8, 26, 33, 3,  18, 1,  36, 0,  13, 4,  8,  12, 5};

int Squares(const Colour& a, const Colour& b) {
  int sum = 0;
  for (int c = 0; c < 3; ++c) sum += (a[c] - b[c]) * (a[c] - b[c]);
  return sum;
}

int Distance(const Colour& a, const Colour& b) {
  return static_cast<int>(std::sqrt(static_cast<double>(Squares(a, b))) - 0.5);
}

/// The distance of so many 6-bit steps, red's times 1024, green's times 32 and blue's together.
int TableEntry(int flat) {
  static const std::vector<int> table = [] {
    std::vector<int> made;
    for (int i = 0; i < 32768; ++i) {
      const Colour steps = {i / 1024 * 255 / 63, i / 32 % 32 * 255 / 63, i % 32 * 255 / 63};
      made.push_back(std::min(255, Distance(steps, {0, 0, 0})));
    }
    return made;
  }();
  return table[static_cast<std::size_t>(std::min(flat, 32767))];
}

int Base(int n) {
  return n >= 60 ? 12 : 12 + ((60 - n) * 12) / 44;
}

std::size_t Cell(const Colour& c) {
  return static_cast<std::size_t>((c[0] >> 2) * 4096 + (c[1] >> 2) * 64 + (c[2] >> 2));
}

Colour PixelOf(const std::uint8_t* p) {
  return {p[0], p[1], p[2]};
}

// The mapping of colours to entries, and what it remembers.

bool Skipped(const ReferenceRenderer& r, int i) {
  return r.adaptive && r.locks[i] == 2;
}

void InsertExact(ReferenceRenderer& r, const Colour& colour, int i) {
  const std::pair row(colour[0], colour[1]);
  if (!r.treeRows.contains(row) && r.treeRows.size() == 256) return;
  r.treeRows.insert(row);
  r.tree.insert({colour, i});  // the first index of a colour stays
}

int ExactIndex(ReferenceRenderer& r, const Colour& colour) {
  if (r.rebuild) {
    if (!r.treeAvailable) return kUnavailable;
    r.tree.clear();
    r.treeRows.clear();
    for (int i = 0; i < r.mirrorCount; ++i) {
      if (!Skipped(r, i)) InsertExact(r, r.mirror[i], i);
    }
    r.exactOn = true;
    r.rebuild = false;
  }
  const auto found = r.tree.find(colour);
  return found == r.tree.end() ? kAbsent : found->second;
}

int NearestIndex(ReferenceRenderer& r, const Colour& colour) {
  if (r.exactOn) {
    if (const int index = ExactIndex(r, colour); index != kAbsent) return index;
  }
  const std::size_t cell = Cell(colour);
  if (r.cellDistance[cell] < 255) return r.cellIndex[cell];
  int least = 99999;
  for (int i = r.cellIndex[cell] = 0; i < r.mirrorCount && least > 0; ++i) {
    const int distance = Distance(colour, r.mirror[i]);
    if (Skipped(r, i) || distance >= least) continue;
    least = distance;
    r.cellIndex[cell] = i;
  }
  r.cellDistance[cell] = 254;
  return r.cellIndex[cell];
}

void StartMapping(ReferenceRenderer& r, int count) {
  r.rebuild = true;
  r.exactOn = false;
  r.cellDistance.assign(64 * 64 * 64, 255);
  r.cellIndex.assign(64 * 64 * 64, 0);
  r.radius = std::min(Base(count) + 4, 30);
  r.mapped = true;
}

void AddEntry(ReferenceRenderer& r, const Colour& colour, int i) {
  r.mirror[i] = colour;
  r.mirrorCount = i + 1;
  if (r.exactOn) InsertExact(r, colour, i);
  Colour from, to;
  for (int c = 0; c < 3; ++c) {
    from[c] = std::max(colour[c] / 4 - r.radius, 0);
    to[c] = std::min(colour[c] / 4 + r.radius, 63);
  }
  for (int red = from[0]; red <= to[0]; ++red) {
    for (int green = from[1]; green <= to[1]; ++green) {
      for (int blue = from[2]; blue <= to[2]; ++blue) {
        const int flat = (std::abs(red - colour[0] / 4) + 1) * 1024 +
                         (std::abs(green - colour[1] / 4) + 2) * 32 +
                         std::abs(blue - colour[2] / 4);
        const std::size_t cell = Cell({red * 4, green * 4, blue * 4});
        const int d = TableEntry(flat);
        if (d >= r.cellDistance[cell]) continue;
        r.cellIndex[cell] = i;
        r.cellDistance[cell] = d;
      }
    }
  }
}

void MapPalette(ReferenceRenderer& r, const Colours& colours, int count) {
  bool same = r.mapped;
  for (int i = 0; i < count; ++i) {
    same = same && colours[i] == r.lastMapped[i] && r.locks[i] == r.lastLocks[i];
  }
  if (same) return;
  StartMapping(r, count);
  for (int i = 0; i < count; ++i) {
    if (r.locks[i] == 2) continue;
    ExactIndex(r, colours[i]);
    AddEntry(r, colours[i], i);
  }
  r.lastMapped = colours;
  r.lastLocks = r.locks;
}

void BuildPalette(ReferenceRenderer& r, const ImageRecord& image, Colours& colours, int n,
                  bool keepEntryZero) {
  StartMapping(r, n);
  int i = 0;
  const auto enter = [&](const Colour& colour) {
    colours[i] = colour;
    AddEntry(r, colour, i++);
  };
  if (!keepEntryZero) enter({0, 0, 0});
  int threshold = 4 * Base(n);
  while (i < n && threshold >= 3) {
    if (r.locks[i] == 1) {
      enter(Colour(colours[i]));
    } else if (r.locks[i] == 2) {
      ++i;
    } else {
      for (std::uint32_t k = 0; k < image.pixelCount && i < n && r.locks[i] == 0; ++k) {
        const Colour p = PixelOf(image.pixels + 4 * k);
        const bool wanted =
            threshold >= 9 ? r.cellDistance[Cell(p)] > threshold : ExactIndex(r, p) == kAbsent;
        if (wanted) enter(p);
      }
      threshold = threshold < 5 ? threshold - 1 : (4 * threshold) / 5;
    }
  }
  r.mirror = r.lastMapped = colours;
  r.mirrorCount = i;
  r.lastLocks = r.locks;
}

// Walks over the picture.

/// What `choose` gives for every pixel, asked in serpentine order.
std::vector<std::uint8_t> Indices(
    const ImageRecord& image, const std::function<int(int x, int y, const Colour& pixel)>& choose) {
  std::vector<std::uint8_t> output(image.pixelCount);
  for (int y = 0; y < image.height; ++y) {
    for (int n = 0; n < image.width; ++n) {
      const int x = y % 2 == 0 ? n : image.width - 1 - n;
      const int index = choose(x, y, PixelOf(PixelRow(image, y) + 4 * x));
      output[static_cast<std::size_t>(y * image.width + x)] = static_cast<std::uint8_t>(index);
    }
  }
  return output;
}

/// Chooses an index for each colour with the error of those before it, the error being what the
/// colour shown for the index lacks.
std::vector<std::uint8_t> Diffused(const ImageRecord& image, int strength,
                                   const std::function<Colour(const Colour&)>& source,
                                   const std::function<int(const Colour&)>& choose,
                                   const std::function<Colour(int)>& shown) {
  std::vector<Colour> above(static_cast<std::size_t>(image.width));
  Colour error = {};
  return Indices(image, [&](int x, int y, const Colour& pixel) {
    if (x == (y % 2 == 0 ? 0 : image.width - 1)) error = {};
    Colour& carried = above[static_cast<std::size_t>(x)];
    Colour v = source(pixel);
    for (int c = 0; c < 3; ++c) {
      const std::int64_t scaled = std::int64_t{(error[c] + carried[c]) / 2} * strength / 100;
      v[c] = static_cast<int>(std::clamp<std::int64_t>(v[c] + scaled, 0, 255));
    }
    const int index = choose(v);
    for (int c = 0; c < 3; ++c) error[c] = carried[c] = v[c] - shown(index)[c];
    return index;
  });
}

std::vector<std::uint8_t> Packed(const ImageRecord& image) {
  std::vector<std::uint8_t> output;
  for (std::uint32_t i = 0; i < image.pixelCount; ++i) {
    const std::uint8_t* p = image.pixels + 4 * i;
    output.insert(output.end(), {p[2], p[1], p[0]});
    const bool rowEnds = (i + 1) % static_cast<std::uint32_t>(image.width) == 0;
    while (rowEnds && output.size() % 4 != 0) output.push_back(0);
  }
  return output;
}

/// The nearest of the sixteen fixed colours to the upper three bits of each channel; distances are
/// taken sevenfold, so that they are whole numbers.
int Fixed16Index(const Colour& colour) {
  const auto distance = [&](const Colour& c) {
    return Squares({(colour[0] >> 5) * 255, (colour[1] >> 5) * 255, (colour[2] >> 5) * 255},
                   {7 * c[0], 7 * c[1], 7 * c[2]});
  };
  const auto nearer = [&](const Colour& a, const Colour& b) { return distance(a) < distance(b); };
  return static_cast<int>(std::min_element(kFixed, kFixed + 16, nearer) - kFixed);
}

int CubeIndex(const Colour& v) {
  const int k = (v[0] + v[1] + v[2]) * 21 / 767;
  const bool grey = v[0] / 32 == v[1] / 32 && v[1] / 32 == v[2] / 32;
  const int cube = (v[0] + 18) * 6 / 255 * 32 + (v[1] + 16) * 7 / 255 * 4 + (v[2] + 32) * 3 / 255;
  return !grey ? cube : k < 3 ? 0 : 224 + k;
}

int OrderedOnCube(int x, int y, const Colour& pixel) {
  if (pixel[0] / 4 == pixel[1] / 4 && pixel[1] / 4 == pixel[2] / 4) {
    const int k = pixel[1] * 20 / 255;
    const bool next = ((y / 4 + x) % 4) * ((x / 4 + y) % 5) < (pixel[1] - k * 255 / 20) / 2;
    return 224 + k + (next && k < 20 ? 1 : 0);
  }
  constexpr int kTop[3] = {6, 7, 3};
  const int thresholds[3] = {kR[((y / 2 + x) % 7) + ((x / 3 + y) % 3) * 7],
                             kG[((y / 3 + x) % 3) + ((x / 2 + y) % 6) * 3],
                             kB[((y / 4 + x) % 6) + ((x / 5 + y) % 8) * 6]};
  int index = 0;
  for (int c = 0; c < 3; ++c) {
    const int level = pixel[c] * kTop[c] / 255;
    const bool next = thresholds[c] < (pixel[c] - level * 255 / kTop[c]) / 2 && level < kTop[c];
    index = index * (kTop[c] + 1) + level + (next ? 1 : 0);
  }
  return index;
}

/// The first index other than i on the way from entry i to the channel's end, or i itself.
int Neighbour(ReferenceRenderer& r, Colour v, int i, int channel, int step) {
  int index = i;
  for (; v[channel] >= 0 && v[channel] <= 255 && index == i; v[channel] += step) {
    index = NearestIndex(r, v);
  }
  return index;
}

std::vector<std::uint8_t> OrderedOnNearest(ReferenceRenderer& r, const ImageRecord& image,
                                           const Colours& palette, int entries, int strength) {
  Colours up = {};
  Colours down = {};
  for (int i = 0; i < entries; ++i) {
    for (int c = 0; c < 3; ++c) {
      up[i][c] = Neighbour(r, palette[i], i, c, 1);
      down[i][c] = Neighbour(r, palette[i], i, c, -1);
    }
  }
  const std::int64_t sixteenths = std::int64_t{strength} * 16 / 100;
  return Indices(image, [&](int x, int y, const Colour& pixel) {
    const int thresholds[3] = {kM[(x & 3) + (y & 3) * 4], kM[((y + 1 + x) & 3) + ((y - 1) & 3) * 4],
                               kM[((x - 2) & 3) + ((x + y) & 3) * 4]};
    int index = NearestIndex(r, pixel);
    for (int c = 0; c < 3; ++c) {
      const int d = pixel[c] - palette[index][c];
      if (d == 0) continue;
      const int candidate = (d > 0 ? up : down)[index][c];
      const int way = palette[candidate][c] - palette[index][c];
      if (way != 0 && thresholds[c] < std::abs(d * sixteenths / way)) index = candidate;
    }
    return index;
  });
}

/// The palette for a colour request; `colours` starts as the remembered one.
void ChoosePalette(ReferenceRenderer& r, const ImageRecord& image, Colours& palette,
                   Colours& colours, int entries, int mode, bool fourBits) {
  if (mode == 3) {
    palette = r.renderPalette;
    MapPalette(r, palette, r.renderPaletteCount);
  } else if (mode == 0 && fourBits) {
    std::copy_n(kFixed, 16, palette.begin());
  } else if (mode == 0) {
    for (int i = 0; i < std::max(entries, 245); ++i) {
      const int grey = i < 245 ? (i - 224) * 255 / 21 : 255;
      palette[i] = {grey, grey, grey};
      if (i < 224) palette[i] = {i / 32 * 255 / 6, i / 4 % 8 * 255 / 7, i % 4 * 255 / 3};
    }
  } else if (mode == 4 && !fourBits) {
    MapPalette(r, palette, entries);
  } else {
    BuildPalette(r, image, colours, entries, !fourBits);
    std::copy_n(colours.begin(), entries, palette.begin());
  }
}

std::vector<std::uint8_t> Grey(const ImageRecord& image, Colours& palette, int entries, int code,
                               int strength) {
  const auto shown = [&](int index) {
    const int grey = index * (code == 2 ? 1 : code == 4 ? 17 : 255) & 255;
    return Colour{grey, grey, grey};
  };
  for (int i = 0; i < (code == 5 ? 2 : entries); ++i) palette[i] = shown(i);
  const auto source = [](const Colour& p) {
    const int grey = p[0] * 85 / 255 + p[1] * 105 / 255 + p[2] * 65 / 255;
    return Colour{grey, grey, grey};
  };
  const auto choose = [&](const Colour& v) {
    return code == 2 ? v[0] : code == 4 ? v[0] >> 4 : v[0] >> 7;
  };
  return Diffused(image, strength, source, choose, shown);
}

}  // namespace

Colours ColoursOf(const Palette& palette) {
  Colours colours;
  for (int i = 0; i < 256; ++i) {
    colours[i] = {palette.red[i], palette.green[i], palette.blue[i]};
  }
  return colours;
}

std::vector<std::uint8_t> RenderByReference(ReferenceRenderer& r, const ImageRecord& image,
                                            Colours& palette, RenderCall call) {
  auto [code, mode, ordered, keep, strength] = call;
  r.adaptive = mode >= 2 && mode <= 4;
  if (mode == 1 && (code == 1 || code == 3)) code += 1;
  int entries = r.renderBits == 24 ? 0 : 1 << r.renderBits;
  if ((entries == 256 || entries == 16) && (mode == 2 || mode == 3)) {
    entries = std::min(entries, std::max(r.renderPaletteCount, 2));
  }
  Colours grown = {};
  std::copy_n(r.renderPalette.begin(), mode == 4 ? 0 : entries, grown.begin());
  std::copy_n(r.renderPalette.begin(), mode == 4 ? 0 : entries, palette.begin());

  std::vector<std::uint8_t> output(image.pixelCount);
  if (code == 0) output = Packed(image);
  if (code == 2 || code == 4 || code == 5) output = Grey(image, palette, entries, code, strength);
  if (code == 1 || code == 3) {
    ChoosePalette(r, image, palette, grown, entries, mode, code == 3);
    const auto choose = [&, mode = mode, code = code](const Colour& v) {
      return mode != 0 ? NearestIndex(r, v) : code == 1 ? CubeIndex(v) : Fixed16Index(v);
    };
    const auto shown = [&](int index) { return palette[index]; };
    if (code == 3 || !ordered) {
      output = Diffused(image, strength, std::identity(), choose, shown);
    } else if (mode == 0) {
      output = Indices(image, OrderedOnCube);
    } else {
      output = OrderedOnNearest(r, image, palette, entries, strength);
    }
  }
  if (keep) std::copy_n(palette.begin(), entries, r.renderPalette.begin());
  return output;
}

}  // namespace imx::test
