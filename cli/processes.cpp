#include "cli/processes.h"

#include <algorithm>
#include <csignal>
#include <map>

#include "cli/console.h"

namespace imx {

void RunCopies(std::size_t count, int jobs,
               const std::function<std::vector<std::string>(std::size_t)>& argumentsOf,
               const std::function<void(std::size_t, int)>& ended) {
  const std::size_t most = std::min(static_cast<std::size_t>(jobs), MostCopies());
  std::map<CopyId, std::size_t> running;
  std::size_t next = 0;
  while (!running.empty() || (next < count && !Interrupted())) {
    if (next < count && running.size() < most && !Interrupted()) {
      const CopyId copy = StartCopy(argumentsOf(next));
      if (copy != 0) {
        running[copy] = next;
      } else {
        ended(next, -1);
      }
      ++next;
      continue;
    }
    const EndedCopy end = WaitForCopy();
    if (end.copy == 0) break;
    const auto found = running.find(end.copy);
    if (found == running.end()) continue;
    ended(found->second, end.status);
    running.erase(found);
  }
  if (!running.empty()) EndCopies(SIGTERM);
  for (const auto& [copy, index] : running) ended(index, -1);
  for (; next < count; ++next) ended(next, -1);
}

}  // namespace imx
