/// SGI, Softimage, Alias, RLA, FLIC, bitmap, DEM and Photoshop files built field by field. Layouts:
/// see the codecs' headers.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/bytes.h"

namespace imx::test {

// SGI

struct SgiFields {
  std::uint32_t storage = 0, sampleBytes = 1, dimension = 3;
  std::uint32_t width = 2, height = 1, channels = 3;
  std::uint32_t pixMin = 0, pixMax = 255, colourMap = 0;
};

Bytes SgiFile(const SgiFields& f, const Bytes& body);

/// `scanlines` are packed, in the order of the tables.
Bytes SgiRunLengthFile(SgiFields f, const std::vector<Bytes>& scanlines);

// Softimage

Bytes SoftimageFile(std::uint32_t width, std::uint32_t height, const Bytes& packets,
                    const Bytes& body);

// Alias

Bytes AliasFile(std::uint32_t width, std::uint32_t height, std::uint32_t bits, const Bytes& body);

// Wavefront RLA

struct RlaWindow {
  std::uint32_t left, right, bottom, top;
};

/// `body` starts behind the table of offsets, all of which are 0.
Bytes RlaFile(const RlaWindow& w, std::uint32_t matte, const Bytes& body);

// FLIC

Bytes FlicChunk(std::uint32_t type, const Bytes& data);

Bytes FlicFrame(const std::vector<Bytes>& chunks, std::uint32_t type = 0xF1FA);

inline constexpr std::uint32_t kFli = 0xAF11, kFlc = 0xAF12;

Bytes FlicFile(std::uint32_t magic, std::uint32_t width, std::uint32_t height,
               const std::vector<Bytes>& frames);

// Device-independent bitmaps, as AVI streams give them

struct DibFields {
  std::uint32_t width = 2, height = 1, bits = 24, coloursUsed = 0, compression = 0;
};

/// The header with what follows it: colours and rows.
Bytes Dib(const DibFields& f, const Bytes& rest);

// DEM

struct DemFields {
  std::string minimum = "1.0D+02", maximum = "4.0D+02";
  int sides = 4, profiles = 1201;
  std::string_view name = "x";  ///< repeated
};

std::string Repeated(std::string_view text, int times);

/// `text` at the right end of a field.
std::string Field(std::string_view text, std::size_t width);

/// The A record, `name` in the place of each character of the file name. Corners are those of a
/// quadrangle of one degree.
std::string DemHeader(const DemFields& f);

/// The start of a B record: row, column, elevations, profiles in the record and five reals.
std::string DemProfile(int column, int count = 1201);

// Photoshop

struct PsdFields {
  std::uint32_t channels = 3, width = 2, height = 1, bits = 8, mode = 3;
  std::uint32_t compression = 0;
  Bytes colours = {};
  bool large = false;
};

/// `body` starts behind the compression word: the packed rows' lengths, if any, and the channels.
Bytes PsdFile(const PsdFields& f, const Bytes& body);

}  // namespace imx::test
