/// A second TRIM codec, plain and slow, straight from the format's description: the reference
/// decoder of the fast one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/bytes.h"

namespace imx::test {

/// Bytes of "0" and "1" characters, most significant bit first, with zeros to the last byte's end;
/// spaces do not count.
Bytes TrimPack(std::string bits);

/// A block with the widths that the format's rules choose.
Bytes EncodeTrimBlock(const Bytes& values);

/// Reads a block of `count` values at bytes[*position], which moves on. Bits past the end are 0.
Bytes DecodeTrimBlock(const Bytes& bytes, std::size_t* position, std::size_t count);

/// Decodes one channel's stream at bytes[*position].
Bytes DecodeTrimChannel(const Bytes& bytes, std::size_t* position, int width, int height);

}  // namespace imx::test
