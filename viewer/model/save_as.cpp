#include "viewer/model/save_as.h"

#include <algorithm>

#include "dispatch/save_choices.h"
#include "imagelib/image.h"
#include "imagelib/registry.h"
#include "shell/model/output_choices.h"

namespace imx {
namespace {

// Without its dot.
std::string Ending(std::string_view path) {
  const std::string_view ending = PathExtension(path);
  return std::string(ending.substr(std::min<std::size_t>(1, ending.size())));
}

// By the type that it was loaded as, or the name of its file.
std::int32_t SourceRow(const ImageRecord& image) {
  const std::int32_t row = TypeRowByExtension(Ending(image.extension).c_str());
  return row != -1 ? row : TypeRowByExtension(Ending(image.path).c_str());
}

}  // namespace

std::int32_t OwnSaverPosition(const ImageRecord& image) {
  for (const std::int32_t row : {image.saveType, SourceRow(image)}) {
    if (row >= 0 && SaverPosition(row) != -1) return SaverPosition(row);
  }
  return SaverPosition(TypeRowByExtension("png"));
}

std::string BuildSaveFilter() {
  std::string filter;
  for (std::int32_t position = 0; SaverRow(position) != -1; ++position) {
    const std::int32_t row = SaverRow(position);
    filter.append(TypeLabel(row)).push_back('\0');
    filter.append("*.").append(TypeExtension(row)).push_back('\0');
  }
  filter.push_back('\0');
  return filter;
}

std::int32_t SaverOfName(const std::string& path, std::int32_t otherwise) {
  const std::int32_t row = TypeRowByExtension(Ending(path).c_str());
  const std::int32_t position = row == -1 ? -1 : SaverPosition(row);
  return position == -1 ? otherwise : position;
}

void ChooseSaver(ImageRecord& image, std::int32_t position) {
  const std::int32_t row = SaverRow(position);
  OutputChoices choices = BeginOutputChoices(image);
  const bool again = row == image.saveType && image.saveDepth >= 0;
  if (!again) {
    SelectType(choices, position);
    SelectDepth(choices, DefaultDepthChoice(row, image));
  }
  AcceptOutputChoices(choices, image);
}

}  // namespace imx
