#include "cli/commands.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>

#include "cli/documents.h"

namespace imx {
namespace {

constexpr Command kCommands[] = {
    {kFormats, "formats", "", "list the file types", 0, 0, RunFormats},
    {kInfo, "info", "FILE...", "tell what files hold, from their headers where these tell it", 1,
     SIZE_MAX, RunInfo},
    {kPixels, "pixels", "FILE", "write a file's pixels to standard output as R, G, B, A bytes", 1,
     1, RunPixels},
    {kCount, "count", "FILE", "count an image's colours", 1, 1, RunCount},
    {kConvert, "convert", "INPUT... OUTPUT", "load an image, change it, and save it", 1, SIZE_MAX,
     RunConvert},
    {kCompare, "compare", "A B",
     "tell how two pictures differ; the exit status is 0 when they are equal within the tolerance, "
     "1 when not, 2 when one cannot be read",
     2, 2, RunCompare, kCompareFailed},
    {kGallery, "gallery", "-o DIR INPUT...", "make a web page of pictures, with what failed", 1,
     SIZE_MAX, RunGallery},
    {kQuirks, "quirks", "", "list the places where the library and other programs differ", 0, 0,
     RunQuirks},
    {kHelp, "help", "[COMMAND]", "tell the commands, or the options of one", 0, 1, RunHelp},
};

}  // namespace

std::span<const Command> Commands() {
  return kCommands;
}

const Command* FindCommand(std::string_view name) {
  const auto found = std::find_if(std::begin(kCommands), std::end(kCommands),
                                  [&name](const Command& command) { return name == command.name; });
  return found == std::end(kCommands) ? nullptr : found;
}

int RunHelp(const Request& request) {
  const Command* command = request.operands.empty() ? nullptr : FindCommand(request.operands[0]);
  if (!command && !request.operands.empty()) {
    return UsageError("help", "knows no command '" + request.operands[0] + "'");
  }
  std::fputs((command ? HelpText(*command) : HelpText()).c_str(), stdout);
  return kDone;
}

}  // namespace imx
