#include "tests/formats/hostile_inputs.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <string_view>

#include "tests/formats/common_builder.h"
#include "tests/formats/png_builder.h"
#include "tests/formats/station_builder.h"

namespace imx::test {
namespace {

/// More than anything here may take, less than anything takes that is without bound.
constexpr rlim_t kHang = 10;

/// The largest that leaves room for an index buffer under the limit.
constexpr std::uint32_t kFlicSide = 14000;

/// One frame of `count` pairs of chunks: a pixel in the last row, and black.
Bytes BlackAgainAndAgain(std::size_t count) {
  const Bytes pixel = FlicChunk(12, {0xAF, 0x36, 1, 0, 1, 0, 1, 9}), black = FlicChunk(13, {});
  ByteBuilder chunks = LittleEndian();
  for (std::size_t i = 0; i < count; ++i) chunks.Raw(pixel).Raw(black);
  Bytes file = FlicFile(kFlc, kFlicSide, kFlicSide, {FlicFrame({}) + chunks.bytes()});
  StoreU16(&file[128 + 6], static_cast<std::uint16_t>(2 * count), ByteOrder::little);
  return file;
}

/// Frames that all end in the same long run-length chunk, though each states a size of 32 bytes.
Bytes FramesOverEachOther() {
  constexpr std::uint32_t kFrames = 10000, kSize = 32;
  ByteBuilder frames = LittleEndian();
  for (std::uint32_t i = 0; i < kFrames; ++i) {
    frames.U32(kSize).U16(0xF1FA).U16(2).Repeat(0, 8);
    frames.U32(kSize * (kFrames - i) - 16).Repeat(0, 12);  // an unknown chunk, up to the long one
  }
  ByteBuilder runs = LittleEndian();
  for (int i = 0; i < 100000; ++i) runs.List({127, 9});
  Bytes file = FlicFile(kFlc, kFlicSide, kFlicSide, {frames.bytes(), FlicChunk(15, runs.bytes())});
  StoreU16(&file[6], kFrames, ByteOrder::little);
  return file;
}

/// A megabyte of codes, each a longer string than the one before until the table is full.
Bytes GrowingCodes() {
  ByteBuilder data = LittleEndian();
  std::uint64_t bits = 0;
  int held = 0, width = 3;
  for (int next = 6; data.size() < 1 << 20; ++next) {
    // The string that is about to be made; later on the last one that was.
    const int code = next == 6 ? 0 : std::min(next - 1, 4095);
    bits |= static_cast<std::uint64_t>(code) << held;
    for (held += width; held >= 8; held -= 8, bits >>= 8) data.U8(bits & 0xFF);
    if (next == 1 << width && width < 12) ++width;
  }
  return Bytes{2} + GifBlocks(data.bytes());
}

Bytes GifOf(int width, int height) {
  return GifScreen(1, 1, 2) + GifFrame(0, 0, width, height) + GrowingCodes() + Bytes{0x3B};
}

Bytes JpegSegment(int marker, const Bytes& data) {
  const auto size = static_cast<std::uint32_t>(data.size() + 2);
  return BigEndian().U8(0xFF).U8(static_cast<std::uint32_t>(marker)).U16(size).Raw(data).bytes();
}

/// A grey progressive picture: one scan of the means, and `scans` that say nothing, each of a few
/// hundred bytes, padded to a megabyte.
Bytes RepeatedScans(std::uint32_t side, int scans) {
  const std::size_t blocks = std::size_t{(side + 7) / 8} * ((side + 7) / 8);
  const auto table = [](int kind, int symbol) {
    // A single code of one bit.
    return JpegSegment(0xC4, Bytes{static_cast<std::uint8_t>(kind), 1} + Bytes(15, 0) +
                                 Bytes{static_cast<std::uint8_t>(symbol)});
  };
  ByteBuilder file = BigEndian();
  file.U16(0xFFD8).Raw(JpegSegment(0xE0, {'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0}));
  file.Raw(JpegSegment(0xDB, Bytes{0} + Bytes(64, 1)));
  file.Raw(JpegSegment(0xC2, BigEndian().U8(8).U16(side).U16(side).List({1, 1, 0x11, 0}).bytes()));
  file.Raw(table(0x00, 0)).Raw(table(0x10, 0xE0));
  file.Raw(JpegSegment(0xDA, {1, 1, 0, 0, 0, 0})).Repeat(0, blocks / 8 + 1);
  for (int scan = 0; scan < scans; ++scan) {
    // Runs of 16384 blocks without a change, 15 bits each.
    file.Raw(JpegSegment(0xDA, {1, 1, 0, 1, 63, 0x10}))
        .Repeat(0, (blocks / 16384 + 1) * 15 / 8 + 1);
  }
  while (file.size() < 1 << 20) file.Raw(JpegSegment(0xFE, Bytes(60000, ' ')));
  return file.U16(0xFFD9).bytes();
}

/// A deflate stream of about `size` zeros, without a right end.
Bytes DeflatedZeros(std::uint64_t size) {
  const Bytes piece(1 << 22, 0);
  Bytes packed(1 << 16);
  z_stream stream = {};
  deflateInit(&stream, 9);
  ByteBuilder all = BigEndian();
  stream.next_in = const_cast<Bytef*>(piece.data());
  stream.avail_in = static_cast<uInt>(piece.size());
  stream.next_out = packed.data();
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FULL_FLUSH);
  const std::size_t used = packed.size() - stream.avail_out;
  deflateEnd(&stream);
  // Behind the stream's header every piece stands for itself.
  all.Raw(packed.data(), 2);
  for (std::uint64_t done = 0; done < size; done += piece.size()) {
    all.Raw(packed.data() + 2, used - 2);
  }
  return all.bytes();
}

Bytes PngOfZeros(std::uint32_t width, std::uint32_t height, int bits, PngColour colour,
                 std::uint64_t rowBytes) {
  return PngSignature() + PngHeader(width, height, bits, colour) +
         PngChunk("IDAT", DeflatedZeros((rowBytes + 1) * height)) + PngChunk("IEND", {});
}

Bytes PngTexts() {
  const Bytes text = Bytes{'k', 0, 0} + Deflated(Bytes(127 * 1024, 'x'));
  ByteBuilder chunks = BigEndian();
  for (int i = 0; i < 1000; ++i) chunks.Raw(PngChunk("zTXt", text));
  return PngFile(PngHeader(1, 1, 8, kPngGrey), {0, 0}, chunks.bytes());
}

Bytes RiffChunk(std::string_view name, const Bytes& data) {
  const auto size = static_cast<std::uint32_t>(data.size());
  return LittleEndian().Text(name).U32(size).Raw(data).bytes();
}

Bytes RiffList(std::string_view name, std::string_view kind, const Bytes& chunks) {
  return RiffChunk(name, LittleEndian().Text(kind).Raw(chunks).bytes());
}

/// A run-length frame that ends at once, and `padding` bytes that say nothing.
Bytes BlankAvi(int side, std::size_t padding) {
  ByteBuilder main = LittleEndian(), stream = LittleEndian(), format = LittleEndian();
  main.Longs({100000, 0, 0, 16, 1, 0, 1, 0}).Repeat(0, 24);
  stream.Text("vidsmrle").Longs({0, 0, 0, 1, 10, 0, 1, 0, -1, 0, 0, 0});
  format.Longs({40, side, side}).Words({1, 8}).Longs({1, 0, 0, 0, 0, 0});
  const Bytes streamChunks = RiffChunk("strh", stream.bytes()) + RiffChunk("strf", format.bytes());
  const Bytes headers = RiffChunk("avih", main.bytes()) + RiffList("LIST", "strl", streamChunks);
  return RiffList("RIFF", "AVI ",
                  RiffList("LIST", "hdrl", headers) + RiffChunk("JUNK", Bytes(padding, 0)) +
                      RiffList("LIST", "movi", RiffChunk("00dc", {0, 1})));
}

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

}  // namespace

const std::vector<HostileInput>& HostileInputs() {
  static const std::vector<HostileInput> inputs = {
      {"black-600-times.flc", [] { return BlackAgainAndAgain(600); }},
      {"black-19000-times.flc", [] { return BlackAgainAndAgain(19000); }},
      {"overlapping-frames.flc", FramesOverEachOther, {"info", "--frame", "9999"}},
      {"codes-for-1x1.gif", [] { return GifOf(1, 1); }},
      {"codes-for-60x60-in-1x1.gif", [] { return GifOf(60, 60); }},
      {"codes-for-65535x65535-in-1x1.gif", [] { return GifOf(65535, 65535); }},
      {"190-scans-16000x16000.jpg", [] { return RepeatedScans(16000, 190); }},
      {"190-scans-12000x12000.jpg", [] { return RepeatedScans(12000, 190); }},
      {"16-bit-rgba-268000000x1.png",
       [] { return PngOfZeros(268000000, 1, 16, kPngRgba, 8ull * 268000000); }},
      {"grey-1x100000000.png", [] { return PngOfZeros(1, 100000000, 8, kPngGrey, 1); }},
      {"1000-texts.png", PngTexts, {"info"}, 64},
      {"run-length-16000x16000.avi", [] { return BlankAvi(16000, 40); }, {"info", "--frame", "0"}},
      {"padded-run-length-16000x16000.avi",
       [] { return BlankAvi(16000, 20000); },
       {"info", "--frame", "0"}},
      {"4x4-rescaled.png",
       [] { return PngFile(PngHeader(4, 4, 8, kPngGrey), Bytes(4 * 5, 0)); },
       {"convert", "--rescale", "130000000", "--max-memory", "1"}},
  };
  return inputs;
}

Cost CostOf(const std::function<void()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit limit = {kHang, kHang};
    setrlimit(RLIMIT_CPU, &limit);
    work();
    _exit(0);
  }
  int status = -1;
  rusage usage = {};
  wait4(child, &status, 0, &usage);
  return {WIFEXITED(status), Seconds(usage.ru_utime) + Seconds(usage.ru_stime),
          static_cast<double>(usage.ru_maxrss) / 1024};
}

Cost CostOf(const HostileInput& input, const std::string& path) {
  return CostOf([&] {
    std::vector<char*> arguments = {const_cast<char*>(IMX_PROGRAM)};
    for (const char* argument : input.arguments) arguments.push_back(const_cast<char*>(argument));
    const std::string output = path + ".ppm";
    arguments.push_back(const_cast<char*>(path.c_str()));
    if (input.arguments[0] == std::string_view("convert")) {
      arguments.push_back(const_cast<char*>(output.c_str()));
    }
    arguments.push_back(nullptr);
    for (const int stream : {1, 2}) dup2(open("/dev/null", O_WRONLY), stream);
    execv(IMX_PROGRAM, arguments.data());
  });
}

}  // namespace imx::test
