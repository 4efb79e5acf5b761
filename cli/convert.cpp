#include <cstdint>
#include <string>

#include "cli/commands.h"
#include "cli/host.h"
#include "cli/input.h"
#include "formats/codec_state.h"
#include "imagelib/core/image.h"
#include "imagelib/core/registry.h"
#include "imagelib/core/text.h"
#include "imagelib/dispatch/safe_save.h"

namespace imx {
namespace {

constexpr std::int32_t kNoChoice = -1;

/// The row to save as, or -1; `fault` then says what is wrong with the command line.
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
  return row;
}

/// The row's choice of `bits` per pixel, or kNoChoice.
std::int32_t DepthChoice(std::int32_t row, std::int32_t bits) {
  for (std::int32_t choice = 0; choice < DepthChoiceCount(row); ++choice) {
    if (DepthBits(DepthChoiceBit(row, choice)) == bits) return choice;
  }
  return kNoChoice;
}

std::int32_t DefaultDepthChoice(std::int32_t row, const ImageRecord& image) {
  const std::int32_t withAlpha = image.flags & kFlagAlpha ? DepthChoice(row, 32) : kNoChoice;
  const std::int32_t trueColour = DepthChoice(row, 24);
  if (withAlpha != kNoChoice) return withAlpha;
  return trueColour != kNoChoice ? trueColour : 0;
}

void SetTexts(const Request& request, ImageRecord& image) {
  if (request.author) CopyText(image.author, *request.author);
  if (request.comment) CopyText(image.comment, *request.comment);
  if (request.notice) CopyText(image.notice, *request.notice);
}

/// Saves to a file or, for "-", to standard output. False on failure, which has been reported.
bool SaveOutput(const std::string& output, ImageRecord& image) {
  BeginFile(output);
  const SaveResult result =
      output == "-" ? SaveImageToStream(stdout, &image) : SaveImageSafely(output, &image);
  const std::string errors = TakeErrors();
  if (result.saved) {
    if (!errors.empty()) ReportFailure(output, errors);
    return true;
  }
  const std::string& why = result.reason.empty() ? errors : result.reason;
  ReportFailure(output, why.empty() ? "could not be saved" : why);
  return false;
}

}  // namespace

int RunConvert(const Request& request) {
  const std::string& output = request.operands[1];
  std::string fault;
  const std::int32_t row = OutputRow(request, output, &fault);
  if (row < 0) return UsageError("convert", fault);
  if (request.depth && DepthChoice(row, *request.depth) == kNoChoice) {
    return UsageError("convert", std::string(TypeExtension(row)) + " files have no depth " +
                                     std::to_string(*request.depth));
  }

  const ImageGuard image = LoadInput(request.operands[0], request);
  if (!image) return kFailed;
  SetTexts(request, *image);
  image->saveType = row;
  image->saveDepth =
      request.depth ? DepthChoice(row, *request.depth) : DefaultDepthChoice(row, *image);
  Output().compression = request.compress ? 1 : 0;
  Output().interlace = request.interlace ? 1 : 0;
  Output().quality = request.quality;
  return SaveOutput(output, *image) ? kDone : kFailed;
}

}  // namespace imx
