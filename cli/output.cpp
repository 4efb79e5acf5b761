#include "cli/output.h"

#include <cstdio>
#include <string_view>

#include "cli/host.h"
#include "cli/workers.h"
#include "dispatch/safe_save.h"
#include "dispatch/save_choices.h"
#include "formats/codec_state.h"
#include "imagelib/image.h"
#include "imagelib/quirks.h"
#include "imagelib/registry.h"
#include "imagelib/text.h"
#include "render/render.h"

namespace imx {

std::int32_t OutputRow(const Request& request, const std::string& output, std::string* fault) {
  std::string extension = request.type;
  if (extension.empty()) {
    const std::string_view ending = PathExtension(output);
    if (!ending.empty()) extension = ending.substr(1);
  }
  if (output == "-" && extension.empty()) {
    *fault = "standard output needs --type EXT";
    return -1;
  }
  const std::int32_t row = TypeRowByExtension(extension.c_str());
  if (row < 0) {
    *fault = "the name '" + output + "' does not tell the type: --type EXT is needed";
    return -1;
  }
  if (!TypeCanSave(row)) {
    *fault = extension + " files can only be loaded, not saved";
    return -1;
  }
  if (request.depth && DepthChoice(row, *request.depth) == kNoDepthChoice) {
    *fault =
        std::string(TypeExtension(row)) + " files have no depth " + std::to_string(*request.depth);
    return -1;
  }
  return row;
}

void SetOutputOptions(const Request& request, std::int32_t row, ImageRecord& image) {
  image.saveType = row;
  image.saveDepth =
      request.depth ? DepthChoice(row, *request.depth) : DefaultDepthChoice(row, image);
  Output().compression = request.compress ? 1 : 0;
  Output().interlace = request.interlace ? 1 : 0;
  Output().quality = request.quality;
  RenderSettings& rendering = Rendering();
  rendering.renderMode = request.renderMode;
  rendering.renderOrdered = request.ordered ? 1 : 0;
  rendering.renderStrength = request.strength;
  rendering.renderBits = request.renderBits.value_or(PaletteBits(row, image.saveDepth));
}

bool SaveOutput(const std::string& output, const Request& request, ImageRecord& image) {
  FileScope scope(output);
  const QuirkScope quirks(request.quirks);
  const SaveCare care = {request.sync, !request.partOfBatch};
  const SaveResult result =
      output == "-" ? SaveImageToStream(stdout, &image) : SaveImageSafely(output, &image, care);
  const std::string errors = scope.TakeErrors();
  if (result.saved) {
    if (request.partOfBatch) TellSaved(output);
    if (!errors.empty()) ReportFailure(output, errors);
    TellLostTexts(image);
    return true;
  }
  const std::string& why = result.reason.empty() ? errors : result.reason;
  ReportFailure(output, why.empty() ? "could not be saved" : why);
  return false;
}

}  // namespace imx
