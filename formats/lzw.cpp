#include "formats/lzw.h"

#include <cstring>

namespace imx {
namespace {

constexpr std::uint32_t kHashSize = 5003;
constexpr std::int32_t kMostCodes = LzwStrings::kMostCodes;
constexpr std::int32_t kMostWidth = 12;
constexpr std::size_t kSubBlock = 254;  // one less than the format allows
constexpr std::int32_t kEndOfPixels = -1;
constexpr std::int32_t kNoMemory = -2;
constexpr std::int32_t kBadCodeSize = -3;

struct HashEntry {
  std::int32_t prefix;
  std::int32_t code;  // 0 = empty
  std::uint8_t suffix;
};
static_assert(sizeof(HashEntry) * kHashSize == 60036);

/// Packs codes least significant bit first into sub-blocks.
class BlockWriter {
 public:
  BlockWriter(LzwPutByte putByte, void* context) : putByte_(putByte), context_(context) {}

  std::int32_t Code(std::int32_t code, std::int32_t width) {
    bits_ |= static_cast<std::uint32_t>(code) << held_;
    for (held_ += width; held_ >= 8; held_ -= 8, bits_ >>= 8) {
      block_[used_++] = static_cast<std::uint8_t>(bits_);
      if (used_ < kSubBlock) continue;
      if (const std::int32_t error = PutBlock()) return error;
    }
    return 0;
  }

  /// The last bits, then the zero-length block.
  std::int32_t End() {
    if (held_ > 0) block_[used_++] = static_cast<std::uint8_t>(bits_);
    if (const std::int32_t error = used_ > 0 ? PutBlock() : 0) return error;
    return putByte_(context_, 0);
  }

 private:
  std::int32_t PutBlock() {
    std::int32_t error = putByte_(context_, static_cast<std::uint8_t>(used_));
    for (std::size_t i = 0; i < used_ && error == 0; ++i) error = putByte_(context_, block_[i]);
    used_ = 0;
    return error;
  }

  LzwPutByte putByte_;
  void* context_;
  std::uint32_t bits_ = 0;
  std::int32_t held_ = 0;
  std::size_t used_ = 0;
  std::uint8_t block_[kSubBlock + 1];
};

/// The encoder's codes: an open-addressed table from (prefix, suffix) to code.
struct CodeTable {
  TrackedArray<HashEntry> entries{kHashSize, "GIF code table"};
  std::int32_t clear = 0, next = 0, width = 0, limit = 0;

  void Reset(std::int32_t codeSize) {
    clear = 1 << codeSize;
    next = clear + 2;
    width = codeSize + 1;
    limit = 1 << width;
    std::memset(entries.data(), 0, entries.size() * sizeof(HashEntry));
  }

  /// The entry that holds (prefix, suffix), or the empty one where it belongs. Square steps reach
  /// half of the slots only; single ones then go on to the others.
  HashEntry* Find(std::int32_t prefix, std::int32_t suffix) {
    std::uint32_t at =
        (static_cast<std::uint32_t>(suffix) * 32 ^ static_cast<std::uint32_t>(prefix)) % kHashSize;
    for (std::uint32_t step = 1;; step += 2) {
      HashEntry* entry = &entries[at];
      if (entry->code == 0 || (entry->prefix == prefix && entry->suffix == suffix)) return entry;
      at += step < kHashSize ? step : 1;
      if (at >= kHashSize) at -= kHashSize;
    }
  }
};

std::int32_t EncodePixels(CodeTable& table, std::int32_t codeSize, BlockWriter& out,
                          LzwNextPixel nextPixel, void* context) {
  table.Reset(codeSize);
  if (const std::int32_t error = out.Code(table.clear, table.width)) return error;
  std::int32_t prefix = nextPixel(context);
  if (prefix >= 0) {
    std::int32_t pixel;
    while ((pixel = nextPixel(context)) >= 0) {
      HashEntry* entry = table.Find(prefix, pixel);
      if (entry->code != 0) {
        prefix = entry->code;
        continue;
      }
      if (const std::int32_t error = out.Code(prefix, table.width)) return error;
      const std::int32_t before = table.next;
      if (before < kMostCodes) {
        *entry = {prefix, table.next++, static_cast<std::uint8_t>(pixel)};
      }
      if (before == table.limit && table.width == kMostWidth) {
        if (const std::int32_t error = out.Code(table.clear, table.width)) return error;
        table.Reset(codeSize);
      } else if (before == table.limit) {
        table.width += 1;
        table.limit *= 2;
      }
      prefix = pixel;
    }
    if (pixel != kEndOfPixels) return pixel;
    if (const std::int32_t error = out.Code(prefix, table.width)) return error;
  } else if (prefix != kEndOfPixels) {
    return prefix;
  }
  return out.Code(table.clear + 1, table.width);
}

}  // namespace

std::int32_t LzwEncode(std::int32_t codeSize, LzwNextPixel nextPixel, LzwPutByte putByte,
                       void* context) {
  if (codeSize < 1 || codeSize > 9) return kBadCodeSize;
  if (codeSize == 1) codeSize = 2;
  CodeTable table;
  if (!table.entries) return kNoMemory;
  if (const std::int32_t error = putByte(context, static_cast<std::uint8_t>(codeSize))) {
    return error;
  }
  BlockWriter out(putByte, context);
  if (const std::int32_t error = EncodePixels(table, codeSize, out, nextPixel, context)) {
    return error;
  }
  return out.End();
}

bool LzwStrings::Allocate() {
  table_ = TrackedArray<Entry>(kMostCodes, "allocptr");
  return static_cast<bool>(table_);
}

void LzwStrings::Reset(std::int32_t codeSize) {
  roots_ = 1 << codeSize;
  next_ = roots_ + 2;
  for (std::int32_t code = 0; code < roots_; ++code) {
    const auto byte = static_cast<std::uint8_t>(code);
    table_[Index(code)] = {0, 1, byte, byte};
  }
}

}  // namespace imx
