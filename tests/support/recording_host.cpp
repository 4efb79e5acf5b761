#include "tests/support/recording_host.h"

namespace imx::test {
namespace {

RecordingHost* current = nullptr;

int Begin(void* argument, bool abortable) {
  const auto& request = *static_cast<const ProgressRequest*>(argument);
  // A begin call carries the title's address as a number.
  const auto* title =
      reinterpret_cast<const char*>(request.first);  // NOLINT(performance-no-int-to-ptr)
  current->progress.push_back({title, request.total, request.extra, abortable, {}});
  return 0;
}

void Move(std::int32_t position) {
  if (!current->progress.empty()) current->progress.back().positions.push_back(position);
}

int Update(void* argument) {
  Move(static_cast<std::int32_t>(static_cast<const ProgressRequest*>(argument)->first));
  return 0;
}

int Step(void*) {
  if (current->progress.empty()) return 0;
  const auto& positions = current->progress.back().positions;
  Move(positions.empty() ? 1 : positions.back() + 1);
  return 0;
}

int StopAnswer() {
  if (current->abortableCalls++ == current->stopAt) current->stopPressed = true;
  return current->stopPressed ? 1 : 0;
}

int End(void*) {
  current->progressEnds += 1;
  current->stopPressed = false;
  return 0;
}

int Text(std::vector<std::string>& list, void* argument) {
  list.emplace_back(static_cast<const char*>(argument));
  return 0;
}

}  // namespace

RecordingHost::RecordingHost() {
  current = this;
  Host() = {
      .message = [](void* text) { return Text(current->messages, text); },
      .error = [](void* text) { return Text(current->errors, text); },
      .progressBegin = [](void* request) { return Begin(request, false); },
      .progressUpdate = Update,
      .progressEnd = End,
      .progressStep = Step,
      .progressBeginAbortable = [](void* request) { return Begin(request, true); },
      .progressStepAbort = [](void* unused) { return Step(unused) | StopAnswer(); },
      .progressUpdateAbort = [](void* request) { return Update(request) | StopAnswer(); },
  };
  Services() = {};
  Services().note = [](const char* text) { current->notes.emplace_back(text); };
}

RecordingHost::~RecordingHost() {
  Host() = {};
  Services() = {};
  current = nullptr;
}

}  // namespace imx::test
