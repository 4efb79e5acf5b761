#include "tests/formats/trim_reference.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstdlib>
#include <map>
#include <numeric>

namespace imx::test {
namespace {

/// Widths of a block's four levels.
using TrimWidths = std::array<unsigned, 4>;

/// The smallest value of each level: 0, t1, t2, t3.
std::array<unsigned, 4> TrimThresholds(const TrimWidths& w) {
  const unsigned t1 = (1u << w[0]) - 1;
  const unsigned t2 = std::min(256u, (1u << w[1]) + t1 - 1);
  const unsigned t3 = std::min(256u, (1u << w[2]) + t2 - 1);
  return {0, t1, t2, t3};
}

std::string Bits(unsigned value, unsigned width) {
  return std::bitset<32>(value).to_string().substr(32 - width);
}

bool HasSecondByte(const TrimWidths& w) {
  return w[1] != 0 && w[1] != 8;
}

/// The level that holds the value.
std::size_t LevelOf(const TrimWidths& w, unsigned value) {
  const auto t = TrimThresholds(w);
  std::size_t level = 0;
  while (level < 3 && w[level] != 8 && value >= t[level + 1]) ++level;
  return level;
}

unsigned ElementSize(const TrimWidths& w, unsigned value) {
  return std::accumulate(w.begin(), w.begin() + LevelOf(w, value) + 1, 0u);
}

std::string ElementBits(const TrimWidths& w, unsigned value) {
  const std::size_t level = LevelOf(w, value);
  return std::string(ElementSize(w, value) - w[level], '1') +
         Bits(value - TrimThresholds(w)[level], w[level]);
}

/// A block with these widths.
Bytes EncodeTrimBlockWith(const TrimWidths& w, const Bytes& values) {
  std::string bits = Bits(w[0] * 16 + w[1], 8);
  if (HasSecondByte(w)) bits += Bits(w[2] * 16 + w[3], 8);
  for (const std::uint8_t value : values) bits += ElementBits(w, value);
  return TrimPack(bits);
}

int Unzigzag(int symbol) {
  return symbol % 2 == 0 ? symbol / 2 : -(symbol + 1) / 2;
}

}  // namespace

Bytes TrimPack(std::string bits) {
  std::erase(bits, ' ');
  while (bits.size() % 8 != 0) bits += '0';
  Bytes bytes;
  for (std::size_t i = 0; i < bits.size(); i += 8) {
    bytes.push_back(static_cast<std::uint8_t>(std::bitset<8>(bits.substr(i, 8)).to_ulong()));
  }
  return bytes;
}

Bytes EncodeTrimBlock(const Bytes& values) {
  if (std::all_of(values.begin(), values.end(), [&](auto v) { return v == values[0]; })) {
    return {0xF0, values[0]};
  }
  std::map<unsigned, std::size_t> counts;
  for (const std::uint8_t value : values) ++counts[value];
  TrimWidths best{};
  std::size_t bestSize = 2 * values.size();
  const auto offer = [&](const TrimWidths& widths) {
    std::size_t bits = 0;
    for (const auto& [value, count] : counts) bits += count * ElementSize(widths, value);
    if ((bits + 7) / 8 >= bestSize) return;
    best = widths;
    bestSize = (bits + 7) / 8;
  };
  for (unsigned w1 = 1; w1 <= 7; ++w1) {
    offer({w1, 8, 0, 0});
    for (unsigned w2 = w1; w2 <= 7; ++w2) {
      offer({w1, w2, 8, 0});
      for (unsigned w3 = w2; w3 <= 7; ++w3) offer({w1, w2, w3, 8});
    }
  }
  if ((best[2] != 0 ? 2 : 1) + bestSize > values.size()) best = {8, 0, 0, 0};
  return EncodeTrimBlockWith(best, values);
}

Bytes DecodeTrimBlock(const Bytes& bytes, std::size_t* position, std::size_t count) {
  const auto next = [&] {
    return *position < bytes.size() ? bytes[(*position)++] : std::uint8_t{0};
  };
  const unsigned first = next();
  TrimWidths w = {first / 16, first % 16, 0, 0};
  if (w[0] == 15) return Bytes(count, next());
  if (HasSecondByte(w)) {
    const unsigned second = next();
    w[2] = second / 16;
    w[3] = second % 16;
  }
  const auto t = TrimThresholds(w);
  std::size_t at = 8 * *position;
  const auto take = [&](unsigned width) {
    unsigned field = 0;
    for (; width > 0; --width, ++at) {
      const unsigned byte = at / 8 < bytes.size() ? bytes[at / 8] : 0u;
      field = field * 2 + (byte >> (7 - at % 8) & 1);
    }
    return field;
  };
  Bytes values;
  for (std::size_t i = 0; i < count; ++i) {
    std::size_t level = 0;
    unsigned field = take(w[0]);
    while (level < 3 && w[level] != 8 && field == (1u << w[level]) - 1) field = take(w[++level]);
    values.push_back(static_cast<std::uint8_t>(field + t[level]));
  }
  *position = std::min(bytes.size(), (at + 7) / 8);
  return values;
}

Bytes DecodeTrimChannel(const Bytes& bytes, std::size_t* position, int width, int height) {
  *position += *position % 2;
  const Bytes table = DecodeTrimBlock(bytes, position, 256);
  std::array<int, 256> residual{};
  int symbol = 0;
  for (std::size_t rank = 0; rank < 256; ++rank) {
    symbol = (symbol + Unzigzag(table[rank])) & 255;
    residual[rank] = Unzigzag(symbol);
  }
  Bytes plane(static_cast<std::size_t>(width * height));
  const auto at = [&](int x, int y) -> std::uint8_t& {
    return plane[static_cast<std::size_t>(y * width + x)];
  };
  const auto predict = [&](int x, int y) -> int {
    if (y == 0) return x == 0 ? 0 : at(x - 1, 0);
    if (x == 0) return at(0, y - 1);
    const int left = at(x - 1, y), up = at(x, y - 1), corner = at(x - 1, y - 1);
    return std::abs(up - corner) <= std::abs(left - corner) ? left : up;
  };
  for (int top = 0; top < height; top += 16) {
    for (int start = 0; start < width; start += 16) {
      const int w = std::min(16, width - start), h = std::min(16, height - top);
      int i = 0;
      for (const std::uint8_t rank :
           DecodeTrimBlock(bytes, position, static_cast<std::size_t>(w * h))) {
        const int x = start + i % w, y = top + i / w;
        at(x, y) = static_cast<std::uint8_t>(predict(x, y) + residual[rank]);
        ++i;
      }
    }
  }
  return plane;
}

}  // namespace imx::test
