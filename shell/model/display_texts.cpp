#include "shell/model/display_texts.h"

namespace imx {

std::string ImageWindowTitle(std::int32_t number, const std::string& name) {
  std::string title = "[";
  title.append(std::to_string(number)).append("] - ").append(name);
  return title;
}

std::string LoadedImageName(const std::string& fileTitle, std::int32_t frame) {
  std::string name = fileTitle;
  if (frame != 0) name.append(" {fr #").append(std::to_string(frame - 1)).append("}");
  return name;
}

std::string ReadingNote(const QuirkSet& applied, const QuirkSet& shown) {
  if (applied.any()) return " (as other programs read it: " + QuirkNames(applied) + ")";
  if (shown.any()) return " (other programs read it otherwise: " + QuirkNames(shown) + ")";
  return "";
}

}  // namespace imx
