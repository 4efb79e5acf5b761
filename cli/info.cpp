#include <cstdio>
#include <string>

#include "cli/commands.h"
#include "cli/console.h"
#include "cli/host.h"
#include "cli/input.h"
#include "cli/json.h"
#include "formats/codec_state.h"
#include "imagelib/image.h"

namespace imx {
namespace {

bool IsSequenceFrame(const ImageRecord& image) {
  return image.frame != 0;
}

void PrintJson(const std::string& file, const Input& input, bool checked) {
  const ImageRecord& image = *input.image;
  nlohmann::ordered_json object;
  object["file"] = file;
  object["formatLabel"] = image.formatLabel;
  object["fileType"] = image.fileType;
  object["width"] = image.width;
  object["height"] = image.height;
  object["depth"] = image.depth;
  object["frame"] = nullptr;
  if (IsSequenceFrame(image)) {
    object["frame"] = image.frame - 1;
    object["frames"] = Sequence().frameCount;
  }
  object["flags"] = nullptr;
  object["alpha"] = nullptr;
  if (input.alphaTold) {
    object["flags"] = image.flags;
    object["alpha"] = (image.flags & kFlagAlpha) != 0;
  }
  object["paletteCount"] = image.paletteCount;
  object["extension"] = image.extension;
  object["author"] = image.author;
  object["comment"] = image.comment;
  object["notice"] = image.notice;
  if (checked) object["whole"] = input.whole;
  PrintJsonLine(object);
}

void PrintField(const char* name, const std::string& value) {
  if (!value.empty()) std::printf("  %-9s%s\n", name, Printable(value).c_str());
}

void PrintText(const std::string& file, const Input& input, bool checked) {
  const ImageRecord& image = *input.image;
  std::printf("%s\n", Printable(file).c_str());
  PrintField("format", image.formatLabel);
  PrintField("size", std::to_string(image.width) + " x " + std::to_string(image.height));
  if (image.depth != 0) PrintField("depth", std::to_string(image.depth) + " bits");
  if (input.alphaTold) PrintField("alpha", image.flags & kFlagAlpha ? "yes" : "no");
  PrintField("palette", std::to_string(image.paletteCount) + " entries");
  if (IsSequenceFrame(image)) {
    PrintField("frame",
               std::to_string(image.frame - 1) + " of " + std::to_string(Sequence().frameCount));
  }
  PrintField("author", image.author);
  PrintField("comment", image.comment);
  PrintField("notice", image.notice);
  if (checked) PrintField("whole", input.whole ? "yes" : "no");
}

}  // namespace

int RunInfo(const Request& request) {
  int status = kDone;
  for (const std::string& file : request.operands) {
    if (Interrupted()) return kFailed;
    Input input = request.check ? LoadInput(file, request) : LoadHeader(file, request);
    if (input.Status() != kDone) status = kFailed;
    // What is damaged may still tell what it was.
    if (!input && request.check) input = PeekHeader(file, request);
    if (!input) continue;
    (request.json ? PrintJson : PrintText)(file, input, request.check);
  }
  return status;
}

}  // namespace imx
