// The block code, against blocks worked out by hand and against the plain codec of
// trim_reference.h.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "formats/trim_block.h"
#include "tests/formats/trim_reference.h"

namespace imx::test {
namespace {

/// 0 .. limit-1
unsigned Below(unsigned limit) {
  static std::mt19937 engine(1);
  return static_cast<unsigned>(engine()) % limit;
}

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

/// At the stream's end and in its middle, the block takes all bytes of its own.
void ExpectDecodes(const Bytes& block, const Bytes& values) {
  for (const std::size_t behind : {0u, 2000u}) {
    const Bytes stream = block + Bytes(behind, 0xFF);
    TrimInput in = {stream.data(), stream.size()};
    Bytes got(values.size());
    TrimDecodeBlock(in, got.data(), got.size());
    EXPECT_EQ(in.position, block.size());
    EXPECT_EQ(got, values);
  }
}

void ExpectCodes(const Bytes& values) {
  const Bytes block = Encode(values);
  ASSERT_EQ(block, EncodeTrimBlock(values)) << testing::PrintToString(values);
  ExpectDecodes(block, values);
}

TEST(TrimBlock, EncodesByHand) {
  // All equal.
  EXPECT_EQ(Encode({7}), (Bytes{0xF0, 7}));
  EXPECT_EQ(Encode(Bytes(256, 200)), (Bytes{0xF0, 200}));
  // Nothing is gained: the values as they are.
  EXPECT_EQ(Encode({1, 2}), (Bytes{0x80, 1, 2}));
  // Seven zeros and a 1. w1 = 1: 7 x 1 bit, then the escape and 1 - t1 = 0 in 8 bits; 16 bits. With
  // a second level of 1 bit, 7 x 1 and "1 0", 9 bits, as large; the first is kept.
  EXPECT_EQ(Encode({0, 0, 0, 0, 0, 0, 0, 1}), (Bytes{0x18, 0x01, 0x00}));
  // Values below 3 in 2 bits each: 2 bytes. Fields that begin with 1 bit come to 18 bits.
  EXPECT_EQ(Encode({0, 2, 1, 2, 2, 1, 2, 0}), Bytes{0x28} + TrimPack("0010011010011000"));
}

TEST(TrimBlock, DecodesByHand) {
  // 12 38: levels of 1, 2, 3 and 8 bits; t1 = 1, t2 = 4, t3 = 11.
  ExpectDecodes(Bytes{0x12, 0x38} + TrimPack("1 11 111 00001001"
                                             "1 11 000"
                                             "1 00"
                                             "1 00"
                                             "1 11 111 00000101"
                                             "0"),
                {20, 4, 1, 1, 16, 0});
  // 23 80: 2, 3 and 8 bits; t1 = 3, t2 = 10.
  ExpectDecodes(Bytes{0x23, 0x80} + TrimPack("00 10 11 000 11 110 11 111 11110101"),
                {0, 2, 3, 9, 255});
  // 38: 3 and 8 bits; t1 = 7. A field of 255 wraps: (255 + 7) mod 256 = 6.
  ExpectDecodes(Bytes{0x38} + TrimPack("110 111 00000000 111 11111111"), {6, 7, 6});
  // 30: 3 bits and no more. 80: plain. F5: the low half of a constant block's header is ignored.
  ExpectDecodes(Bytes{0x30} + TrimPack("111 000 101"), {7, 0, 5});
  ExpectDecodes({0x80, 9, 8, 7}, {9, 8, 7});
  ExpectDecodes({0xF5, 33}, {33, 33, 33});
  ExpectDecodes({0x00}, {0, 0, 0});
}

TEST(TrimBlock, PairsOfAllValues) {
  for (unsigned pair = 0; pair < 65536 && !testing::Test::HasFatalFailure(); ++pair) {
    ExpectCodes({static_cast<std::uint8_t>(pair / 256), static_cast<std::uint8_t>(pair)});
  }
}

TEST(TrimBlock, RandomBlocks) {
  for (int round = 0; round < 3000 && !testing::Test::HasFatalFailure(); ++round) {
    Bytes values(round % 3 == 0 ? 256 : 1 + Below(256));
    const unsigned common = 1u << Below(9), rare = 1u << Below(9), share = 1 + Below(40);
    for (std::uint8_t& value : values) {
      // Small values are frequent, as ranks are.
      const unsigned most = Below(share) == 0 ? rare : 1 + Below(common);
      value = static_cast<std::uint8_t>(Below(most));
    }
    ExpectCodes(values);
  }
}

// Other writers may choose widths that this one never does.
TEST(TrimBlock, DecodesAllWidths) {
  for (unsigned shape = 0; shape < 9 * 9 * 9 * 9 && !testing::Test::HasFailure(); ++shape) {
    const TrimWidths widths = {shape / 729, shape / 81 % 9, shape / 9 % 9, shape % 9};
    const bool secondByte = widths[1] != 0 && widths[1] != 8;
    if (!secondByte && (widths[2] != 0 || widths[3] != 0)) continue;
    if (widths == TrimWidths{8, 0, 0, 0}) continue;
    const bool open = std::find(widths.begin(), widths.end(), 8) != widths.end();
    const unsigned limit =
        open ? 256 : std::min(256u, TrimThresholds(widths)[3] + (1u << widths[3]));
    const Bytes values = NoiseBytes(100, shape, limit);
    SCOPED_TRACE(testing::PrintToString(widths));
    ExpectDecodes(EncodeTrimBlockWith(widths, values), values);
  }
}

TEST(TrimBlock, BitsBehindTheEndAreZero) {
  for (unsigned round = 0; round < 300; ++round) {
    Bytes block = Encode(NoiseBytes(256, round, 1 + Below(64)));
    block.resize(1 + Below(static_cast<unsigned>(block.size())));
    Bytes got(256);
    TrimInput in = {block.data(), block.size()};
    TrimDecodeBlock(in, got.data(), got.size());
    EXPECT_TRUE(in.ended());
    std::size_t position = 0;
    ASSERT_EQ(got, DecodeTrimBlock(block, &position, got.size())) << round;
  }
}

}  // namespace
}  // namespace imx::test
