/// The renderer's rules written down once more, slowly and without tricks, as the truth that the
/// fast renderer is held against.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "imagelib/core/image.h"
#include "render/render.h"

namespace imx::test {

class PlainRenderer {
 public:
  std::int32_t renderBits = 8;
  bool treeAvailable = true;
  PaletteRecord renderPalette = {{}, 256};
  std::array<std::uint8_t, 256> entryLocks = {};

  /// The bytes that RenderImage owes the caller, without what its block holds behind them.
  std::vector<std::uint8_t> Render(const ImageRecord& image, Palette& palette, int code, int mode,
                                   bool ordered, bool keep, int strength);

 private:
  /// Red, green, blue.
  using Colour = std::array<int, 3>;

  static Colour Entry(const Palette& palette, int i);
  static void SetEntry(Palette& palette, int i, const Colour& colour);
  static void CopyEntries(const Palette& from, Palette& to, int count);

  void PackRows();
  void ColourPalette(bool fourBits);
  void DiffuseColour(bool fourBits);
  void Grey(int code);
  /// Chooses an index for each colour with the error of those before it, the error being what the
  /// colour shown for the index lacks.
  void Diffuse(const std::function<Colour(int x, int y)>& source,
               const std::function<int(const Colour&)>& choose,
               const std::function<Colour(int index)>& shown);
  void OrderFixed();
  void OrderMapped();
  int Neighbour(int i, std::size_t channel, int step);

  void BuildPalette(int n, bool keepEntryZero);
  void MapPalette(const PaletteRecord& record);
  void StartMapping(int count);
  void AddPaletteEntry(const Colour& colour, int i);
  int NearestIndex(const Colour& colour);
  int ExactIndex(const Colour& colour);
  void InsertExact(const Colour& colour, int i);
  bool Skipped(int i) const { return renderAdaptive_ && LockOf(i) == 2; }
  int LockOf(int i) const { return entryLocks[static_cast<std::size_t>(i)]; }
  Colour Pixel(int x, int y) const;
  void Put(int x, int y, int index);

  // One call.
  const ImageRecord* image_ = nullptr;
  Palette* palette_ = nullptr;
  PaletteRecord local_ = {};
  int mode_ = 0;
  int entries_ = 0;
  int strength_ = 0;
  std::vector<std::uint8_t> output_;

  // From call to call.
  bool renderAdaptive_ = false;
  PaletteRecord mirror_ = {};
  bool mapped_ = false;
  PaletteRecord lastMapped_ = {};
  std::array<std::uint8_t, 256> lastLocks_ = {};
  int radius_ = 0;
  std::vector<int> cellDistance_;
  std::vector<int> cellIndex_;
  bool rebuild_ = true;
  bool exactOn_ = false;
  std::map<Colour, int> tree_;
  std::set<std::pair<int, int>> treeRows_;
};

}  // namespace imx::test
