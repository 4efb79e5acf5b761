/// Targa: colour-mapped, true-colour and grey, raw and run-length coded.
/// Layout: the Truevision TGA file format, version 2.0.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace imx {

struct ImageRecord;
class FileReader;
class FileWriter;

/// Reads a Targa file from `file`, which it closes. The record, or null when the header cannot be
/// read or its size is refused. A stop or the file's early end gives the rows read so far.
ImageRecord* LoadTarga(std::FILE* file);

/// Writes 32-bit when `depth` is 32 and the record has alpha, else 24-bit; run-length coded when
/// `compress` is not 0. 0 on success, 1 on failure (0 also when the row buffers cannot be had or
/// the header cannot be written: save_outcome.h tells).
std::int32_t SaveTarga(const ImageRecord* image, const char* path, std::int32_t depth,
                       std::int32_t compress);

/// Reads author and comment from the file's extension area, if it has one. The area's attributes
/// type, 0 where there is none.
std::uint8_t ReadTargaExtension(FileReader& file, ImageRecord* image);

/// Writes postage stamp, extension area and footer at the file's position. False on failure.
bool WriteTargaExtension(FileWriter& file, const ImageRecord* image,
                         std::uint8_t attributesType = 0);

/// What is left of a run-length packet between two reads.
struct TargaRle {
  std::size_t due = 0;  ///< bytes of the packet still to be given out
  bool repeat = false;
  std::uint8_t pixel[4] = {};
};

/// Fills `buffer` with exactly `count` bytes (whole pixels) of run-length coded data.
void ReadTargaRle(std::uint8_t* buffer, std::size_t count, FileReader& file,
                  std::size_t bytesPerPixel, TargaRle* state);

/// Packs one row of RGBA pixels; `out` has room for width * 4 + 1024 bytes. Bytes written.
std::size_t PackTargaRow24(std::uint8_t* out, const std::uint8_t* row, std::int32_t width);
std::size_t PackTargaRow32(std::uint8_t* out, const std::uint8_t* row, std::int32_t width);

}  // namespace imx
