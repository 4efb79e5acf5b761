#include "dispatch/save_choices.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "imagelib/image.h"
#include "imagelib/registry.h"

namespace imx {
namespace {

using Tell = std::function<void(const char* line)>;

void TellLostText(const char* name, const char* text, std::size_t kept, const Tell& tell) {
  const std::size_t length = std::strlen(text);
  if (length <= kept) return;
  char line[80];
  if (kept == 0) {
    std::snprintf(line, sizeof line, "the %s is lost: this type keeps none", name);
  } else {
    std::snprintf(line, sizeof line, "the %s is cut to %zu bytes", name, kept);
  }
  tell(line);
}

}  // namespace

std::int32_t DepthChoice(std::int32_t row, std::int32_t bits) {
  for (std::int32_t choice = 0; choice < DepthChoiceCount(row); ++choice) {
    if (DepthBits(DepthChoiceBit(row, choice)) == bits) return choice;
  }
  return kNoDepthChoice;
}

std::int32_t DefaultDepthChoice(std::int32_t row, const ImageRecord& image) {
  const std::int32_t withAlpha = image.flags & kFlagAlpha ? DepthChoice(row, 32) : kNoDepthChoice;
  const std::int32_t trueColour = DepthChoice(row, 24);
  if (withAlpha != kNoDepthChoice) return withAlpha;
  return trueColour != kNoDepthChoice ? trueColour : 0;
}

std::int32_t PaletteBits(std::int32_t row, std::int32_t choice) {
  return std::min(DepthBits(DepthChoiceBit(row, choice)), 8);
}

void TellLostTexts(const ImageRecord& image, const Tell& tell) {
  const TextLimits limits = TypeTextLimits(image.saveType);
  TellLostText("author", image.author, limits.author, tell);
  TellLostText("comment", image.comment, limits.comment, tell);
  TellLostText("rights notice", image.notice, limits.notice, tell);
}

}  // namespace imx
