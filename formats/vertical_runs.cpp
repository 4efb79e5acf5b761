#include "formats/vertical_runs.h"

#include <algorithm>
#include <cstring>

#include "imagelib/byte_order.h"

namespace imx {
namespace {

using Data = std::span<const std::uint8_t>;

constexpr char kId[] = {'V', 'D', 'A', 'T'};
constexpr std::size_t kChunkStart = 8;

/// Cuts the first `size` bytes off, or as many as there are.
Data Take(Data& data, std::size_t size) {
  const Data part = data.first(std::min(size, data.size()));
  data = data.subspan(part.size());
  return part;
}

/// Where the next word of a plane goes.
struct Columns {
  std::uint8_t* plane;
  std::size_t planeBytes, stride, rows;
  std::size_t x = 0, y = 0;

  bool full() const { return x >= planeBytes || rows == 0; }
  void Put(const std::uint8_t* word) {
    std::memcpy(plane + y * stride + x, word, 2);
    if (++y < rows) return;
    y = 0;
    x += 2;
  }
};

/// False when a word is missing.
bool Decode(std::uint8_t command, Data& words, Columns& out) {
  const bool counted = command < 2;
  const bool copies = command == 0 || command >= 128;
  std::size_t count = command >= 128 ? 256u - command : command;
  if (counted) {
    const Data word = Take(words, 2);
    if (word.size() < 2) return false;
    count = LoadU16(word.data(), ByteOrder::big);
  }
  const Data run = Take(words, copies ? 2 * count : 2);
  if (run.size() < 2) return count == 0;
  for (std::size_t i = 0; i < count && !out.full(); ++i) {
    const std::size_t at = copies ? 2 * i : 0;
    if (at + 2 > run.size()) return false;
    out.Put(run.data() + at);
  }
  return true;
}

}  // namespace

bool DecodeVerticalPlane(Data& body, std::uint8_t* plane, std::size_t planeBytes,
                         std::size_t stride, std::size_t rows) {
  const Data start = Take(body, kChunkStart);
  if (start.size() < kChunkStart || std::memcmp(start.data(), kId, sizeof kId) != 0) return false;
  const std::size_t length = LoadU32(start.data() + 4, ByteOrder::big);
  Data words = Take(body, length);
  if (length % 2 != 0) Take(body, 1);
  const Data counter = Take(words, 2);
  if (counter.size() < 2) return false;
  const std::size_t size = LoadU16(counter.data(), ByteOrder::big);
  const Data commands = Take(words, size < 2 ? 0 : size - 2);
  Columns out = {plane, planeBytes, stride, rows};
  for (const std::uint8_t command : commands) {
    if (out.full() || !Decode(command, words, out)) break;
  }
  return out.full();
}

}  // namespace imx
