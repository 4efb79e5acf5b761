#include "plugins/tiff_samples.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace imx {
namespace {

/// Visits the samples as numbers. libtiff gives 16, 24 and 32 bits in the machine's byte order, all
/// other widths as a string of bits, the highest first.
template <typename Put>
void ForEachSample(const std::uint8_t* in, std::size_t count, unsigned bits, Put put) {
  if (bits == 8) {
    for (std::size_t i = 0; i < count; ++i) put(i, in[i]);
  } else if (bits == 16) {
    for (std::size_t i = 0; i < count; ++i) {
      std::uint16_t value;
      std::memcpy(&value, in + 2 * i, sizeof value);
      put(i, value);
    }
  } else if (bits == 24) {  // both machines that this is built for store the low byte first
    for (std::size_t i = 0; i < count; ++i, in += 3) {
      put(i, in[0] | std::uint32_t{in[1]} << 8 | std::uint32_t{in[2]} << 16);
    }
  } else if (bits == 32) {
    for (std::size_t i = 0; i < count; ++i) {
      std::uint32_t value;
      std::memcpy(&value, in + 4 * i, sizeof value);
      put(i, value);
    }
  } else {
    std::uint64_t held = 0;
    unsigned heldBits = 0;
    for (std::size_t i = 0; i < count; ++i) {
      for (; heldBits < bits; heldBits += 8) held = held << 8 | *in++;
      heldBits -= bits;
      put(i, static_cast<std::uint32_t>(held >> heldBits & ((std::uint64_t{1} << bits) - 1)));
    }
  }
}

std::uint8_t ByteOfFloat(double value) {
  if (!(value > 0)) return 0;  // nor what is no number
  return value >= 1 ? 255 : static_cast<std::uint8_t>(value * 255 + 0.5);
}

/// A 16-bit float: a sign, five bits of exponent, ten of fraction. What is no number is negative.
double HalfAsDouble(std::uint16_t half) {
  const int exponent = half >> 10 & 0x1F, fraction = half & 0x3FF;
  if ((half & 0x8000) != 0 || (exponent == 0x1F && fraction != 0)) return -1;
  return std::ldexp(exponent == 0 ? fraction : 0x400 + fraction, std::max(exponent, 1) - 25);
}

void FloatsToBytes(const std::uint8_t* samples, std::size_t count, unsigned bits,
                   std::uint8_t* bytes) {
  const auto convert = [&]<typename Sample>(Sample sample, auto number) {
    for (std::size_t i = 0; i < count; ++i) {
      std::memcpy(&sample, samples + i * sizeof sample, sizeof sample);
      bytes[i] = ByteOfFloat(number(sample));
    }
  };
  const auto itself = [](auto value) { return static_cast<double>(value); };
  if (bits == 16) {
    convert(std::uint16_t{}, HalfAsDouble);
  } else if (bits == 32) {
    convert(float{}, itself);
  } else {
    convert(double{}, itself);
  }
}

}  // namespace

void SamplesToBytes(const std::uint8_t* samples, std::size_t count, unsigned bits, SampleKind kind,
                    std::uint8_t* bytes) {
  if (kind == SampleKind::floatNumber) {
    FloatsToBytes(samples, count, bits, bytes);
  } else if (kind == SampleKind::highByte) {
    ForEachSample(samples, count, bits, [bytes](std::size_t i, std::uint32_t value) {
      bytes[i] = static_cast<std::uint8_t>(value >> 8);
    });
  } else if (bits == 8) {
    std::memcpy(bytes, samples, count);
  } else if (bits == 16) {
    ForEachSample(samples, count, bits, [bytes](std::size_t i, std::uint32_t value) {
      bytes[i] = static_cast<std::uint8_t>((value * 255 + 32767) / 65535);
    });
  } else {
    const std::uint64_t most = UINT32_MAX >> (32 - bits);
    ForEachSample(samples, count, bits, [bytes, most](std::size_t i, std::uint32_t value) {
      bytes[i] = static_cast<std::uint8_t>((value * std::uint64_t{255} + most / 2) / most);
    });
  }
}

void IndicesToBytes(const std::uint8_t* samples, std::size_t count, unsigned bits,
                    std::uint8_t* bytes) {
  ForEachSample(samples, count, bits, [bytes](std::size_t i, std::uint32_t value) {
    bytes[i] = static_cast<std::uint8_t>(value);
  });
}

}  // namespace imx
