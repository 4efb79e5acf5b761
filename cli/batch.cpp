#include "cli/batch.h"

#include <cstdio>
#include <set>
#include <string>

#include "cli/batch_items.h"
#include "cli/batch_progress.h"
#include "cli/batch_report.h"
#include "cli/console.h"
#include "cli/host.h"
#include "cli/processes.h"
#include "cli/workers.h"
#include "imagelib/folders.h"
#include "imagelib/system_files.h"
#include "imagelib/unfinished_files.h"

namespace imx {
namespace {

/// The folders of the outputs. The workers leave them to the run, which sees to each once.
class OutputFolders {
 public:
  explicit OutputFolders(const Request& request) : request_(request) {}

  /// Readies the folder of `output`. What fails here fails again, with the file's name, when the
  /// output is saved.
  void Ready(const std::string& output) {
    std::string folder = FolderOf(output), reason;
    if (folder == last_) return;
    last_ = folder;
    const bool makes = !request_.outputFolder.empty();
    if (KindOfPath(folder) == PathKind::directory) {
      RemoveLeftovers(folder);
    } else if (makes) {
      MakeFolders(folder, &reason);
    }
    // Those above have got a new entry if this one is new.
    while (folders_.insert(folder).second && makes && folder != FolderOf(folder)) {
      if (folder == request_.outputFolder) break;
      folder = FolderOf(folder);
    }
  }

  /// False on failure, which has been reported.
  bool Sync() const {
    bool all = true;
    for (const std::string& folder : folders_) {
      std::string reason;
      if (SyncFolder(folder, &reason)) continue;
      ReportFailure(folder, reason);
      all = false;
    }
    return all;
  }

 private:
  const Request& request_;
  std::string last_;
  std::set<std::string> folders_;
};

/// "INPUT -> OUTPUT"
void PrintStep(const std::string& input, const std::string& output) {
  EraseStatus();
  std::printf("%s -> %s\n", Printable(input).c_str(), Printable(output).c_str());
}

void Count(const ItemOutcome& outcome, BatchCounts* counts) {
  switch (outcome.status) {
    case ItemStatus::done:
      ++counts->done;
      break;
    case ItemStatus::skipped:
      ++counts->skipped;
      break;
    case ItemStatus::failed:
      ++counts->failed;
      break;
  }
}

/// Does all items. False when something failed, which has been reported.
bool Run(const Request& request, BatchItems& items, BatchProgress& progress, BatchCounts& counts) {
  std::string reason;
  BatchReport report;
  if (!report.Open(request.report, &reason)) {
    ReportFailure(request.report, reason);
    return false;
  }
  OutputFolders folders(request);
  WorkPlan plan = PlanOfWorkers(request, "convert");
  plan.next = [&](BatchItem* item) {
    if (!items.Next(item)) return false;
    folders.Ready(item->output);
    return true;
  };
  plan.said = [](const std::string& text) { ReportFailure({}, text); };
  plan.saved = [&](const BatchItem& item, const std::string& output) {
    if (request.verbose) PrintStep(item.input, output);
  };
  plan.ended = [&](const BatchItem& item, const ItemOutcome& outcome) {
    Count(outcome, &counts);
    report.Add(item, outcome);
  };
  plan.wait = [&] { progress.Show(counts); };
  progress.Show(counts);
  bool all = RunWorkers(plan);
  EraseStatus();
  if (!report.Close(&reason)) {
    ReportFailure(request.report, reason);
    all = false;
  }
  if (request.sync && !folders.Sync()) all = false;
  return all;
}

/// Tells what would be done.
void Rehearse(const Request& request, BatchItems& items, BatchCounts& counts) {
  for (BatchItem item; items.Next(&item);) {
    bool stays = true;
    ForEachOutput(item, [&](const std::string& output) {
      if (OutputStays(request, item.input, output)) return;
      stays = false;
      PrintStep(item.input, output);
    });
    ++(stays ? counts.skipped : counts.done);
  }
}

/// What cannot be done before a file is touched. Empty, or why not.
std::string CheckFolder(const Request& request) {
  if (request.outputFolder.empty() || request.dryRun) return {};
  std::string reason;
  MakeFolders(request.outputFolder, &reason);
  return reason;
}

}  // namespace

WorkPlan PlanOfWorkers(const Request& request, const char* command) {
  WorkPlan plan;
  plan.jobs = request.jobs.value_or(ProcessorCount());
  plan.arguments = {command};
  plan.arguments.insert(plan.arguments.end(), request.options.begin(), request.options.end());
  plan.arguments.push_back("--part-of-batch");
  return plan;
}

void ConcludeBatch(const Request& request, const Gathering& gathering, const BatchCounts& counts,
                   double seconds) {
  if (Interrupted() && counts.over() < counts.total) {
    ReportFailure({}, "interrupted: " + std::to_string(counts.total - counts.over()) + " not done");
  }
  if (request.quiet || request.outputFolder.empty()) return;
  if (gathering.others > 0) {
    ReportFailure({}, std::to_string(gathering.others) + " other files are no pictures");
  }
  ReportFailure({}, request.dryRun ? std::to_string(counts.done) + " to do, " +
                                         std::to_string(counts.skipped) + " to skip"
                                   : SummaryText(counts, seconds));
}

int ConvertBatch(const Request& request) {
  BatchProgress progress;
  Gathering gathering;
  GatherItems(request, &gathering, [&](std::uint64_t found) { progress.ShowFound(found); });
  // One file may take the place of itself.
  const bool isOne = request.outputFolder.empty() &&
                     FileIdentity(request.operands[0]) == FileIdentity(request.operands[1]);
  std::string fault = isOne ? "" : FindBatchFault(request, gathering);
  EraseStatus();
  if (!gathering.items.fault().empty()) {
    ReportFailure("the list of inputs", gathering.items.fault());
    return kFailed;
  }
  if (!fault.empty()) return UsageError("convert", fault);
  if (const std::string reason = CheckFolder(request); !reason.empty()) {
    ReportFailure(request.outputFolder, reason);
    return kFailed;
  }
  BatchCounts counts;
  counts.total = gathering.items.size();
  gathering.items.Rewind();
  bool all = gathering.complete;
  if (request.dryRun) {
    Rehearse(request, gathering.items, counts);
  } else {
    all = Run(request, gathering.items, progress, counts) && all;
  }
  ConcludeBatch(request, gathering, counts, progress.Seconds());
  return all && counts.failed == 0 && counts.over() == counts.total ? kDone : kFailed;
}

}  // namespace imx
