/// Saving an image without asking for more than a name: by its own type, as exactly as that can.
#pragma once

#include <cstdint>
#include <string>

namespace imx {

struct ImageRecord;

/// Position, among the types that can be saved, of the image's own: that of its last save, or else
/// of the file that it is from. Types that cannot be saved give that of PNG.
std::int32_t OwnSaverPosition(const ImageRecord& image);

/// The types that can be saved, as a file dialog's filter: pairs of label and pattern, in their
/// order.
std::string BuildSaveFilter();

/// Position of the type that the ending of a file's name tells, or `otherwise`.
std::int32_t SaverOfName(const std::string& path, std::int32_t otherwise);

/// Makes the type at this position the image's, in the depth that keeps the most of it; the depth
/// of the last save in this type stays.
void ChooseSaver(ImageRecord& image, std::int32_t position);

}  // namespace imx
