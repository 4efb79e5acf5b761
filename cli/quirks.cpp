#include "imagelib/quirks.h"

#include <cstdio>

#include "cli/commands.h"
#include "cli/json.h"

namespace imx {

int RunQuirks(const Request& request) {
  for (const QuirkRow& row : Quirks()) {
    if (request.json) {
      std::printf("{\"name\":%s,\"format\":%s,\"when\":%s,\"ours\":%s,\"theirs\":%s}\n",
                  JsonString(row.name).c_str(), JsonString(row.format).c_str(),
                  JsonString(QuirkDirection(row)).c_str(), JsonString(row.ours).c_str(),
                  JsonString(row.theirs).c_str());
    } else {
      std::printf("%s (%s, %s)\n  ours:   %s\n  theirs: %s\n", row.name, row.format,
                  QuirkDirection(row), row.ours, row.theirs);
    }
  }
  return kDone;
}

}  // namespace imx
