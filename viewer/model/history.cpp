#include "viewer/model/history.h"

#include <utility>

namespace imx {
namespace {

std::uint64_t NextSerial() {
  static std::uint64_t last = 0;
  return ++last;
}

std::vector<HistoryStep>& StepsOf(History& history, HistoryWay way) {
  return way == HistoryWay::undo ? history.undo : history.redo;
}

std::uint64_t BytesOf(const std::vector<HistoryStep>& steps) {
  std::uint64_t bytes = 0;
  for (const HistoryStep& step : steps) bytes += BytesOf(*step.image);
  return bytes;
}

// The steps that hold the oldest one; it stands first in them.
std::vector<HistoryStep>* OldestOf(std::span<History* const> histories) {
  std::vector<HistoryStep>* oldest = nullptr;
  for (History* const history : histories) {
    for (std::vector<HistoryStep>* const steps : {&history->undo, &history->redo}) {
      if (steps->empty()) continue;
      if (!oldest || steps->front().serial < oldest->front().serial) oldest = steps;
    }
  }
  return oldest;
}

}  // namespace

std::uint64_t BytesOf(const ImageRecord& image) {
  return std::uint64_t{4} * image.pixelCount;
}

void Remember(History& history, ImageGuard before, bool edited) {
  history.redo.clear();
  KeepStep(history, HistoryWay::undo, std::move(before), edited);
}

std::optional<HistoryStep> TakeStep(History& history, HistoryWay way) {
  std::vector<HistoryStep>& steps = StepsOf(history, way);
  if (steps.empty()) return std::nullopt;
  HistoryStep step = std::move(steps.back());
  steps.pop_back();
  return step;
}

void KeepStep(History& history, HistoryWay way, ImageGuard image, bool edited) {
  StepsOf(history, way).push_back({std::move(image), edited, NextSerial()});
}

void MarkAllEdited(History& history) {
  for (HistoryStep& step : history.undo) step.edited = true;
  for (HistoryStep& step : history.redo) step.edited = true;
}

void Trim(std::span<History* const> histories, std::uint64_t most) {
  std::uint64_t bytes = 0;
  for (const History* const history : histories) {
    bytes += BytesOf(history->undo) + BytesOf(history->redo);
  }
  while (bytes > most) {
    std::vector<HistoryStep>* const oldest = OldestOf(histories);
    bytes -= BytesOf(*oldest->front().image);
    oldest->erase(oldest->begin());
  }
}

}  // namespace imx
