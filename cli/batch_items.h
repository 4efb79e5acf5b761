/// What a conversion of many inputs consists of: which inputs, and where each one's output goes.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/name_spool.h"
#include "cli/options.h"

namespace imx {

/// One input and what becomes of it.
struct BatchItem {
  std::string input;
  std::string output;       ///< without the frame's number
  std::int32_t frames = 0;  ///< each saved in a file of its own; 0: one file, without a number
};

/// Names of the item's outputs in their order.
void ForEachOutput(const BatchItem& item, const std::function<void(const std::string&)>& output);

/// The name of frame `frame`, counted from 0: "name-0007.png".
std::string FrameOutput(const std::string& output, std::int32_t frame);

/// A list of items of any length, read from its start as often as wanted.
class BatchItems {
 public:
  void Add(const BatchItem& item);
  void Rewind() { names_.Rewind(); }
  bool Next(BatchItem* item);
  std::uint64_t size() const { return size_; }
  /// Empty, or why the list could not be kept.
  const std::string& fault() const { return names_.reason(); }

 private:
  NameSpool names_;
  std::uint64_t size_ = 0;
};

struct Gathering {
  BatchItems items;
  std::uint64_t others = 0;  ///< files in the trees that are no pictures
  bool complete = true;      ///< every list and folder could be read; else it has been reported
  std::vector<std::string> readFiles = {};  ///< what else the run reads
  /// Besides the output folder: folders that no walk goes into.
  std::vector<std::string> ownFolders = {};
};

/// Finds the request's inputs: its operands, the trees below them, the lists that it names; of
/// these its shard. `found` is told their number from time to time.
void GatherItems(const Request& request, Gathering* gathering,
                 const std::function<void(std::uint64_t)>& found);

/// Whether `output` is to be left as it is (--no-clobber, --update).
bool OutputStays(const Request& request, const std::string& input, const std::string& output);

/// What forbids the run: an output that is one of its inputs, or that of two of them, under
/// whatever name. Empty when nothing does.
std::string FindBatchFault(const Request& request, Gathering& gathering);

}  // namespace imx
