/// The run-length code of ILBM bodies that goes down columns of 16 pixels ("VDAT" chunks).
///
/// Layout: one chunk for each plane: id, length, and a word that counts the command bytes with
/// itself; the commands; then the words that they take. Command 0 copies and 1 repeats as often as
/// the next word says, a negative one copies that many words, any other repeats one. The words fill
/// one column after the other, each from the top down.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace imx {

/// Decodes the next plane's chunk, which `body` begins with and is cut behind, into rows of
/// `planeBytes` (even) bytes that stand `stride` bytes apart. False when the data ended before the
/// plane was full; the rest of it is left as it was.
bool DecodeVerticalPlane(std::span<const std::uint8_t>& body, std::uint8_t* plane,
                         std::size_t planeBytes, std::size_t stride, std::size_t rows);

}  // namespace imx
