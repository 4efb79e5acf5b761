#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "cli/batch.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/host.h"
#include "cli/input.h"
#include "cli/steps.h"
#include "cli/workers.h"
#include "dispatch/safe_save.h"
#include "formats/codec_state.h"
#include "imagelib/host.h"
#include "imagelib/image.h"
#include "imagelib/registry.h"
#include "imagelib/text.h"
#include "render/render.h"

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

void WarnOfText(const char* name, const char* text, std::size_t kept) {
  const std::size_t length = std::strlen(text);
  if (length <= kept) return;
  char line[80];
  if (kept == 0) {
    std::snprintf(line, sizeof line, "the %s is lost: this type keeps none", name);
  } else {
    std::snprintf(line, sizeof line, "the %s is cut to %zu bytes", name, kept);
  }
  LibMessage(line);
}

/// A line for each text that the row's files cannot keep whole.
void WarnOfTexts(std::int32_t row, const ImageRecord& image) {
  const TextLimits limits = TypeTextLimits(row);
  WarnOfText("author", image.author, limits.author);
  WarnOfText("comment", image.comment, limits.comment);
  WarnOfText("rights notice", image.notice, limits.notice);
}

/// Saves to a file or, for "-", to standard output. False on failure, which has been reported.
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
    WarnOfTexts(image.saveType, image);
    return true;
  }
  const std::string& why = result.reason.empty() ? errors : result.reason;
  ReportFailure(output, why.empty() ? "could not be saved" : why);
  return false;
}

/// What one conversion comes to: from, to, and as what.
struct Conversion {
  std::string input, output;
  std::int32_t row;
};

void SetOutputOptions(const Request& request, const Conversion& conversion, ImageRecord& image) {
  image.saveType = conversion.row;
  image.saveDepth = request.depth ? DepthChoice(conversion.row, *request.depth)
                                  : DefaultDepthChoice(conversion.row, image);
  Output().compression = request.compress ? 1 : 0;
  Output().interlace = request.interlace ? 1 : 0;
  Output().quality = request.quality;
  const std::int32_t bits = DepthBits(DepthChoiceBit(conversion.row, image.saveDepth));
  RenderSettings& rendering = Rendering();
  rendering.renderMode = request.renderMode;
  rendering.renderOrdered = request.ordered ? 1 : 0;
  rendering.renderStrength = request.strength;
  // A file of fewer bits must not get more colours than it can name.
  rendering.renderBits = request.renderBits.value_or(bits < 8 ? bits : 8);
}

int Convert(const Request& request, const Conversion& conversion) {
  const FileScope scope(conversion.input);
  Input input = LoadInput(conversion.input, request);
  if (!input || !ApplySteps(request, conversion.input, &input)) return kFailed;
  ImageRecord& image = *input.image;
  SetTexts(request, image);
  SetOutputOptions(request, conversion, image);
  return SaveOutput(conversion.output, request, image) ? input.Status() : kFailed;
}

/// Converts to one output as if nothing had been before.
ItemStatus ConvertTo(const Request& request, const std::string& input, const std::string& output) {
  if (OutputStays(request, input, output)) return ItemStatus::skipped;
  ResetRenderer();
  ResetCodecState();
  std::string fault;
  const std::int32_t row = OutputRow(request, output, &fault);
  const std::int32_t faultsBefore = GetMemoryCounters().faults;
  const int status = ReportingOutOfMemory(input, [&] {
    return Convert(request, {input, output, row});
  });
  const bool isDone = status == kDone && GetMemoryCounters().faults == faultsBefore;
  return isDone ? ItemStatus::done : ItemStatus::failed;
}

ItemStatus ConvertItem(const Request& request, const BatchItem& item) {
  if (item.frames == 0) return ConvertTo(request, item.input, item.output);
  Request ofFrame = request;
  ItemStatus all = ItemStatus::skipped;
  for (std::int32_t i = 0; i < item.frames && !Interrupted(); ++i) {
    ofFrame.frame = i;
    const ItemStatus status = ConvertTo(ofFrame, item.input, FrameOutput(item.output, i));
    if (all != ItemStatus::failed && status != ItemStatus::skipped) all = status;
  }
  return all;
}

/// Whether more is asked for than one file made from one other.
bool IsBatch(const Request& request) {
  return !request.outputFolder.empty() || request.allFrames || request.noClobber ||
         request.update || request.dryRun || request.verbose || !request.report.empty();
}

/// What contradicts itself in the command line; empty when nothing does.
std::string CheckOperands(const Request& request) {
  const std::vector<std::string>& operands = request.operands;
  const bool standard = std::find(operands.begin(), operands.end(), "-") != operands.end();
  if (request.allFrames && request.frame != 0) return "--all-frames and --frame exclude each other";
  if (!request.outputFolder.empty()) {
    if (request.type.empty()) return "-o needs --type EXT";
    if (standard) return "standard input has no name that -o could use";
    for (const ImageStep& step : request.steps) {
      if (step.file == "-") return "standard input cannot be merged into many";
    }
    return {};
  }
  if (request.recurse || request.filesFrom || request.shards > 1) {
    return "-r, --files-from and --shard need -o DIR";
  }
  if (operands.size() != 2) {
    return operands.size() < 2 ? "needs INPUT OUTPUT" : "several inputs need -o DIR";
  }
  return standard && IsBatch(request) ? "standard input and output do not go with these options"
                                      : "";
}

}  // namespace

int RunConvert(const Request& request) {
  if (request.partOfBatch) {
    ServeItems([&request](const BatchItem& item) { return ConvertItem(request, item); });
    return kDone;
  }
  std::string fault = CheckOperands(request);
  if (!fault.empty()) return UsageError("convert", fault);
  const bool toFolder = !request.outputFolder.empty();
  const std::string output = toFolder ? "x." + request.type : request.operands[1];
  const std::int32_t row = OutputRow(request, output, &fault);
  if (row < 0) return UsageError("convert", fault);
  if (request.depth && DepthChoice(row, *request.depth) == kNoChoice) {
    return UsageError("convert", std::string(TypeExtension(row)) + " files have no depth " +
                                     std::to_string(*request.depth));
  }
  if (IsBatch(request)) return ConvertBatch(request);
  const std::string& input = request.operands[0];
  return ReportingOutOfMemory(input, [&] { return Convert(request, {input, output, row}); });
}

}  // namespace imx
