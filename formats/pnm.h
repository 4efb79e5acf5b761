/// The portable anymaps as other programs read them: P1 to P6 and the arbitrary map P7.
/// Layout: the Netpbm pbm, pgm, ppm and pam formats.
#pragma once

#include <cstdint>

namespace imx {

class FileReader;
struct ImageRecord;

/// What a header states. Samples run from 0 to `maximum`, which is 1 .. 65535.
struct PnmHeader {
  char form;  ///< the digit behind the "P"
  std::int32_t width = 0, height = 0;
  std::int32_t maximum = 1;
  std::int32_t channels = 1;
  bool alpha = false;  ///< the last channel is alpha
};

/// Whether the two bytes at a file's start, with the third behind them, are those of an anymap.
bool IsPnmStart(const std::uint8_t* bytes);

/// Reads what follows the two bytes. Null when the header is damaged or the picture too large; a
/// file that ends early, or a stop, gives the pixels read so far, the others stay black.
ImageRecord* LoadPnm(FileReader& in, char form);

/// The same from the first sample on, within the caller's progress.
ImageRecord* LoadPnmSamples(FileReader& in, const PnmHeader& header);

}  // namespace imx
