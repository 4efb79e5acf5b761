/// ByteRun1, the run-length code of IFF rows (PackBits elsewhere).
///
/// A control byte n of 0 .. 127 is followed by n + 1 bytes to copy, one of -127 .. -1 by a byte to
/// repeat -n + 1 times; -128 stands for nothing.
#pragma once

#include <cstddef>
#include <cstdint>

namespace imx {

class FileReader;

/// Decodes one row of `size` bytes from at most *left bytes of the file, which are counted off. A
/// run that goes on behind the row is cut. False when the data ended before the row was full; the
/// rest of it is then 0.
bool ReadByteRun(FileReader& in, std::uint64_t* left, std::uint8_t* row, std::size_t size);

/// Most bytes that PackByteRun makes of `size` bytes.
constexpr std::size_t MostByteRun(std::size_t size) {
  return size + (size + 127) / 128;
}

/// Packs a row into `out`, which has room for MostByteRun(size) bytes. Returns the bytes written.
std::size_t PackByteRun(const std::uint8_t* row, std::size_t size, std::uint8_t* out);

}  // namespace imx
