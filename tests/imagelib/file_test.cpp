#include <algorithm>
#include <cstring>
#include <string>

#include "imagelib/byte_order.h"
#include "imagelib/file_reader.h"
#include "imagelib/file_writer.h"
#include "imagelib/save_outcome.h"
#include "tests/support/fault_injection.h"
#include "tests/support/library_test.h"

namespace imx::test {
namespace {

using FileTest = LibraryTest;

/// A byte's value tells where it stood.
Bytes Pattern(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
  return bytes;
}

TEST_F(FileTest, ShortReadsGiveZeros) {
  SetFileByteOrder(ByteOrder::big);
  const std::string path = temp.Write("in", Bytes{1, 2, 3});
  FileReader in(path.c_str());
  EXPECT_EQ(in.U32(), 0u) << "not the three bytes that are there";
  EXPECT_TRUE(in.ended());
  in.Seek(1);
  std::uint8_t bytes[4] = {9, 9, 9, 9};
  EXPECT_EQ(in.Read(bytes, 4), 2u);
  EXPECT_THAT(bytes, testing::ElementsAre(2, 3, 0, 0));
  EXPECT_EQ(in.U8(), 0);
  EXPECT_EQ(in.U16(), 0);
  in.Seek((UINT64_C(1) << 40) + 1);
  EXPECT_EQ(in.U8(), 0) << "not cut to 32 bits";
  EXPECT_EQ(in.remaining(), 0u);
  in.Seek(2);
  EXPECT_EQ(in.U8(), 3) << "back from beyond the end";
}

TEST_F(FileTest, WhatCannotBeReadIsEmpty) {
  for (const std::string& path : {temp.file("missing"), temp.path(), temp.Write("empty", "")}) {
    FileReader in(path.c_str());
    EXPECT_EQ(in.size(), 0u) << path;
    EXPECT_EQ(in.remaining(), 0u);
    EXPECT_EQ(in.U8(), 0);
    EXPECT_TRUE(in.ended());
    EXPECT_EQ(in.Peek(10).size, 0u);
  }
  FileReader none(static_cast<std::FILE*>(nullptr));
  EXPECT_FALSE(none.ok());
  EXPECT_EQ(none.U32(), 0u);
}

// Every way of moving and reading against the same walk over the bytes in memory; sizes around the
// buffer's, so that each way meets its edges.
TEST_F(FileTest, AnyWalkReadsTheFilesBytes) {
  constexpr std::size_t kBuffer = FileReader::kBufferSize;
  const Bytes bytes = Pattern(3 * kBuffer + 17);
  std::size_t at = 60;
  std::FILE* file = std::fopen(temp.Write("in", bytes).c_str(), "rb");
  ASSERT_NE(file, nullptr);
  std::fseek(file, static_cast<long>(at), SEEK_SET);
  FileReader in(file);  // goes on where the file stands
  const std::size_t lengths[] = {0, 1, 7, kBuffer - 1, kBuffer, kBuffer + 1, 2 * kBuffer + 5};
  std::uint32_t random = 1;
  Bytes read(4 * kBuffer);
  for (int step = 0; step < 4000; ++step) {
    random = random * 1664525 + 1013904223;
    const std::size_t length = lengths[random >> 8 & 3 ? random >> 16 & 3 : (random >> 16) % 7];
    const std::size_t there = std::min(length, bytes.size() - std::min(at, bytes.size()));
    switch (random >> 28 & 3) {
      case 0:
        ASSERT_EQ(in.Read(read.data(), length), there) << step;
        ASSERT_EQ(std::memcmp(read.data(), bytes.data() + at, there), 0);
        at += there;
        break;
      case 1: {
        const auto view = in.Peek(length);
        ASSERT_EQ(view.size, std::min(there, kBuffer)) << step;
        ASSERT_EQ(std::memcmp(view.data, bytes.data() + at, view.size), 0) << step;
        break;
      }
      case 2:
        ASSERT_EQ(in.U8(), at < bytes.size() ? bytes[at] : 0) << step;
        at = std::min(at + 1, bytes.size());
        break;
      default:
        if (step % 2 == 0 && at + length <= bytes.size()) {
          in.Skip(length);
          at += length;
        } else {
          at = (random >> 3) % bytes.size();
          in.Seek(at);
        }
    }
    ASSERT_EQ(in.position(), at) << step;
    ASSERT_EQ(in.remaining(), bytes.size() - at) << step;
  }
}

TEST_F(FileTest, AnySizesOfWritesGiveTheSameBytesAndNumbersCanBePatched) {
  SetFileByteOrder(ByteOrder::big);
  const std::string path = temp.file("out");
  const Bytes bytes = Pattern(200000);
  FileWriter out(path.c_str());
  out.Write("FORM", 4);
  out.U32(0);
  out.U16(0x0102);
  out.F32(1.5f);
  out.Zeros(40000);
  std::size_t at = 0;
  for (std::size_t step = 0; at < bytes.size(); ++step) {
    constexpr std::size_t kSizes[] = {1, 32768, 3, 32767, 40000, 10000, 0};
    const std::size_t size = std::min(kSizes[step % std::size(kSizes)], bytes.size() - at);
    size == 1 ? out.U8(bytes[at]) : out.Write(bytes.data() + at, size);
    at += size;
    ASSERT_EQ(out.position(), 40014 + at);
  }
  EXPECT_TRUE(out.PatchU32(4, 0xA0B0C0D0));
  out.U8(8);
  EXPECT_TRUE(out.Finish());
  EXPECT_TRUE(ReadFile(path) == BigEndian()
                                    .Text("FORM")
                                    .List({0xA0, 0xB0, 0xC0, 0xD0, 1, 2, 0x3F, 0xC0, 0, 0})
                                    .Repeat(0, 40000)
                                    .Raw(bytes)
                                    .U8(8)
                                    .bytes());
  FileReader in(path.c_str());
  in.Seek(4);
  EXPECT_EQ(in.U32(), 0xA0B0C0D0u);
  EXPECT_EQ(in.U16(), 0x0102);
  EXPECT_EQ(in.F32(), 1.5f);
}

TEST_F(FileTest, OutcomeTellsWhatBecameOfTheFile) {
  const std::string path = temp.file("out");
  BeginSaveOutcome();
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::none);
  {
    FileWriter out(path.c_str());
    out.U8(1);
    out.Finish();
  }
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::whole);

  {
    FileWriter unfinished(path.c_str());
    unfinished.U8(1);
  }
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
  EXPECT_EQ(SaveFailureReason(), "") << "left by the saver, not by the disk";
  EXPECT_EQ(ReadFile(path).size(), 1u) << "what was written stays";
  { FileWriter(path.c_str()).Finish(); }
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed) << "one of several files is enough";

  BeginSaveOutcome();
  EXPECT_FALSE(FileWriter(temp.file("no/such/folder").c_str()).ok());
  EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
  EXPECT_NE(SaveFailureReason(), "");
}

TEST_F(FileTest, AFailedWriteIsForGood) {
  const Bytes bytes = Pattern(100000);
  for (int n = 0; n < 4; ++n) {
    BeginSaveOutcome();
    const WriteFailure failure(n);
    FileWriter out(temp.file("out").c_str());
    out.Write(bytes.data(), 30000);
    out.Write(bytes.data(), 30000);
    out.Write(bytes.data(), 40000);
    out.PatchU32(0, 1);
    EXPECT_FALSE(out.Finish()) << n;
    EXPECT_TRUE(failure.reached()) << n;
    EXPECT_EQ(GetSaveOutcome(), SaveOutcome::failed);
    EXPECT_NE(SaveFailureReason(), "");
  }
}

}  // namespace
}  // namespace imx::test
