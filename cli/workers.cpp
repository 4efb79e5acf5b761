#include "cli/workers.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <csignal>
#include <deque>
#include <list>

#include "cli/console.h"
#include "cli/processes.h"

namespace imx {
namespace {

using Clock = std::chrono::steady_clock;

// Quick items are given out ahead, so that a worker need not wait for its next one; slow ones are
// not, as another worker may come to them earlier. What is ahead always fits into the channel.
constexpr double kQuickSeconds = 0.005;
constexpr std::size_t kMostAhead = 8;
constexpr std::size_t kMostBytesAhead = 4096;

constexpr std::size_t kLongestMessage = 4096;
constexpr int kWaitMs = 250;

struct Worker {
  CopyId copy = 0;
  std::deque<BatchItem> items;  ///< the first is being done
  std::size_t bytesAhead = 0;   ///< of the items behind the first
  bool isQuick = false;
  bool isLeaving = false;
  Clock::time_point since;  ///< begin of the first
  std::string record;       ///< what has arrived of the next one
  ItemOutcome outcome;
};

std::string Order(const BatchItem& item) {
  return item.input + '\0' + item.output + '\0' + std::to_string(item.frames) + '\0';
}

class Pool {
 public:
  explicit Pool(const WorkPlan& plan)
      : plan_(plan), most_(std::min(static_cast<std::size_t>(plan.jobs), MostCopies())) {}

  bool Run() {
    while (!Interrupted() && StartWhatIsWanted()) {
    }
    while (!workers_.empty()) {
      const CopyNews news = WaitForCopies(kWaitMs);
      plan_.wait();
      const auto worker = std::find_if(workers_.begin(), workers_.end(),
                                       [&](const Worker& w) { return w.copy == news.copy; });
      if (worker == workers_.end()) {
        if (!Interrupted()) continue;
        EndCopies(SIGTERM);
        break;
      }
      Take(*worker, news.bytes);
      if (news.ended) Bury(worker, news.status);
    }
    return !fault_;
  }

 private:
  bool NextItem(BatchItem* item) {
    if (Interrupted()) return false;
    if (returned_.empty()) return plan_.next(item);
    *item = std::move(returned_.front());
    returned_.pop_front();
    return true;
  }

  /// Starts one worker if one may run and has something to do. False when none was started.
  bool StartWhatIsWanted() {
    BatchItem item;
    if (workers_.size() >= most_ || !NextItem(&item)) return false;
    Worker worker;
    worker.copy = StartCopy(plan_.arguments);
    if (worker.copy == 0 && !workers_.empty()) {
      most_ = workers_.size();  // the system has no more to give
      returned_.push_front(std::move(item));
      return false;
    }
    if (worker.copy == 0) {
      ItemOutcome outcome;
      outcome.message = "no process could be started for it";
      plan_.said(item.input + ": " + outcome.message);
      plan_.ended(item, outcome);
      return true;
    }
    workers_.push_back(std::move(worker));
    Give(workers_.back(), std::move(item));
    return true;
  }

  void Give(Worker& worker, BatchItem item) {
    const std::string order = Order(item);
    if (worker.items.empty()) {
      worker.since = Clock::now();
    } else {
      worker.bytesAhead += order.size();
    }
    worker.items.push_back(std::move(item));
    SendToCopy(worker.copy, order);  // its end is told if it is gone
  }

  /// Sends the worker more to do, or away when there is nothing.
  void Feed(Worker& worker) {
    const std::size_t most = worker.isQuick ? kMostAhead : 1;
    while (worker.items.size() < most && worker.bytesAhead < kMostBytesAhead / 2) {
      BatchItem item;
      if (!NextItem(&item)) break;
      const bool fits =
          worker.items.empty() || worker.bytesAhead + Order(item).size() <= kMostBytesAhead;
      if (!fits) {
        returned_.push_front(std::move(item));
        break;
      }
      Give(worker, std::move(item));
    }
    if (!worker.items.empty() || worker.isLeaving) return;
    worker.isLeaving = true;
    SendToCopy(worker.copy, std::string_view("\0", 1));
  }

  void Take(Worker& worker, std::string_view bytes) {
    while (!bytes.empty()) {
      const std::size_t end = std::min(bytes.find('\0'), bytes.size());
      worker.record.append(bytes.substr(0, end));
      if (end == bytes.size()) return;
      bytes.remove_prefix(end + 1);
      TakeRecord(worker, worker.record);
      worker.record.clear();
    }
  }

  void TakeRecord(Worker& worker, const std::string& record) {
    const std::string text = record.empty() ? record : record.substr(1);
    if (record.starts_with(kRecordMessage)) Say(worker, text);
    if (worker.items.empty()) return;
    if (record.starts_with(kRecordSaved)) {
      std::uint64_t bytes = 0;
      const char* const end = text.data() + text.size();
      const char* const behind = std::from_chars(text.data(), end, bytes).ptr;
      worker.outcome.bytes += bytes;
      plan_.saved(worker.items.front(), behind < end ? std::string(behind + 1, end) : text);
    } else if (record.starts_with(kRecordFacts)) {
      worker.outcome.facts = text;
    } else if (record.starts_with(kRecordEnd) && !text.empty()) {
      worker.outcome.status = static_cast<ItemStatus>(text[0] - '0');
      End(worker);
      Feed(worker);
    }
  }

  void Say(Worker& worker, const std::string& text) {
    plan_.said(text);
    if (worker.items.empty()) return;
    std::string& message = worker.outcome.message;
    if (message.size() + text.size() > kLongestMessage) return;
    const std::string own = worker.items.front().input + ": ";
    if (!message.empty()) message += "; ";
    message += text.starts_with(own) ? text.substr(own.size()) : text;
  }

  /// The worker's first item is over.
  void End(Worker& worker) {
    const Clock::time_point now = Clock::now();
    const double seconds = std::chrono::duration<double>(now - worker.since).count();
    worker.outcome.seconds = seconds;
    worker.isQuick = seconds < kQuickSeconds;
    plan_.ended(worker.items.front(), worker.outcome);
    worker.items.pop_front();
    worker.since = now;
    worker.outcome = {};
    if (worker.items.empty()) {
      worker.bytesAhead = 0;
    } else {
      worker.bytesAhead -= std::min(worker.bytesAhead, Order(worker.items.front()).size());
    }
  }

  void Bury(std::list<Worker>::iterator worker, int status) {
    if (worker->items.empty()) {
      fault_ = fault_ || (worker->isLeaving && status != 0);
    } else if (!Interrupted()) {
      Say(*worker, worker->items.front().input + ": its conversion ended unexpectedly");
      worker->outcome.status = ItemStatus::failed;
      End(*worker);
      returned_.insert(returned_.begin(), worker->items.begin(), worker->items.end());
    }
    workers_.erase(worker);
    while (!Interrupted() && StartWhatIsWanted()) {
    }
  }

  const WorkPlan& plan_;
  std::size_t most_;
  std::list<Worker> workers_;
  std::deque<BatchItem> returned_;  ///< by workers that died before they came to them
  bool fault_ = false;
};

}  // namespace

bool RunWorkers(const WorkPlan& plan) {
  return Pool(plan).Run();
}

}  // namespace imx
