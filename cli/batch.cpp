#include "cli/batch.h"

#include <set>

#include "cli/host.h"
#include "cli/processes.h"
#include "imagelib/host.h"
#include "imagelib/text.h"

namespace imx {
namespace {

/// The operands that do not take the place of another one's output; the others are reported.
std::vector<std::string> WithoutClashes(const Request& request) {
  std::set<std::string> outputs;
  std::vector<std::string> inputs;
  for (const std::string& input : request.operands) {
    const std::string output = BatchOutput(request, input);
    if (outputs.insert(output).second) {
      inputs.push_back(input);
    } else {
      ReportFailure(input, "its output " + output + " is that of another input");
    }
  }
  return inputs;
}

}  // namespace

std::string BatchOutput(const Request& request, const std::string& input) {
  const std::string name(PathFileName(input));
  const std::string base = name.substr(0, name.size() - PathExtension(name).size());
  return request.outputFolder + "/" + base + "." + request.type;
}

int ConvertBatch(const Request& request) {
  const std::vector<std::string> inputs = WithoutClashes(request);
  bool all = inputs.size() == request.operands.size();
  const auto argumentsOf = [&](std::size_t i) {
    std::vector<std::string> arguments = {"convert"};
    arguments.insert(arguments.end(), request.options.begin(), request.options.end());
    // The bar counts files, so the copies show none.
    arguments.insert(arguments.end(), {"--quiet", "--jobs", "1", "--", inputs[i]});
    return arguments;
  };
  std::int32_t done = 0;
  ProgressBegin("Converting", static_cast<std::int32_t>(inputs.size()), 1);
  RunCopies(inputs.size(), request.jobs.value_or(ProcessorCount()), argumentsOf,
            [&](std::size_t i, int status) {
              if (status < 0) ReportFailure(inputs[i], "its conversion ended unexpectedly");
              all = all && status == kDone;
              ProgressUpdate(++done);
            });
  ProgressEnd();
  return all ? kDone : kFailed;
}

}  // namespace imx
