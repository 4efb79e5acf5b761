#include "shell/model/about_text.h"

#include <cstdint>

#include "imagelib/registry.h"

namespace imx {
namespace {

std::string Labels(bool savable) {
  std::string labels;
  for (std::int32_t row = 0; TypeRowOutOfRange(row) == 0; ++row) {
    if (TypeCanLoad(row) == 0 || (TypeCanSave(row) != 0) != savable) continue;
    if (!labels.empty()) labels += ", ";
    labels += TypeLabel(row);
  }
  return labels;
}

}  // namespace

std::string AboutText(const std::string& version) {
  return "Quillmark Viewer " + version + "\n\nOpens and saves:\n" + Labels(true) + "\n\nOpens:\n" +
         Labels(false);
}

}  // namespace imx
