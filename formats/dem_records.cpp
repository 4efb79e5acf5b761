#include "formats/dem_records.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "imagelib/file_reader.h"
#include "imagelib/guards.h"
#include "imagelib/load_outcome.h"

namespace imx {
namespace {

constexpr std::size_t kRecordSize = 1024;
constexpr std::size_t kIntegerWidth = 6, kRealWidth = 24, kResolutionWidth = 12;
// Columns of the A record, from 0.
constexpr std::size_t kSidesAt = 540, kMinimumAt = 738, kMaximumAt = 762;
constexpr std::size_t kRowResolutionAt = 828, kUnitAt = 840, kProfilesAt = 858;
// Of a B record.
constexpr std::size_t kColumnAt = 6, kCountAt = 12, kPlaceAt = 48, kDatumAt = 72;
constexpr std::size_t kFirstElevationAt = 144;
constexpr std::size_t kElevationsEnd = 1020;
constexpr std::int32_t kPolygonSides = 4;
constexpr std::int32_t kMostRows = 1 << 20;
/// Places around the profiles that a byte of the file may stand for.
constexpr std::uint64_t kMostPlacesForByte = 64;

/// A logical record at a time: 1024 characters, or fewer before the end of a line.
class Records {
 public:
  explicit Records(FileReader& in) : in_(in) { in_.Seek(0); }

  /// False at the end of the file.
  bool Next() {
    std::memset(text_, ' ', sizeof text_);
    std::size_t size = 0;
    bool lineEnded = false;
    SkipLineEnds();
    while (size < kRecordSize && in_.remaining() > 0 && !lineEnded) {
      const char c = static_cast<char>(in_.U8());
      lineEnded = c == '\n' || c == '\r';
      if (!lineEnded) text_[size++] = c;
    }
    return size > 0;
  }

  double Real(std::size_t at, std::size_t width) const {
    char field[kRealWidth + 1] = {};
    std::copy_n(text_ + at, width, field);
    // Fortran's exponents may have the letter D.
    std::replace_if(
        field, field + width, [](char c) { return c == 'D' || c == 'd'; }, 'E');
    const double value = std::strtod(field, nullptr);
    return std::isfinite(value) ? value : 0;
  }

  std::int32_t Integer(std::size_t at) const {
    char field[kIntegerWidth + 1] = {};
    std::copy_n(text_ + at, kIntegerWidth, field);
    return static_cast<std::int32_t>(std::strtol(field, nullptr, 10));
  }

 private:
  void SkipLineEnds() {
    while (in_.remaining() > 0) {
      const FileReader::View next = in_.Peek(1);
      if (next.size == 0 || (next.data[0] != '\n' && next.data[0] != '\r')) return;
      in_.Skip(1);
    }
  }

  FileReader& in_;
  char text_[kRecordSize];
};

struct Model {
  std::int32_t columns = 0, rows = 0;
  double minimum = 0, maximum = 0;
  double rowStep = 1;  // between elevations of a profile, on the ground
  double unit = 1;     // of elevations
  double south = 0;    // place of the lowest row

  std::uint8_t Grey(double elevation) const {
    if (maximum <= minimum) return 0;
    const double level = (elevation - minimum) * 255 / (maximum - minimum);
    // So that what is no number is black.
    return level >= 255 ? 255 : level > 0 ? static_cast<std::uint8_t>(level) : std::uint8_t{0};
  }
  double RowOf(double place) const { return std::round((place - south) / rowStep); }
};

bool ReadHeader(Records& records, Model* model) {
  if (!records.Next()) return false;
  model->minimum = records.Real(kMinimumAt, kRealWidth);
  model->maximum = records.Real(kMaximumAt, kRealWidth);
  const double step = records.Real(kRowResolutionAt, kResolutionWidth);
  const double unit = records.Real(kUnitAt, kResolutionWidth);
  if (step > 0) model->rowStep = step;
  if (unit > 0) model->unit = unit;
  model->columns = records.Integer(kProfilesAt);
  return records.Integer(kSidesAt) == kPolygonSides && model->columns > 0;
}

/// The start of a profile, in the record at hand.
struct Profile {
  std::int32_t column, count;  // the column from 0
  double place, datum;

  explicit Profile(const Records& records)
      : column(records.Integer(kColumnAt) - 1),
        count(records.Integer(kCountAt)),
        place(records.Real(kPlaceAt, kRealWidth)),
        datum(records.Real(kDatumAt, kRealWidth)) {}

  bool IsIn(const Model& model) const {
    return column >= 0 && column < model.columns && count > 0 && count <= kMostRows;
  }
};

/// Gives the elevations of a profile to `use`, in the file's units from the south. False where the
/// file ends first.
template <typename Use>
bool ForElevations(Records& records, std::int32_t count, Use use) {
  std::size_t at = kFirstElevationAt;
  for (std::int32_t i = 0; i < count; ++i, at += kIntegerWidth) {
    if (at + kIntegerWidth > kElevationsEnd) {
      if (!records.Next()) return false;
      at = 0;
    }
    use(i, records.Integer(at));
  }
  return true;
}

/// Where the profiles lie, from a first look at all of them.
bool Survey(FileReader& in, Model* model) {
  Records records(in);
  if (!ReadHeader(records, model)) return false;
  double north = 0;
  bool any = false;
  // Behind the profiles may be a record of another kind.
  for (std::int32_t i = 0; i < model->columns && records.Next(); ++i) {
    const Profile profile(records);
    if (!profile.IsIn(*model)) break;
    const double end = profile.place + (profile.count - 1) * model->rowStep;
    model->south = any ? std::min(model->south, profile.place) : profile.place;
    north = any ? std::max(north, end) : end;
    any = true;
    if (!ForElevations(records, profile.count, [](std::int32_t, std::int32_t) {})) break;
  }
  const double rows = model->RowOf(north) + 1;
  if (!any || !(rows >= 1 && rows <= kMostRows)) return false;
  model->rows = static_cast<std::int32_t>(rows);
  const std::uint64_t places = std::uint64_t{static_cast<std::uint32_t>(model->columns)} *
                               static_cast<std::uint32_t>(model->rows);
  if (places / kMostPlacesForByte <= in.size()) return true;
  NoteFileEndedEarly();
  return false;
}

/// Reads the profile that starts in the record at hand. False where the file ends first.
bool ReadProfile(Records& records, const Model& model, ImageRecord* image) {
  const Profile profile(records);
  const auto first = static_cast<std::int32_t>(model.RowOf(profile.place));
  return ForElevations(records, profile.count, [&](std::int32_t i, std::int32_t elevation) {
    const std::int32_t row = first + i;
    if (row >= model.rows) return;
    std::uint8_t* pixel = PixelRow(*image, model.rows - 1 - row) +
                          std::size_t{4} * static_cast<std::uint32_t>(profile.column);
    pixel[0] = pixel[1] = pixel[2] = model.Grey(profile.datum + elevation * model.unit);
  });
}

}  // namespace

ImageRecord* LoadDemRecords(FileReader& in, const char* displayName) {
  Model model;
  if (!Survey(in, &model)) {
    LibError("DEM loader: these are not the records of an elevation model");
    return nullptr;
  }
  ImageGuard image(AllocImage(model.columns, model.rows, displayName, nullptr));
  if (!image) return nullptr;
  image->depth = 8;
  Records records(in);
  records.Next();
  ProgressScope progress("Loading DEM", model.columns, 2);
  std::int32_t profiles = 0;
  const Rows end = ForEachRow(model.columns, 8, [&](std::int32_t) {
    if (!records.Next() || !Profile(records).IsIn(model)) return false;
    ++profiles;
    return ReadProfile(records, model, image.get());
  });
  if (end == Rows::ended) NoteFileEndedEarly();
  return image.release();
}

}  // namespace imx
