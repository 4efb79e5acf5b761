#include <algorithm>
#include <cstdint>
#include <string>

#include "cli/batch.h"
#include "cli/commands.h"
#include "cli/console.h"
#include "cli/host.h"
#include "cli/input.h"
#include "cli/output.h"
#include "cli/steps.h"
#include "cli/workers.h"
#include "formats/codec_state.h"
#include "imagelib/image.h"
#include "imagelib/text.h"
#include "render/render.h"

namespace imx {
namespace {

void SetTexts(const Request& request, ImageRecord& image) {
  if (request.author) CopyText(image.author, *request.author);
  if (request.comment) CopyText(image.comment, *request.comment);
  if (request.notice) CopyText(image.notice, *request.notice);
}

/// What one conversion comes to: from, to, and as what.
struct Conversion {
  std::string input, output;
  std::int32_t row;
};

int Convert(const Request& request, const Conversion& conversion) {
  const FileScope scope(conversion.input);
  Input input = LoadInput(conversion.input, request);
  if (!input || !ApplySteps(request, conversion.input, &input)) return kFailed;
  ImageRecord& image = *input.image;
  SetTexts(request, image);
  SetOutputOptions(request, conversion.row, image);
  return SaveOutput(conversion.output, request, image) ? input.Status() : kFailed;
}

/// Converts to one output as if nothing had been before.
ItemStatus ConvertTo(const Request& request, const std::string& input, const std::string& output) {
  if (OutputStays(request, input, output)) return ItemStatus::skipped;
  std::string fault;
  const std::int32_t row = OutputRow(request, output, &fault);
  return DoAsFirst(input, [&] { return Convert(request, {input, output, row}); });
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
  if (IsBatch(request)) return ConvertBatch(request);
  const std::string& input = request.operands[0];
  return ReportingOutOfMemory(input, [&] { return Convert(request, {input, output, row}); });
}

}  // namespace imx
