#include "formats/trim_block.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>

namespace imx {
namespace {

static_assert(std::endian::native == std::endian::little, "words are swapped into file order");

constexpr unsigned kWidest = 8;  ///< a field of this width has no escape
constexpr std::uint8_t kConstantHeader = 0xF0;
constexpr std::uint8_t kPlainHeader = 0x80;

std::uint64_t LoadBig64(const std::uint8_t* p) {
  std::uint64_t word;
  std::memcpy(&word, p, sizeof word);
  return __builtin_bswap64(word);
}

void StoreBig64(std::uint8_t* p, std::uint64_t word) {
  word = __builtin_bswap64(word);
  std::memcpy(p, &word, sizeof word);
}

/// `n` (at most 32) one-bits.
constexpr std::uint32_t Ones(unsigned n) {
  return static_cast<std::uint32_t>((std::uint64_t{1} << n) - 1);
}

/// First value of each level after the first.
struct Thresholds {
  unsigned t1, t2, t3;
};

constexpr unsigned kNoValue = 256;  ///< just above all values

/// Widths of the fields of a block's levels; 0 where there is no field.
struct Widths {
  unsigned w1, w2, w3, w4;

  bool HasSecondByte() const { return w2 != 0 && w2 != kWidest; }
  Thresholds Limits() const {
    const unsigned t1 = Ones(w1);
    const unsigned t2 = std::min(kNoValue, Ones(w2) + t1);
    return {t1, t2, std::min(kNoValue, Ones(w3) + t2)};
  }
};

/// Bits of the longest code that is read: 8 behind three full fields.
constexpr unsigned kLongestCode = 3 * (kWidest - 1) + kWidest;
/// Of those written the last level begins below kNoValue, so the fields are together at most 19
/// wide.
constexpr unsigned kLongestWritten = 19 + kWidest;

// Encoding

/// How many values of a block are below a limit.
class Counts {
 public:
  Counts(const std::uint8_t* values, std::size_t count) {
    // Several tables, so that equal neighbours do not wait for each other.
    std::uint8_t tally[4][256] = {};
    static_assert(kTrimBlockValues / 4 + 4 <= UINT8_MAX);
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
      for (std::size_t k = 0; k < 4; ++k) ++tally[k][values[i + k]];
    }
    for (; i < count; ++i) ++tally[0][values[i]];

    limit_ = *std::max_element(values, values + count) + 1u;
    std::uint16_t sums[256];
    for (std::size_t v = 0; v < 256; ++v) {
      sums[v] = static_cast<std::uint16_t>(tally[0][v] + tally[1][v] + tally[2][v] + tally[3][v]);
    }
    unsigned sum = 0;
    for (std::size_t v = 0; v < limit_; ++v) {
      below_[v] = static_cast<std::uint16_t>(sum);
      sum += sums[v];
    }
    below_[limit_] = static_cast<std::uint16_t>(sum);
    allEqual_ = sums[limit_ - 1] == count;
  }

  unsigned Below(unsigned value) const { return below_[std::min(value, limit_)]; }
  /// One more than the largest value.
  unsigned limit() const { return limit_; }
  bool allEqual() const { return allEqual_; }

 private:
  std::uint16_t below_[257];
  unsigned limit_;
  bool allEqual_;
};

struct Choice {
  Widths widths;
  unsigned bytes;

  /// Keeps the earlier of two equals.
  void Offer(unsigned bits, Widths other) {
    const unsigned size = (bits + 7) / 8;
    if (size < bytes) *this = {other, size};
  }
};

/// Tries all widths in the order of the format: of the smallest codings the first is taken. Where
/// no value is left for the levels behind, wider fields and more levels only cost more.
Choice ChooseWidths(const Counts& counts, unsigned count) {
  Choice best = {{0, 0, 0, 0}, 2 * count};
  for (unsigned w1 = 1; w1 < kWidest; ++w1) {
    const unsigned t1 = Ones(w1);
    const unsigned below1 = counts.Below(t1);
    const unsigned beyond1 = count - below1;
    const unsigned bits1 = below1 * w1;
    best.Offer(bits1 + beyond1 * (w1 + kWidest), {w1, kWidest, 0, 0});
    if (beyond1 == 0) break;
    for (unsigned w2 = w1; w2 < kWidest; ++w2) {
      const unsigned t2 = t1 + Ones(w2);
      const unsigned below2 = counts.Below(t2);
      const unsigned beyond2 = count - below2;
      const unsigned bits2 = bits1 + (below2 - below1) * (w1 + w2);
      best.Offer(bits2 + beyond2 * (w1 + w2 + kWidest), {w1, w2, kWidest, 0});
      if (beyond2 == 0) break;
      for (unsigned w3 = w2; w3 < kWidest; ++w3) {
        const unsigned below3 = counts.Below(t2 + Ones(w3));
        const unsigned beyond3 = count - below3;
        const unsigned bits3 = bits2 + (below3 - below2) * (w1 + w2 + w3);
        best.Offer(bits3 + beyond3 * (w1 + w2 + w3 + kWidest), {w1, w2, w3, kWidest});
        if (beyond3 == 0) break;
      }
    }
  }
  return best;
}

/// Puts the lowest `n` bits of `value`, which has no others set. The caller stores them before more
/// than 64 are held.
void TrimPutBits(TrimOutput& out, std::uint32_t value, unsigned n) {
  out.held = out.held << n | value;
  out.heldBits += n;
}

/// Stores the bytes that the held bits fill; at least one bit is held.
void StoreHeld(TrimOutput& out) {
  StoreBig64(out.data + out.position, out.held << (64 - out.heldBits));
  out.position += out.heldBits / 8;
  out.heldBits %= 8;
}

/// Fills the byte begun with zeros.
void TrimFlushBits(TrimOutput& out) {
  if (out.heldBits == 0) return;
  TrimPutBits(out, 0, 8 - out.heldBits);
  StoreHeld(out);
}

void PutByte(TrimOutput& out, unsigned byte) {
  out.data[out.position++] = static_cast<std::uint8_t>(byte);
}

/// The codes of all values up to the largest of a block.
class CodeTable {
 public:
  CodeTable(const Widths& w, unsigned limit) {
    const auto [t1, t2, t3] = w.Limits();
    Fill(0, std::min(limit, t1), 0, w.w1);
    Fill(t1, std::min(limit, t2), Ones(w.w1) << w.w2, w.w1 + w.w2);
    Fill(t2, std::min(limit, t3), Ones(w.w1 + w.w2) << w.w3, w.w1 + w.w2 + w.w3);
    Fill(t3, limit, Ones(w.w1 + w.w2 + w.w3) << w.w4, w.w1 + w.w2 + w.w3 + w.w4);
  }

  void Put(TrimOutput& out, std::uint8_t value) const {
    TrimPutBits(out, codes_[value].bits, codes_[value].length);
  }

 private:
  struct Code {
    std::uint32_t bits;
    std::uint32_t length;
  };

  void Fill(unsigned from, unsigned to, std::uint32_t first, unsigned length) {
    for (unsigned v = from; v < to; ++v) codes_[v] = {first + (v - from), length};
  }

  Code codes_[256];
};

void EncodeElements(TrimOutput& stream, const Widths& widths, unsigned limit,
                    const std::uint8_t* values, std::size_t count) {
  const CodeTable codes(widths, limit);
  TrimOutput out = stream;  // a copy can live in registers
  std::size_t i = 0;
  for (; i + 2 <= count; i += 2) {  // two codes beside seven bits still held
    static_assert(2 * kLongestWritten + 7 <= 64);
    codes.Put(out, values[i]);
    codes.Put(out, values[i + 1]);
    StoreHeld(out);
  }
  if (i < count) codes.Put(out, values[i]);
  if (out.heldBits > 0) StoreHeld(out);
  TrimFlushBits(out);
  stream = out;
}

// Decoding

/// Elements are read eight bytes at a time, from up to seven bytes behind the next one.
constexpr std::size_t kReadAhead = 16;
constexpr std::size_t kMostBlockBytes = 2 + (kLongestCode * kTrimBlockValues + 7) / 8 + kReadAhead;

struct Element {
  unsigned length;  ///< bits of its code
  std::uint8_t value;
};

/// A block's levels as the decoder tells them apart: a code of level k+1, moved to the top of a
/// word, is at least first[k].
struct Levels {
  int count;
  std::uint64_t first[3];
  unsigned length[4];  ///< bits of whole codes
  unsigned bias[4];    ///< what makes a whole code, modulo 256, the value

  explicit Levels(const Widths& w) {
    const Thresholds t = w.Limits();
    const unsigned widths[4] = {w.w1, w.w2, w.w3, w.w4};
    const unsigned thresholds[4] = {0, t.t1, t.t2, t.t3};
    unsigned before = 0;
    count = 0;
    do {
      const unsigned width = widths[count];
      if (count > 0) first[count - 1] = before == 0 ? 0 : ~std::uint64_t{0} << (64 - before);
      length[count] = before + width;
      bias[count] = thresholds[count] - (Ones(before) << width);
      before += width;
      ++count;
    } while (widths[count - 1] != kWidest && count < 4);
  }

  /// The element at the top of `bits`.
  Element Next(std::uint64_t bits) const {
    int k = 0;
    while (k + 1 < count && bits >= first[k]) ++k;
    return {length[k], static_cast<std::uint8_t>((bits >> (64 - length[k])) + bias[k])};
  }
};

constexpr unsigned kShortBits = 8;
constexpr unsigned kShortElements = 4;

/// What the next kShortBits bits hold in whole codes of the first three levels, at most
/// kShortElements of them.
struct ShortCodes {
  bool made;
  std::uint32_t values[1u << kShortBits];  ///< first value lowest
  std::uint8_t counts[1u << kShortBits];   ///< 0 where not even one code is whole
  std::uint8_t lengths[1u << kShortBits];  ///< bits of the codes together

  void Make(const Levels& levels) {
    made = true;
    for (std::size_t i = 0; i < std::size(values); ++i) {
      const std::uint64_t bits = std::uint64_t{i} << (64 - kShortBits);
      unsigned used = 0;
      unsigned count = 0;
      for (; count < kShortElements; ++count) {
        const Element element = levels.Next(bits << used);
        if (used + element.length > kShortBits) break;
        values[i] |= std::uint32_t{element.value} << 8 * count;
        used += element.length;
      }
      counts[i] = static_cast<std::uint8_t>(count);
      lengths[i] = static_cast<std::uint8_t>(used);
    }
  }
};

/// The table for these widths. It is made when it is first needed, and kept: a picture uses few of
/// them, again and again.
const ShortCodes& ShortCodesFor(Widths w) {
  static ShortCodes tables[kWidest][kWidest + 1][kWidest + 1];
  ShortCodes& table = tables[w.w1][w.w2][w.w3];
  w.w4 = kWidest;  // too long for the table, whatever the block has
  if (!table.made) table.Make(Levels(w));
  return table;
}

/// Reads `count` elements. Returns the first byte behind them.
const std::uint8_t* DecodeElements(const std::uint8_t* at, const Widths& widths,
                                   std::uint8_t* values, std::size_t count) {
  const Levels levels(widths);
  const ShortCodes& codes = ShortCodesFor(widths);
  std::uint64_t bits = 0;  // the next ones from the top on
  unsigned held = 0;       // how many of them are counted as taken from `at`
  const auto refill = [&] {
    bits |= LoadBig64(at) >> held;
    at += (63 - held) / 8;
    held |= 56;
  };
  const auto drop = [&](unsigned length) {
    bits <<= length;
    held -= length;
  };
  const auto takeOne = [&] {
    const Element element = levels.Next(bits);
    *values++ = element.value;
    drop(element.length);
  };
  const auto takeShort = [&] {
    const auto next = static_cast<std::size_t>(bits >> (64 - kShortBits));
    std::memcpy(values, &codes.values[next], kShortElements);
    values += codes.counts[next];
    drop(codes.lengths[next]);
    return codes.counts[next] != 0;
  };
  const std::uint8_t* const end = values + count;
  while (end - values >= std::ptrdiff_t{3 * kShortElements}) {
    refill();  // enough for two lots of short ones and the longest
    int lots = 0;
    while (lots < 3 && takeShort()) ++lots;
    if (lots < 3) takeOne();
  }
  while (end - values >= std::ptrdiff_t{kShortElements}) {
    refill();
    if (!takeShort()) takeOne();
  }
  while (values < end) {
    refill();
    takeOne();
  }
  return at - held / 8;
}

/// Reads a block from memory that goes on for kMostBlockBytes. Returns the first byte behind it.
const std::uint8_t* DecodeBlock(const std::uint8_t* at, std::uint8_t* values, std::size_t count) {
  const unsigned header = *at++;
  Widths w = {header >> 4, header & 15, 0, 0};
  if (w.w1 == 15) {
    std::memset(values, *at++, count);
    return at;
  }
  if (w.HasSecondByte()) {
    const unsigned more = *at++;
    w.w3 = more >> 4;
    w.w4 = more & 15;
  }
  w = {std::min(w.w1, kWidest), std::min(w.w2, kWidest), std::min(w.w3, kWidest),
       std::min(w.w4, kWidest)};
  if (w.w1 == kWidest) {
    std::memcpy(values, at, count);
    return at + count;
  }
  if (header == 0) {  // fields without a single bit
    std::memset(values, 0, count);
    return at;
  }
  return DecodeElements(at, w, values, count);
}

}  // namespace

std::size_t TrimEncodeBlock(TrimOutput& out, const std::uint8_t* values, std::size_t count) {
  const std::size_t start = out.position;
  const Counts counts(values, count);
  if (counts.allEqual()) {
    PutByte(out, kConstantHeader);
    PutByte(out, values[0]);
    return 2;
  }
  const Choice choice = ChooseWidths(counts, static_cast<unsigned>(count));
  const Widths& w = choice.widths;
  const unsigned headerSize = w.w3 != 0 ? 2 : 1;
  if (headerSize + choice.bytes > count) {
    PutByte(out, kPlainHeader);
    std::memcpy(out.data + out.position, values, count);
    out.position += count;
    return count + 1;
  }
  PutByte(out, w.w1 << 4 | w.w2);
  if (w.HasSecondByte()) PutByte(out, w.w3 << 4 | w.w4);
  EncodeElements(out, w, counts.limit(), values, count);
  return out.position - start;
}

void TrimDecodeBlock(TrimInput& in, std::uint8_t* values, std::size_t count) {
  const std::size_t left = in.size - in.position;
  const std::uint8_t* const from = in.data + in.position;
  if (left >= kMostBlockBytes) {
    in.position += static_cast<std::size_t>(DecodeBlock(from, values, count) - from);
    return;
  }
  // Near the end: what is left, with the zeros that stand behind the last bit.
  std::uint8_t rest[kMostBlockBytes] = {};
  std::memcpy(rest, from, left);
  const auto used = static_cast<std::size_t>(DecodeBlock(rest, values, count) - rest);
  in.position += std::min(used, left);
}

}  // namespace imx
