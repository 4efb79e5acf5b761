#include "api/call.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <new>
#include <string_view>

#include "dispatch/load.h"
#include "dispatch/operation_text.h"
#include "imagelib/copy_image.h"
#include "imagelib/host.h"
#include "imagelib/memory_edge.h"

namespace imx::api {
namespace {

/// Texts that came one after the other, as far as a report has room for them.
struct Texts {
  char text[sizeof imx_report::text] = "";

  void Add(std::string_view more) {
    const std::string_view before = text;
    if (before.find(more) != std::string_view::npos) return;
    Append(before.empty() ? "" : "; ");
    Append(more);
  }
  void Append(std::string_view more) {
    const std::size_t used = std::strlen(text);
    const std::size_t length = std::min(more.size(), sizeof text - 1 - used);
    std::memcpy(text + used, more.data(), length);
    text[used + length] = '\0';
  }
};

/// The one call that is under way.
struct CallState {
  Listener listener;
  bool stopped = false;
  Texts errors;
  Texts notes;
  const char* title = "";
  std::int32_t position = 0;
  std::int32_t total = 0;
};

std::mutex lock;
CallState call;
thread_local bool isInside = false;

int KeepError(void* text) {
  call.errors.Add(static_cast<const char*>(text));
  return 0;
}

int KeepNote(void* text) {
  call.notes.Add(static_cast<const char*>(text));
  return 0;
}

int Tell() {
  if (!call.listener.progress) return 0;
  // What has asked to stop once is not asked again: some loaders look at the answer later.
  call.stopped = call.stopped || call.listener.progress(call.listener.user, call.title,
                                                        call.position, call.total) != 0;
  return call.stopped ? 1 : 0;
}

int Begin(void* argument) {
  const auto* request = static_cast<const ProgressRequest*>(argument);
  const auto* title =
      reinterpret_cast<const char*>(request->first);  // NOLINT(performance-no-int-to-ptr)
  if (title) call.title = title;
  call.total = request->total;
  call.position = 0;
  return Tell();
}

int Update(void* argument) {
  call.position = static_cast<std::int32_t>(static_cast<const ProgressRequest*>(argument)->first);
  return Tell();
}

int Step(void* /*argument*/) {
  call.position += 1;
  return Tell();
}

/// Has the process to itself, with the library's texts and progress going to one call.
class CallScope {
 public:
  explicit CallScope(const Listener& listener) : guard_(lock) {
    isInside = true;
    call = {};
    call.listener = listener;
    Host() = {KeepNote, KeepError, Begin, Update, nullptr, Step, Begin, Step, Update};
    Services() = {};
  }
  ~CallScope() {
    Host() = {};
    SetImageCeiling(UINT64_MAX);
    isInside = false;
  }
  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;

 private:
  const std::lock_guard<std::mutex> guard_;
};

/// A plug-in may have given the image rows of its own.
bool RowsAreInOrder(const ImageRecord& image) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    if (image.rowOffsets[y] != y * image.width) return false;
  }
  return true;
}

/// Why AllocImage gave nothing.
Outcome RefusedImage() {
  const std::uint64_t bytes = RefusedImageBytes();
  return bytes > 0 ? Outcome{IMX_TOO_LARGE, OversizedText(bytes)}
                   : Outcome{IMX_NO_MEMORY, kOutOfMemory};
}

void Fill(imx_report* report, const Outcome& outcome) {
  if (!report) return;
  imx_report filled = {};
  filled.status = outcome.status;
  filled.frames = outcome.frames;
  Texts text;
  text.Append(outcome.text);
  std::memcpy(filled.text, text.text, sizeof filled.text);
  std::memcpy(filled.note, call.notes.text, sizeof filled.note);
  GiveStructure(filled, report);
}

}  // namespace

imx_status RunCall(imx_report* report, const Listener& listener, Outcome (*work)(void* context),
                   void* context) noexcept {
  if (isInside) {
    Fill(report, {IMX_CALLED_FROM_PROGRESS, "called from a progress function"});
    return IMX_CALLED_FROM_PROGRESS;
  }
  const CallScope scope(listener);
  Outcome outcome;
  try {
    outcome = work(context);
  } catch (const std::bad_alloc&) {
    outcome = {IMX_NO_MEMORY, kOutOfMemory};
  } catch (...) {
    outcome = {IMX_DAMAGED, "library fault"};
  }
  Fill(report, outcome);
  return outcome.status;
}

bool IsStopped() {
  return call.stopped;
}

std::string Errors() {
  return call.errors.text;
}

void AddNote(const std::string& text) {
  call.notes.Add(text);
}

Outcome GiveImage(ImageGuard record, std::int32_t frames, imx_image** image) {
  if (!record) return RefusedImage();
  if (!RowsAreInOrder(*record)) return GiveImage(CopyImage(*record), frames, image);
  *image = new imx_image{std::move(record), frames};
  return {};
}

Outcome FailedOperation(const OperationError& error) {
  constexpr imx_status kStatuses[] = {IMX_OK,        IMX_OUTSIDE,   IMX_NO_PIXELS,
                                      IMX_NO_PIXELS, IMX_TOO_LARGE, IMX_NO_MEMORY};
  static_assert(static_cast<std::size_t>(OperationFault::noMemory) + 1 == std::size(kStatuses));
  return {kStatuses[static_cast<std::size_t>(error.fault)], OperationText(error)};
}

}  // namespace imx::api
