#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/json.h"
#include "imagelib/registry.h"

namespace imx {
namespace {

std::vector<std::string> Depths(std::int32_t row) {
  std::vector<std::string> depths;
  for (std::int32_t i = 0; i < DepthChoiceCount(row); ++i) {
    depths.push_back(std::to_string(DepthBits(DepthChoiceBit(row, i))));
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

std::string Join(const std::vector<std::string>& parts, const char* between) {
  std::string joined;
  for (const std::string& part : parts) joined.append(joined.empty() ? "" : between).append(part);
  return joined;
}

void PrintJson(std::int32_t row) {
  std::vector<std::string> options = OutputOptionNames(row);
  for (std::string& name : options) name = JsonString(name);
  std::printf(
      "{\"extension\":%s,\"label\":%s,\"typeId\":%d,\"load\":%s,\"save\":%s,\"depths\":[%s],"
      "\"options\":[%s]}\n",
      JsonString(TypeExtension(row)).c_str(), JsonString(TypeLabel(row)).c_str(),
      Registry(row).type, TypeCanLoad(row) ? "true" : "false", TypeCanSave(row) ? "true" : "false",
      Join(Depths(row), ",").c_str(), Join(options, ",").c_str());
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
  PrintColumns(TypeExtension(row), TypeLabel(row), std::to_string(Registry(row).type),
               TypeCanLoad(row) ? "yes" : "no", TypeCanSave(row) ? "yes" : "no",
               Join(Depths(row), " "), Join(OutputOptionNames(row), " "));
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
