#include "shell/model/output_choices.h"

#include "formats/codec_state.h"
#include "imagelib/registry.h"

namespace imx {

OutputChoices BeginOutputChoices(const ImageRecord& image) {
  const OutputOptions& output = Output();
  OutputChoices choices = {.row = output.lastRow,
                           .depth = 0,
                           .compression = output.compression,
                           .quality = output.quality,
                           .interlace = output.interlace};
  if (image.saveType != -1) choices.row = image.saveType;
  SelectDepth(choices, image.saveDepth);
  return choices;
}

std::vector<std::string> SaverLabels() {
  std::vector<std::string> labels;
  for (std::int32_t position = 0; SaverRow(position) != -1; ++position) {
    labels.emplace_back(TypeLabel(SaverRow(position)));
  }
  return labels;
}

std::vector<std::string> DepthLabels(std::int32_t row) {
  std::vector<std::string> labels;
  for (std::int32_t depth = 0; depth < kDepthNames; ++depth) {
    if (const char* const name = DepthSuffixName(row, depth)) labels.emplace_back(name);
  }
  return labels;
}

OptionControls DescribeOptions(const OutputChoices& choices) {
  OptionControls controls = {};
  controls.compressionEnabled = TypeHasCompression(choices.row) != 0;
  controls.compressionChecked = !controls.compressionEnabled || choices.compression != 0;
  controls.interlaceEnabled = TypeHasInterlace(choices.row) != 0;
  controls.interlaceChecked = controls.interlaceEnabled && choices.interlace != 0;
  controls.qualityEnabled = TypeHasQuality(choices.row) != 0;
  controls.qualityText =
      controls.qualityEnabled ? std::to_string(choices.quality) : std::string("[Disabled]");
  return controls;
}

void SelectType(OutputChoices& choices, std::int32_t position) {
  const std::int32_t row = SaverRow(position);
  if (row == -1) return;
  choices.row = row;
  choices.depth = 0;
}

void SelectDepth(OutputChoices& choices, std::int32_t position) {
  if (position >= 0 && position < DepthChoiceCount(choices.row)) choices.depth = position;
}

void AcceptOutputChoices(const OutputChoices& choices, ImageRecord& image) {
  OutputOptions& output = Output();
  if (TypeHasQuality(choices.row) != 0) output.quality = choices.quality;
  if (TypeHasCompression(choices.row) != 0) output.compression = choices.compression;
  if (TypeHasInterlace(choices.row) != 0) output.interlace = choices.interlace;
  output.lastRow = choices.row;
  image.saveType = choices.row;
  image.saveDepth = choices.depth;
  CopyTextCut(image.extension, TypeExtension(choices.row));
}

}  // namespace imx
