#include <cstdint>
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

/// Fields of one JSON object, in the order in which they are added.
class JsonObject {
 public:
  void Add(const char* key, const std::string& value) {
    text_ += text_.empty() ? '{' : ',';
    text_ += JsonString(key) + ":" + value;
  }
  void Add(const char* key, std::int64_t value) { Add(key, std::to_string(value)); }
  void AddText(const char* key, const char* value) { Add(key, JsonString(value)); }
  std::string Text() const { return text_ + "}"; }

 private:
  std::string text_;
};

bool IsSequenceFrame(const ImageRecord& image) {
  return image.frame != 0;
}

void PrintJson(const std::string& file, const ImageRecord& image) {
  JsonObject object;
  object.AddText("file", file.c_str());
  object.AddText("formatLabel", image.formatLabel);
  object.Add("fileType", image.fileType);
  object.Add("width", image.width);
  object.Add("height", image.height);
  object.Add("depth", image.depth);
  if (IsSequenceFrame(image)) {
    object.Add("frame", image.frame - 1);
    object.Add("frames", Sequence().frameCount);
  } else {
    object.Add("frame", "null");
  }
  object.Add("flags", image.flags);
  object.Add("alpha", image.flags & kFlagAlpha ? "true" : "false");
  object.Add("paletteCount", image.paletteCount);
  object.AddText("extension", image.extension);
  object.AddText("author", image.author);
  object.AddText("comment", image.comment);
  object.AddText("notice", image.notice);
  std::printf("%s\n", object.Text().c_str());
}

void PrintField(const char* name, const std::string& value) {
  if (!value.empty()) std::printf("  %-9s%s\n", name, Printable(value).c_str());
}

void PrintText(const std::string& file, const ImageRecord& image) {
  std::printf("%s\n", Printable(file).c_str());
  PrintField("format", image.formatLabel);
  PrintField("size", std::to_string(image.width) + " x " + std::to_string(image.height));
  if (image.depth != 0) PrintField("depth", std::to_string(image.depth) + " bits");
  PrintField("alpha", image.flags & kFlagAlpha ? "yes" : "no");
  PrintField("palette", std::to_string(image.paletteCount) + " entries");
  if (IsSequenceFrame(image)) {
    PrintField("frame",
               std::to_string(image.frame - 1) + " of " + std::to_string(Sequence().frameCount));
  }
  PrintField("author", image.author);
  PrintField("comment", image.comment);
  PrintField("notice", image.notice);
}

}  // namespace

int RunInfo(const Request& request) {
  int status = kDone;
  for (const std::string& file : request.operands) {
    if (Interrupted()) return kFailed;
    const Input input = LoadInput(file, request);
    if (input.Status() != kDone) status = kFailed;
    if (!input) continue;
    request.json ? PrintJson(file, *input.image) : PrintText(file, *input.image);
  }
  return status;
}

}  // namespace imx
