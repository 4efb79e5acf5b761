#include "cli/batch.h"

#include <map>

#include "cli/console.h"
#include "cli/host.h"
#include "cli/processes.h"
#include "imagelib/host.h"
#include "imagelib/system_files.h"
#include "imagelib/text.h"
#include "imagelib/unfinished_files.h"

namespace imx {

std::string BatchOutput(const Request& request, const std::string& input) {
  const std::string name(PathFileName(input));
  const std::string base = name.substr(0, name.size() - PathExtension(name).size());
  return request.outputFolder + "/" + base + "." + request.type;
}

std::string FindBatchFault(const Request& request) {
  std::map<std::string, std::string> inputs, outputs;
  for (const std::string& input : request.operands) inputs.emplace(FileIdentity(input), input);
  for (const ImageStep& step : request.steps) {
    if (!step.file.empty()) inputs.emplace(FileIdentity(step.file), step.file);
  }
  for (const std::string& input : request.operands) {
    const std::string output = BatchOutput(request, input);
    const std::string identity = FileIdentity(output);
    if (const auto found = inputs.find(identity); found != inputs.end()) {
      return "the output " + output + " of " + input + " is the input " + found->second;
    }
    const auto [first, isNew] = outputs.emplace(identity, input);
    if (!isNew) return first->second + " and " + input + " have the same output " + output;
  }
  return {};
}

int ConvertBatch(const Request& request) {
  const std::vector<std::string>& inputs = request.operands;
  const auto argumentsOf = [&](std::size_t i) {
    std::vector<std::string> arguments = {"convert"};
    arguments.insert(arguments.end(), request.options.begin(), request.options.end());
    arguments.insert(arguments.end(), {"--part-of-batch", "--", inputs[i]});
    return arguments;
  };
  bool all = true;
  std::int32_t done = 0;
  int leftOut = 0;
  RemoveLeftovers(request.outputFolder);
  ProgressBegin("Converting", static_cast<std::int32_t>(inputs.size()), 1);
  RunCopies(inputs.size(), request.jobs.value_or(ProcessorCount()), argumentsOf,
            [&](std::size_t i, int status) {
              if (status < 0 && Interrupted()) {
                ++leftOut;
              } else if (status < 0) {
                ReportFailure(inputs[i], "its conversion ended unexpectedly");
              }
              all = all && status == kDone;
              ProgressUpdate(++done);
            });
  ProgressEnd();
  if (leftOut > 0) ReportFailure({}, "interrupted: " + std::to_string(leftOut) + " not converted");
  std::string reason;
  if (request.sync && !SyncFolder(request.outputFolder, &reason)) {
    ReportFailure(request.outputFolder, reason);
    all = false;
  }
  return all ? kDone : kFailed;
}

}  // namespace imx
