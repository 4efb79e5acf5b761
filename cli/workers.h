/// Conversions by copies of the program, each of which does many files, one after the other.
///
/// The channel carries texts that end with a zero byte. A worker is given its items as three texts,
/// input, output and number of frames; an empty input ends it. It answers with records, whose first
/// character is their kind.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/batch_items.h"

namespace imx {

enum class ItemStatus { done, skipped, failed };

/// What became of an item.
struct ItemOutcome {
  ItemStatus status = ItemStatus::failed;
  std::string message;  ///< what was said about it
  double seconds = 0;
  std::uint64_t bytes = 0;  ///< of its outputs
  std::string facts;        ///< what the worker told beyond that
};

/// Kinds of a worker's records.
inline constexpr char kRecordMessage = 'm';  ///< a line for the user
inline constexpr char kRecordSaved = 's';    ///< bytes, a blank and the name of an output
inline constexpr char kRecordFacts = 'f';    ///< of the item, in the command's own form
inline constexpr char kRecordEnd = 'e';      ///< of the item; an ItemStatus as a digit

/// Does the items that a worker is given on standard input, each by `convert`, as if it were the
/// program's first. Returns when there are no more.
void ServeItems(const std::function<ItemStatus(const BatchItem&)>& convert);

/// Tells, in a worker, that `output` has been saved.
void TellSaved(const std::string& output);

/// Tells, in a worker, what the command is to know of the item (ItemOutcome::facts).
void TellFacts(const std::string& facts);

/// Does `work`, which gives an exit status, for `input` as if it were the program's first.
ItemStatus DoAsFirst(const std::string& input, const std::function<int()>& work);

/// What a run over many items asks and tells.
struct WorkPlan {
  std::vector<std::string> arguments;  ///< of a worker
  int jobs = 1;
  std::function<bool(BatchItem*)> next;  ///< the next item; false when there is none
  std::function<void(const std::string& text)> said;
  std::function<void(const BatchItem& item, const std::string& output)> saved;
  std::function<void(const BatchItem& item, const ItemOutcome& outcome)> ended;
  std::function<void()> wait;  ///< called a few times a second at least
};

/// Has workers do all items. A worker that dies costs the item that it was on; another goes on with
/// the rest. Items that are left when the user wants the end are not told of. False when a worker
/// found at its end that the program was at fault, which it has said.
bool RunWorkers(const WorkPlan& plan);

}  // namespace imx
