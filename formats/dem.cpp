#include "formats/dem.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

#include "formats/dem_records.h"
#include "imagelib/file_reader.h"
#include "imagelib/guards.h"
#include "imagelib/header_only.h"
#include "imagelib/load_outcome.h"
#include "imagelib/quirks.h"

namespace imx {
namespace {

constexpr std::int32_t kSide = 1201;
constexpr std::uint32_t kFileNameSize = 144;
constexpr char kVistaSignature[] = "Vista DEM File";
constexpr std::size_t kVistaSize = sizeof kVistaSignature - 1;
constexpr std::size_t kMostRealCharacters = 62;
constexpr std::size_t kMostIntegerCharacters = 62;
constexpr int kExponentDigits = 2;
constexpr std::int32_t kProfilesPerStep = 12;
constexpr std::int32_t kPolygonSides = 4;

bool IsSpace(std::uint8_t c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
bool IsDigit(std::uint8_t c) {
  return c >= '0' && c <= '9';
}

/// The records' fields as tokens. At the end of the file every token is 0.
class DemTokens {
 public:
  explicit DemTokens(FileReader& in) : in_(in) {}

  bool ended() const { return in_.ended(); }
  void Skip(std::uint32_t count) { in_.Skip(count); }

  int Digit() {
    const std::uint8_t c = FirstOfToken();
    return IsDigit(c) ? c - '0' : 0;
  }

  std::int32_t Integer() {
    char text[kMostIntegerCharacters + 1];
    std::size_t length = 0;
    for (std::uint8_t c = FirstOfToken(); !in_.ended() && !IsSpace(c); c = in_.U8()) {
      if (length < kMostIntegerCharacters) text[length++] = static_cast<char>(c);
    }
    text[length] = 0;
    const long long value = std::strtoll(text, nullptr, 10);
    return static_cast<std::int32_t>(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
  }

  /// The exponent letter may be a Fortran "D"; fields without separators split behind the second
  /// digit of the exponent.
  double Real() {
    char text[kMostRealCharacters + 1];
    std::size_t length = 0;
    int exponentDigits = -1;  // -1: no exponent letter yet
    for (std::uint8_t c = FirstOfToken(); !in_.ended(); c = in_.U8()) {
      const bool exponent = c == 'D' || c == 'E' || c == 'd' || c == 'e';
      if (!exponent && !IsDigit(c) && c != '+' && c != '-' && c != '.') break;
      text[length++] = exponent ? 'E' : static_cast<char>(c);
      if (length == kMostRealCharacters) return 0.0;
      if (exponent) {
        exponentDigits = 0;
      } else if (exponentDigits >= 0 && IsDigit(c) && ++exponentDigits == kExponentDigits) {
        break;
      }
    }
    text[length] = 0;
    return std::strtod(text, nullptr);
  }

  void SkipReals(int count) {
    while (count-- > 0) Real();
  }
  void SkipDigits(int count) {
    while (count-- > 0) Digit();
  }

 private:
  std::uint8_t FirstOfToken() {
    std::uint8_t c = in_.U8();
    while (IsSpace(c) && !in_.ended()) c = in_.U8();
    return c;
  }

  FileReader& in_;
};

/// Shows what went wrong, and answers false.
bool Fail(const std::string& text) {
  LibError(text.c_str());
  return false;
}

std::string Bracketed(std::int32_t number) {
  return "[" + std::to_string(number) + "]";
}

/// What the header says of elevations.
struct DemScale {
  std::int32_t minimum = 0;
  float perUnit = 0;

  /// Levels outside the header's range wrap.
  std::uint8_t Grey(std::int32_t elevation) const {
    const float level = static_cast<float>(std::int64_t{elevation} - minimum) * perUnit;
    return static_cast<std::uint8_t>(static_cast<std::int64_t>(level));
  }
};

/// Reals that an integer cannot hold count as 0.
std::int32_t Truncate(double value) {
  return std::fabs(value) < 2147483648.0 ? static_cast<std::int32_t>(value) : 0;
}

bool ReadTypeA(DemTokens& tokens, DemScale* scale) {
  tokens.Skip(kFileNameSize);
  tokens.SkipDigits(4);  // level, pattern, planimetric system, zone
  tokens.SkipReals(15);  // projection
  tokens.SkipDigits(2);  // units
  const std::int32_t sides = tokens.Integer();
  if (sides != kPolygonSides) return Fail("polygon not 4-sided... can't read =" + Bracketed(sides));
  tokens.SkipReals(2 * kPolygonSides);
  const double minimum = tokens.Real();
  const double maximum = tokens.Real();
  const std::int32_t range = Truncate(maximum - minimum);
  if (range == 0) {
    return Fail("Elevation range is zero... can't read");
  }
  scale->minimum = Truncate(minimum);
  scale->perUnit = static_cast<float>(255.0 / range);
  tokens.SkipReals(1);  // angle
  tokens.Digit();       // accuracy
  tokens.SkipReals(3);  // resolutions
  tokens.Integer();     // rows
  const std::int32_t profiles = tokens.Integer();
  return profiles == kSide || Fail("not 1201 columns wide... can't read =" + Bracketed(profiles));
}

/// The start of a type B record.
struct ProfileHeader {
  std::int32_t row, column, count;

  explicit ProfileHeader(DemTokens& tokens)
      : row(tokens.Integer()), column(tokens.Integer()), count(tokens.Integer()) {}
};

/// Elevations past the end of the file are left black.
void ReadElevations(DemTokens& tokens, const DemScale& scale, std::int32_t column,
                    ImageRecord* image) {
  for (std::int32_t y = kSide - 1; y >= 0; --y) {
    const std::uint8_t grey = scale.Grey(tokens.Integer());
    if (tokens.ended()) return;
    std::uint8_t* pixel = PixelRow(*image, y) + std::size_t{4} * static_cast<std::uint32_t>(column);
    pixel[0] = pixel[1] = pixel[2] = grey;
  }
}

/// Reads profiles until the header of the last one has been seen, which therefore is never read.
void ReadProfiles(DemTokens& tokens, const DemScale& scale, ImageRecord* image,
                  std::int32_t firstColumn) {
  std::int32_t column = firstColumn;
  for (std::int32_t k = 0; k < kSide && column < kSide && !tokens.ended(); ++k) {
    tokens.Integer();     // columns of the profile
    tokens.SkipReals(5);  // place, datum, extremes
    if ((k + 1) % kProfilesPerStep == 0 && ProgressStepAbort() != 0) return;
    ReadElevations(tokens, scale, k, image);
    const ProfileHeader next(tokens);
    if (next.count != kSide) {
      Fail("nonlinear DEM record... can't finish reading =" + Bracketed(next.count) +
           " profile width");
      return;
    }
    column = next.column;
  }
}

/// One byte in common with the other format's signature, place by place, is enough.
bool LooksLikeVista(FileReader& in) {
  const FileReader::View start = in.Peek(kVistaSize);
  for (std::size_t i = 0; i < start.size; ++i) {
    if (start.data[i] == static_cast<std::uint8_t>(kVistaSignature[i])) return true;
  }
  return false;
}

}  // namespace

ImageRecord* LoadDem(const char* path, const char* displayName) {
  FileReader in(path);
  if (!in.ok()) {
    Fail("could not open [" + std::string(path) + "]");
    return nullptr;
  }
  if (Quirk(kDemRecords)) return LoadDemRecords(in, displayName);
  if (LooksLikeVista(in)) {
    Fail("[" + std::string(path) + "] is not a DEM - it's a Vista Pro binary file.");
    return nullptr;
  }
  DemTokens tokens(in);
  DemScale scale;
  if (!ReadTypeA(tokens, &scale)) return nullptr;
  const ProfileHeader first(tokens);
  if (first.count != kSide) {
    Fail("not 1201 rows wide... can't read =" + Bracketed(first.row));
    return nullptr;
  }
  ImageGuard image(AllocImage(kSide, kSide, displayName, nullptr));
  if (!image) {
    LibError("can't allocate image structure (low memory?)");
    return nullptr;
  }
  image->depth = 8;
  if (HeaderOnly()) return image.release();
  ProgressScope progress("Loading DEM", 100, 2);
  ReadProfiles(tokens, scale, image.get(), first.column);
  if (in.ended()) NoteFileEndedEarly();
  return image.release();
}

}  // namespace imx
