/// The named places where the library's way and other programs' differ.
///
/// The library reads and writes some things in its own way on purpose. Each such place is a row of
/// one table, which the codecs ask; nothing else decides. With every quirk off, which is how a
/// process starts, the library is exactly itself. A host turns quirks on for a load or a save.
#pragma once

#include <bitset>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace imx {

enum QuirkId : std::size_t {
  kJpegWithoutJfif,
  kJpegOrientation,
  kPngDamage,
  kPngNoMetrePixels,
  kGifScreen,
  kPnmFamily,
  kPnmSamples,
  kBmpTopDown,
  kBmpMasks,
  kBmpRunLength,
  kBmpHeaders,
  kTargaGrey,
  kTargaRightToLeft,
  kTargaMap,
  kTargaAttributes,
  kPcxLongRuns,
  kPcxPacked16,
  kPcxStored,
  kPcxBilevel,
  kSgiWideRuns,
  kSgiFullRange,
  kIlbmContainers,
  kIlbmAlphaPlanes,
  kIlbmHam,
  kIlbmVertical,
  kIlbmMask,
  kIlbmLinePalettes,
  kIlbmChunky,
  kSoftimagePackets,
  kSoftimageRuns,
  kAliasBlueFirst,
  kAliasGreyMatte,
  kRlaOffsets,
  kRlaMatte,
  kRlaDeepSamples,
  kDemRecords,
  kAviTopDown,
  kAviDeepPixels,
  kFlicColours,
  kTiffDamage,
  kTiffTexts,
  kQuirkCount
};

using QuirkSet = std::bitset<kQuirkCount>;

struct QuirkRow {
  QuirkId id;
  const char* name;    ///< what a user types
  const char* format;  ///< extension of the format's registry row
  const char* ours;    ///< what the library does
  const char* theirs;  ///< what other programs do
  bool reading;        ///< differs when reading
  bool writing;        ///< differs when writing
};

/// All rows, in the order of their ids; the rows of one format stand together.
std::span<const QuirkRow> Quirks();

/// The row of that name, or null.
const QuirkRow* FindQuirk(std::string_view name);

/// When the two differ: "reading", "writing" or "reading and writing".
const char* QuirkDirection(const QuirkRow& row);

/// Other programs' way in everything.
QuirkSet AllQuirks();

/// The names of the quirks in `set`, in the table's order.
std::string QuirkNames(const QuirkSet& set, const char* between = ", ");

/// The quirks that `names` lists with commas between; none when one of them is not known.
std::optional<QuirkSet> QuirksNamed(std::string_view names);

/// Whether other programs' way holds in this place. Asked only where it makes a difference to the
/// file at hand; a quirk asked while it is on counts as applied.
bool Quirk(QuirkId id);

/// The same for a file that shows by itself that it was made the other way: that is noted while the
/// library's own way holds, too.
bool QuirkShown(QuirkId id);

/// Turns on exactly `on` and forgets what was noted; the quirks that held before come back at the
/// end.
class QuirkScope {
 public:
  explicit QuirkScope(const QuirkSet& on);
  ~QuirkScope();
  QuirkScope(const QuirkScope&) = delete;
  QuirkScope& operator=(const QuirkScope&) = delete;

  /// Quirks that could have made a difference: with others on or off nothing would be different.
  QuirkSet asked() const;
  /// Quirks that were on and made a difference.
  QuirkSet applied() const;
  /// Quirks that were off although the file shows that it was made the other way.
  QuirkSet shown() const;

 private:
  QuirkSet before_;
};

}  // namespace imx
