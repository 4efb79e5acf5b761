/// The questions asked before a headerless file can be loaded.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace imx {

struct RawGuide {
  std::int32_t width;
  std::int32_t height;
  std::int32_t kind;  ///< raw layout code; -1 = none chosen
};

/// Starts from what the loader has been told last.
RawGuide BeginRawGuide();

/// Names of the raw layouts; a name's place is its layout code.
std::vector<std::string> RawKindLabels();

void SwapDimensions(RawGuide& guide);

/// Whether a file can be loaded with it.
bool IsComplete(const RawGuide& guide);

/// Tells the loader.
void AcceptRawGuide(const RawGuide& guide);

}  // namespace imx
