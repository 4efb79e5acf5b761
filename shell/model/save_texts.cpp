#include "shell/model/save_texts.h"

#include <algorithm>

#include "imagelib/image.h"
#include "imagelib/registry.h"

namespace imx {
namespace {

constexpr std::size_t kShortestCut = 3;  // a name and an ending beside the dot

std::string TextOrNothing(const char* text) {
  return text ? text : "";
}

}  // namespace

std::string SaveDialogTitle(const ImageRecord& image) {
  return "Save As " + TextOrNothing(TypeLabel(image.saveType)) + " Image in " +
         TextOrNothing(DepthSuffixName(image.saveType, image.saveDepth)) + " mode";
}

std::string SaveStartName(const std::string& name) {
  const bool oneDot = std::count(name.begin(), name.end(), '.') == 1;
  return oneDot && name.size() >= kShortestCut ? name.substr(0, name.find('.')) : name;
}

std::string FolderOfPath(const std::string& path) {
  return path.substr(0, path.size() - PathFileName(path, kWindowsPathSeparators).size());
}

std::string SaveChangesQuestion(const ImageRecord& image) {
  return "Save changes to " + std::string(image.name) + "?";
}

std::string SaveFailureText(const std::string& path, const std::string& reason) {
  std::string text = "The image could not be saved";
  if (!path.empty()) text += " as\n" + path;
  text += reason.empty() ? std::string(".") : ":\n" + reason;
  return text;
}

}  // namespace imx
