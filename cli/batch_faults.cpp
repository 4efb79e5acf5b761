#include <algorithm>
#include <cstdint>
#include <map>
#include <vector>

#include "cli/batch_items.h"
#include "cli/name_hash.h"
#include "imagelib/system_files.h"

namespace imx {
namespace {

using Hashes = std::vector<std::uint64_t>;

std::uint64_t IdentityHash(const std::string& path) {
  return NameHash(FileIdentity(path));
}

/// Names that belong to the run besides the items' own.
struct OtherNames {
  std::vector<std::string> inputs;
  std::string report;  ///< empty: none
};

OtherNames OthersOf(const Request& request, const Gathering& gathering) {
  OtherNames others = {gathering.readFiles, {}};
  for (const ImageStep& step : request.steps) {
    if (!step.file.empty()) others.inputs.push_back(step.file);
  }
  if (request.report != "-") others.report = request.report;
  return others;
}

/// The identities, as hashes, that an output shares with an input or another output. Lists of
/// millions fit into memory so; the few that are found here are then looked at by name.
Hashes FindSuspects(const OtherNames& others, BatchItems& items) {
  Hashes inputs, outputs, suspects;
  for (const std::string& name : others.inputs) inputs.push_back(IdentityHash(name));
  if (!others.report.empty()) outputs.push_back(IdentityHash(others.report));
  items.Rewind();
  for (BatchItem item; items.Next(&item);) {
    inputs.push_back(IdentityHash(item.input));
    ForEachOutput(item,
                  [&](const std::string& output) { outputs.push_back(IdentityHash(output)); });
  }
  std::sort(inputs.begin(), inputs.end());
  std::sort(outputs.begin(), outputs.end());
  std::set_intersection(outputs.begin(), outputs.end(), inputs.begin(), inputs.end(),
                        std::back_inserter(suspects));
  for (std::size_t i = 1; i < outputs.size(); ++i) {
    if (outputs[i] == outputs[i - 1]) suspects.push_back(outputs[i]);
  }
  std::sort(suspects.begin(), suspects.end());
  return suspects;
}

/// The names behind the suspects.
class Suspects {
 public:
  explicit Suspects(const Hashes& hashes) : hashes_(hashes) {}

  void AddInput(const std::string& name) {
    const std::string identity = FileIdentity(name);
    if (IsSuspect(identity)) inputs_.emplace(identity, name);
  }

  /// What is wrong with `output` of `input`; empty when nothing is.
  std::string AddOutput(const std::string& output, const std::string& input) {
    const std::string identity = FileIdentity(output);
    if (!IsSuspect(identity)) return {};
    if (const auto found = inputs_.find(identity); found != inputs_.end()) {
      return "the output " + output + " of " + input + " is the input " + found->second;
    }
    const auto [first, isNew] = outputs_.emplace(identity, input);
    return isNew ? "" : first->second + " and " + input + " have the same output " + output;
  }

 private:
  bool IsSuspect(const std::string& identity) const {
    return std::binary_search(hashes_.begin(), hashes_.end(), NameHash(identity));
  }

  const Hashes& hashes_;
  std::map<std::string, std::string> inputs_, outputs_;
};

}  // namespace

std::string FindBatchFault(const Request& request, Gathering& gathering) {
  const OtherNames others = OthersOf(request, gathering);
  const Hashes hashes = FindSuspects(others, gathering.items);
  if (hashes.empty()) return {};
  Suspects suspects(hashes);
  std::string fault;
  gathering.items.Rewind();
  for (BatchItem item; gathering.items.Next(&item);) suspects.AddInput(item.input);
  for (const std::string& name : others.inputs) suspects.AddInput(name);
  if (!others.report.empty()) fault = suspects.AddOutput(others.report, "--report");
  gathering.items.Rewind();
  for (BatchItem item; fault.empty() && gathering.items.Next(&item);) {
    ForEachOutput(item, [&](const std::string& output) {
      if (fault.empty()) fault = suspects.AddOutput(output, item.input);
    });
  }
  return fault;
}

}  // namespace imx
