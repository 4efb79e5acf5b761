#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/json.h"
#include "imagelib/registry.h"

namespace imx {
namespace {

std::vector<std::int32_t> Depths(std::int32_t row) {
  std::vector<std::int32_t> depths;
  for (std::int32_t i = 0; i < DepthChoiceCount(row); ++i) {
    depths.push_back(DepthBits(DepthChoiceBit(row, i)));
  }
  return depths;
}

/// The output options by the names that convert gives them.
std::vector<std::string> OutputOptionNames(std::int32_t row) {
  std::vector<std::string> names;
  if (TypeHasCompression(row)) names.push_back("compress");
  if (TypeHasInterlace(row)) names.push_back("interlace");
  if (TypeHasQuality(row)) names.push_back("quality");
  return names;
}

std::string Spaced(const std::vector<std::string>& words) {
  std::string joined;
  for (const std::string& word : words) joined.append(joined.empty() ? "" : " ").append(word);
  return joined;
}

void PrintJson(std::int32_t row) {
  PrintJsonLine({{"extension", TypeExtension(row)},
                 {"label", TypeLabel(row)},
                 {"typeId", Registry(row).type},
                 {"load", TypeCanLoad(row) != 0},
                 {"save", TypeCanSave(row) != 0},
                 {"depths", Depths(row)},
                 {"options", OutputOptionNames(row)}});
}

/// One line of the list; the last column may be empty.
void PrintColumns(const char* extension, const char* label, const std::string& type,
                  const char* load, const char* save, const std::string& depths,
                  const std::string& options) {
  char line[160];
  std::snprintf(line, sizeof line, "%-4s %-20s %5s  %-4s  %-4s  %-10s %s", extension, label,
                type.c_str(), load, save, depths.c_str(), options.c_str());
  std::string text = line;
  text.erase(text.find_last_not_of(' ') + 1);
  std::printf("%s\n", text.c_str());
}

void PrintLine(std::int32_t row) {
  std::vector<std::string> depths;
  for (const std::int32_t depth : Depths(row)) depths.push_back(std::to_string(depth));
  PrintColumns(TypeExtension(row), TypeLabel(row), std::to_string(Registry(row).type),
               TypeCanLoad(row) ? "yes" : "no", TypeCanSave(row) ? "yes" : "no", Spaced(depths),
               Spaced(OutputOptionNames(row)));
}

}  // namespace

int RunFormats(const Request& request) {
  if (!request.json) {
    PrintColumns("EXT", "LABEL", "TYPE", "LOAD", "SAVE", "DEPTHS", "OPTIONS");
  }
  for (std::int32_t row = 0; TypeRowOutOfRange(row) == 0; ++row) {
    request.json ? PrintJson(row) : PrintLine(row);
  }
  return kDone;
}

}  // namespace imx
