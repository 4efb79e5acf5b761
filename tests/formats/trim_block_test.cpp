// The block code, against blocks worked out by hand and against the plain codec of
// trim_reference.h.

#include "formats/trim_block.h"

#include <gtest/gtest.h>

#include <random>

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

TEST(TrimBlockTest, EncodesByHand) {
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

TEST(TrimBlockTest, EncodesAsTheReference) {
  for (int round = 0; round < 4000; ++round) {
    Bytes values(round % 3 == 0 ? 256 : 1 + Below(round % 3 == 1 ? 256 : 12));
    const unsigned common = 1u << Below(9), rare = 1u << Below(9), share = 1 + Below(40);
    for (std::uint8_t& value : values) {
      // Small values are frequent, as ranks are.
      const unsigned most = Below(share) == 0 ? rare : 1 + Below(common);
      value = static_cast<std::uint8_t>(Below(most));
    }
    ASSERT_EQ(Encode(values), EncodeTrimBlock(values)) << testing::PrintToString(values);
  }
}

// Widths that this writer never chooses, fields that no writer makes, streams that end early or go
// on behind the block.
TEST(TrimBlockTest, DecodesAnythingAsTheReference) {
  for (unsigned shape = 0; shape < 10 * 9 * 9 * 9; ++shape) {
    const unsigned w1 = shape / 729, w2 = shape / 81 % 9, w3 = shape / 9 % 9, w4 = shape % 9;
    Bytes stream = {static_cast<std::uint8_t>((w1 == 9 ? 15 : w1) * 16 + w2),
                    static_cast<std::uint8_t>(w3 * 16 + w4)};
    // Mostly ones: they lead to the higher levels.
    for (unsigned more = Below(1200); more > 0; --more) {
      const unsigned ones = Below(256);
      stream.push_back(static_cast<std::uint8_t>(ones | Below(256)));
    }
    stream.resize(1 + Below(static_cast<unsigned>(stream.size())));
    Bytes got(1 + Below(256));
    std::size_t position = 0;
    TrimInput in = {stream.data(), stream.size()};
    TrimDecodeBlock(in, got.data(), got.size());
    ASSERT_EQ(got, DecodeTrimBlock(stream, &position, got.size()))
        << testing::PrintToString(stream);
    ASSERT_EQ(in.position, position);
  }
}

}  // namespace
}  // namespace imx::test
