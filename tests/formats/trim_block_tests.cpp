// The block code, against blocks worked out by hand and against the plain codec of
// trim_reference.h.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "formats/trim_block.h"
#include "tests/formats/trim_reference.h"

namespace imx::test {
namespace {

class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}
  /// 0 .. limit-1
  unsigned Below(unsigned limit) { return static_cast<unsigned>(engine_()) % limit; }
  std::uint8_t ByteBelow(unsigned limit) { return static_cast<std::uint8_t>(Below(limit)); }

 private:
  std::mt19937 engine_;
};

Bytes Encode(const Bytes& values) {
  constexpr std::uint8_t kUntouched = 0xA5;
  Bytes room(values.size() + 1 + kTrimOutputSlack + 8, kUntouched);
  TrimOutput out = {room.data()};
  EXPECT_EQ(TrimEncodeBlock(out, values.data(), values.size()), out.position);
  for (std::size_t i = values.size() + 1 + kTrimOutputSlack; i < room.size(); ++i) {
    EXPECT_EQ(room[i], kUntouched) << "written behind the room";
  }
  room.resize(out.position);
  return room;
}

/// Decodes a block with `behind` more bytes in the stream, and checks that it takes all of its own.
Bytes Decode(Bytes block, std::size_t count, std::size_t behind) {
  const std::size_t size = block.size();
  block.resize(size + behind, 0xFF);
  TrimInput in = {block.data(), block.size()};
  Bytes values(count);
  TrimDecodeBlock(in, values.data(), count);
  EXPECT_EQ(in.position, size);
  return values;
}

constexpr std::size_t kAtTheEnd = 0;
constexpr std::size_t kInTheMiddle = 2000;

void ExpectDecodes(const Bytes& block, const Bytes& values) {
  EXPECT_EQ(Decode(block, values.size(), kAtTheEnd), values);
  EXPECT_EQ(Decode(block, values.size(), kInTheMiddle), values);
}

void ExpectCodes(const Bytes& values) {
  const Bytes block = Encode(values);
  ASSERT_EQ(block, EncodeTrimBlock(values)) << testing::PrintToString(values);
  ExpectDecodes(block, values);
}

Bytes FromBits(std::initializer_list<const char*> parts) {
  std::string bits;
  for (const char* part : parts) bits += part;
  bits.resize((bits.size() + 7) / 8 * 8, '0');
  Bytes bytes;
  for (std::size_t i = 0; i < bits.size(); i += 8) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(bits.substr(i, 8), nullptr, 2)));
  }
  return bytes;
}

Bytes Join(Bytes header, const Bytes& data) {
  header.insert(header.end(), data.begin(), data.end());
  return header;
}

TEST(TrimBlock, EncodesByHand) {
  // All equal.
  EXPECT_EQ(Encode({7}), (Bytes{0xF0, 7}));
  EXPECT_EQ(Encode(Bytes(256, 200)), (Bytes{0xF0, 200}));
  // Nothing is gained: the values as they are.
  EXPECT_EQ(Encode({1, 2}), (Bytes{0x80, 1, 2}));
  // Seven zeros and a 1. w1 = 1: 7 x 1 bit, then the escape and 1 - t1 = 0 in 8 bits; 16 bits. With
  // a second level of 1 bit, 7 x 1 and "1 0", 9 bits, as large; the first is kept.
  EXPECT_EQ(Encode({0, 0, 0, 0, 0, 0, 0, 1}), Join({0x18}, {0x01, 0x00}));
  // Values below 3 in 2 bits each: 2 bytes. Fields that begin with 1 bit come to 18 bits.
  EXPECT_EQ(Encode({0, 2, 1, 2, 2, 1, 2, 0}),
            Join({0x28}, FromBits({"00", "10", "01", "10", "10", "01", "10", "00"})));
}

TEST(TrimBlock, DecodesByHand) {
  // 12 38: levels of 1, 2, 3 and 8 bits; t1 = 1, t2 = 4, t3 = 11.
  ExpectDecodes(Join({0x12, 0x38}, FromBits({"1"
                                             "11"
                                             "111"
                                             "00001001",
                                             "1"
                                             "11"
                                             "000",
                                             "1"
                                             "00",
                                             "1"
                                             "00",
                                             "1"
                                             "11"
                                             "111"
                                             "00000101",
                                             "0"})),
                {20, 4, 1, 1, 16, 0});
  // 23 80: 2, 3 and 8 bits; t1 = 3, t2 = 10.
  ExpectDecodes(Join({0x23, 0x80}, FromBits({"00", "10",
                                             "11"
                                             "000",
                                             "11"
                                             "110",
                                             "11"
                                             "111"
                                             "11110101"})),
                {0, 2, 3, 9, 255});
  // 38: 3 and 8 bits; t1 = 7. A field of 255 wraps: (255 + 7) mod 256 = 6.
  ExpectDecodes(Join({0x38}, FromBits({"110",
                                       "111"
                                       "00000000",
                                       "111"
                                       "11111111"})),
                {6, 7, 6});
  // 30: 3 bits and no more. 80: plain. F5: the low half of a constant block's header is ignored.
  ExpectDecodes(Join({0x30}, FromBits({"111", "000", "101"})), {7, 0, 5});
  ExpectDecodes({0x80, 9, 8, 7}, {9, 8, 7});
  ExpectDecodes({0xF5, 33}, {33, 33, 33});
  ExpectDecodes({0x00}, {0, 0, 0});
}

TEST(TrimBlock, SmallBlocksOfAllValues) {
  for (unsigned a = 0; a < 256; ++a) {
    for (unsigned b = 0; b < 256; ++b) {
      ExpectCodes({static_cast<std::uint8_t>(a), static_cast<std::uint8_t>(b)});
      if (HasFatalFailure()) return;
    }
  }
  const Bytes corners = {0, 1, 2, 3, 4, 7, 8, 15, 16, 31, 63, 64, 127, 128, 254, 255};
  for (const auto a : corners) {
    for (const auto b : corners) {
      for (const auto c : corners) {
        ExpectCodes({a, b, c, c, a, a, a, a, b});
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST(TrimBlock, RandomBlocks) {
  Random random(1);
  for (int round = 0; round < 2000; ++round) {
    const std::size_t count = round % 3 == 0 ? 256 : 1 + random.Below(256);
    const unsigned common = 1u << random.Below(9);  // most values are below this
    const unsigned rare = 1u << random.Below(9);
    const unsigned share = 1 + random.Below(40);
    Bytes values(count);
    for (std::uint8_t& value : values) {
      // Small values are frequent, as ranks are.
      const unsigned most = random.Below(share) == 0 ? rare : 1 + random.Below(common);
      value = random.ByteBelow(most);
    }
    ExpectCodes(values);
    if (HasFatalFailure()) return;
  }
}

// Other writers may choose widths that this one never does.
TEST(TrimBlock, DecodesAllWidths) {
  Random random(2);
  for (unsigned shape = 0; shape < 9 * 9 * 9 * 9; ++shape) {
    const TrimWidths widths = {shape / 729, shape / 81 % 9, shape / 9 % 9, shape % 9};
    const bool secondByte = widths[1] != 0 && widths[1] != 8;
    if (!secondByte && (widths[2] != 0 || widths[3] != 0)) continue;
    const auto t = TrimThresholds(widths);
    const bool open = std::find(widths.begin(), widths.end(), 8) != widths.end();
    const unsigned limit = open ? 256 : std::min(256u, t[3] + (1u << widths[3]));
    Bytes values(100);
    for (std::uint8_t& value : values) value = random.ByteBelow(limit);
    if (widths == TrimWidths{8, 0, 0, 0}) continue;
    SCOPED_TRACE(testing::PrintToString(widths));
    ExpectDecodes(EncodeTrimBlockWith(widths, values), values);
    if (testing::Test::HasFailure()) return;
  }
}

TEST(TrimBlock, BitsBehindTheEndAreZero) {
  Random random(3);
  for (int round = 0; round < 300; ++round) {
    Bytes values(256);
    for (std::uint8_t& value : values) value = random.ByteBelow(1 + random.Below(64));
    Bytes block = Encode(values);
    block.resize(1 + random.Below(static_cast<unsigned>(block.size())));
    Bytes got(values.size());
    TrimInput in = {block.data(), block.size()};
    TrimDecodeBlock(in, got.data(), got.size());
    EXPECT_TRUE(in.ended());
    std::size_t position = 0;
    ASSERT_EQ(got, DecodeTrimBlock(block, &position, got.size())) << round;
  }
}

// No file that was written by anybody has these headers.
TEST(TrimBlock, BrokenHeadersStayInBounds) {
  Random random(4);
  for (unsigned header = 0; header < 0x10000; header += 3) {
    Bytes block(random.Below(40));
    for (std::uint8_t& byte : block) byte = random.ByteBelow(256);
    block.insert(block.begin(),
                 {static_cast<std::uint8_t>(header >> 8), static_cast<std::uint8_t>(header)});
    Bytes values(256);
    TrimInput in = {block.data(), block.size()};
    TrimDecodeBlock(in, values.data(), values.size());
    ASSERT_LE(in.position, block.size());
  }
}

}  // namespace
}  // namespace imx::test
