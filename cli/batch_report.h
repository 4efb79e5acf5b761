/// What became of each input of a run, for programs to read.
#pragma once

#include <cstdio>
#include <string>

#include "cli/workers.h"
#include "imagelib/open_file.h"

namespace imx {

/// A file of JSON objects, a line for each input. A line is written when its input is over, so that
/// a run that is killed leaves the lines of what it did.
class BatchReport {
 public:
  /// `name`: "-" for standard output; empty: no report. False when it cannot be made; `reason`
  /// says why.
  bool Open(const std::string& name, std::string* reason);
  void Add(const BatchItem& item, const ItemOutcome& outcome);
  /// False when not everything could be written; `reason` says why.
  bool Close(std::string* reason);

 private:
  OpenFile opened_;
  std::FILE* to_ = nullptr;
};

}  // namespace imx
