#include "imagelib/quirks.h"

#include <cstdio>

#include "cli/commands.h"
#include "cli/json.h"

namespace imx {

int RunQuirks(const Request& request) {
  for (const QuirkRow& row : Quirks()) {
    if (request.json) {
      PrintJsonLine({{"name", row.name},
                     {"format", row.format},
                     {"when", QuirkDirection(row)},
                     {"ours", row.ours},
                     {"theirs", row.theirs}});
    } else {
      std::printf("%s (%s, %s)\n  ours:   %s\n  theirs: %s\n", row.name, row.format,
                  QuirkDirection(row), row.ours, row.theirs);
    }
  }
  return kDone;
}

}  // namespace imx
