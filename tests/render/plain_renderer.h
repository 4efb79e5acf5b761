/// The renderer's rules written down once more, slowly and without tricks, as the truth that the
/// fast renderer is held against.
#pragma once

#include <cstdint>
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
  std::uint8_t entryLocks[256] = {};

  /// The bytes that RenderImage owes the caller, without what its block holds behind them.
  std::vector<std::uint8_t> Render(const ImageRecord& image, Palette& palette, int code, int mode,
                                   bool ordered, bool keep, int strength);

 private:
  void PackRows();
  void ColourPalette(bool fourBits);
  void DiffuseColour(bool fourBits);
  void OrderFixed();
  void OrderMapped();
  void SetDirections();
  void Grey(int code);

  void BuildPalette(int n, bool keepEntryZero);
  void GrowPalette(PaletteRecord& record, int n, int first);
  void MapPalette(const PaletteRecord& record);
  void StartMapping(int count);
  void AddPaletteEntry(int r, int g, int b, int i);
  int NearestIndex(int r, int g, int b);
  int ExactIndex(int r, int g, int b);
  void InsertExact(int r, int g, int b, int i);
  bool Skipped(int i) const { return renderAdaptive_ && entryLocks[i] == 2; }
  int FixedIndex(int r, int g, int b, bool fourBits) const;
  int Scaled(int e) const;
  const std::uint8_t* Pixel(int x, int y) const;
  void Put(int x, int y, int index);

  // One call.
  const ImageRecord* image_ = nullptr;
  Palette* palette_ = nullptr;
  PaletteRecord local_ = {};
  int mode_ = 0;
  int entries_ = 0;
  int strength_ = 0;
  std::vector<std::uint8_t> output_;
  std::vector<int> up_[3];
  std::vector<int> down_[3];

  // From call to call.
  bool renderAdaptive_ = false;
  PaletteRecord mirror_ = {};
  bool mapped_ = false;
  PaletteRecord lastMapped_ = {};
  std::uint8_t lastLocks_[256] = {};
  int radius_ = 0;
  std::vector<int> cellDistance_;
  std::vector<int> cellIndex_;
  bool rebuild_ = true;
  bool exactOn_ = false;
  std::map<std::vector<int>, int> tree_;
  std::set<std::pair<int, int>> treeRows_;
};

}  // namespace imx::test
