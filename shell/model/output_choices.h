/// The choices by which an image is saved: file type, depth, and the options that the type has.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "imagelib/image.h"

namespace imx {

inline constexpr std::int32_t kBestQuality = 100;

/// What is being chosen. The options are copies: those that count change when it is accepted.
struct OutputChoices {
  std::int32_t row;    ///< of the registry
  std::int32_t depth;  ///< position among the depths that the row offers
  std::int32_t compression;
  std::int32_t quality;  ///< 0 .. kBestQuality
  std::int32_t interlace;
};

/// How the option controls look for the chosen type.
struct OptionControls {
  bool compressionEnabled;
  bool compressionChecked;
  bool interlaceEnabled;
  bool interlaceChecked;
  bool qualityEnabled;
  std::string qualityText;
};

/// Starts from the image's last save; for one without, from the type that was last chosen.
OutputChoices BeginOutputChoices(const ImageRecord& image);

/// Labels of the types that can be saved, in table order. A type's place here is its
/// SaverPosition.
std::vector<std::string> SaverLabels();

/// Names of the depths that the row offers.
std::vector<std::string> DepthLabels(std::int32_t row);

OptionControls DescribeOptions(const OutputChoices& choices);

/// The type at this place of SaverLabels was selected: its first depth is chosen. A place outside
/// changes nothing.
void SelectType(OutputChoices& choices, std::int32_t position);

/// The depth at this place of DepthLabels was selected. A place outside changes nothing.
void SelectDepth(OutputChoices& choices, std::int32_t position);

/// Makes the choices those of the image, its extension that of the type, and the options that the
/// type has those of the program.
void AcceptOutputChoices(const OutputChoices& choices, ImageRecord& image);

}  // namespace imx
