#include "cli/host.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "cli/console.h"
#include "cli/workers.h"
#include "imagelib/host.h"

namespace imx {
namespace {

constexpr int kTitleWidth = 30;
constexpr int kBarWidth = 30;
constexpr int kBarFrame = 9;  // " [", "] 100%" and a column of air

/// The bar on the terminal.
struct ProgressBar {
  bool wanted = false;  ///< standard error is a terminal and nobody asked for quiet
  bool shown = false;
  int shownWidth = 0;
  char title[kTitleWidth + 1] = "";
  std::int32_t total = 0;
  std::int32_t position = 0;
  std::int64_t drawnPercent = -1;
};

ProgressBar bar;
bool quietHost = false;
bool inWorker = false;
FileScope* innermost = nullptr;
std::int32_t faultsShown = 0;

// Errors that one file can bring are few in kind but not in number.
constexpr std::size_t kMostKeptErrors = 4;

void EraseBar() {
  if (!bar.shown) return;
  std::fprintf(stderr, "\r%*s\r", bar.shownWidth, "");
  bar.shown = false;
  bar.drawnPercent = -1;
}

void DrawBar() {
  if (!bar.wanted) return;
  const std::int64_t done = std::clamp<std::int64_t>(bar.position, 0, bar.total);
  const std::int64_t percent = bar.total > 0 ? done * 100 / bar.total : 100;
  if (percent == bar.drawnPercent) return;
  static constexpr char kMarks[] = "##############################";
  static_assert(sizeof kMarks == kBarWidth + 1);
  // On a narrow terminal first the bar shrinks and then the title; a line never wraps.
  const int spare = std::max(0, TerminalColumns() - 1 - kBarFrame);
  const int title = std::min(kTitleWidth, spare);
  const int width = std::min(kBarWidth, spare - title);
  const auto filled = static_cast<int>(percent * width / 100);
  bar.shownWidth = std::fprintf(stderr, "\r%-*.*s [%-*.*s] %3d%%", title, title, bar.title, width,
                                filled, kMarks, static_cast<int>(percent)) -
                   1;
  std::fflush(stderr);
  bar.shown = true;
  bar.drawnPercent = percent;
}

const char* Text(const void* argument) {
  return static_cast<const char*>(argument);
}

std::int32_t Position(const void* argument) {
  return static_cast<std::int32_t>(static_cast<const ProgressRequest*>(argument)->first);
}

char Shown(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < ' ' || byte == 0x7F ? '?' : c;
}

/// A line that goes to standard error in one piece, a very long one in a few; a worker's goes to
/// the process that has started it.
class ErrorLine {
 public:
  ErrorLine() {
    if (inWorker) {
      Put(kRecordMessage);
    } else {
      Add("imx: ");
    }
  }
  void Add(std::string_view text) {
    for (const char c : text) Put(Shown(c));
  }
  void End() {
    Put(inWorker ? '\0' : '\n');
    Flush();
    if (inWorker) std::fflush(stdout);
  }

 private:
  void Put(char c) {
    if (size_ == sizeof text_) Flush();
    text_[size_++] = c;
  }
  void Flush() {
    std::fwrite(text_, 1, size_, inWorker ? stdout : stderr);
    size_ = 0;
  }

  char text_[2048];
  std::size_t size_ = 0;
};

std::string_view CurrentFile() {
  return innermost ? innermost->file() : std::string_view();
}

int Message(void* argument) {
  if (!quietHost) ReportFailure(CurrentFile(), Text(argument));
  return 0;
}

int Error(void* argument) {
  const char* text = Text(argument);
  // The program's own faults are no file's, and nobody may take them.
  const bool isFault = GetMemoryCounters().faults != faultsShown;
  faultsShown = GetMemoryCounters().faults;
  const bool kept = !isFault && innermost && innermost->Keep(text);
  if (!kept) ReportFailure(CurrentFile(), text);
  return 0;
}

void Note(const char* text) {
  LibError(text);
}

int BeginProgress(void* argument) {
  const auto* request = static_cast<const ProgressRequest*>(argument);
  std::snprintf(bar.title, sizeof bar.title, "%s", reinterpret_cast<const char*>(request->first));
  for (char& c : bar.title) c = c ? Shown(c) : c;
  bar.total = request->total;
  bar.position = 0;
  bar.drawnPercent = -1;
  DrawBar();
  return 0;
}

int UpdateProgress(void* argument) {
  bar.position = Position(argument);
  DrawBar();
  return Interrupted() ? 1 : 0;
}

int StepProgress(void* /*argument*/) {
  bar.position += 1;
  DrawBar();
  return Interrupted() ? 1 : 0;
}

int EndProgress(void* /*argument*/) {
  EraseBar();
  return 0;
}

}  // namespace

void InstallHost(bool quiet, bool asWorker) {
  quietHost = quiet;
  inWorker = asWorker;
  bar.wanted = !quiet && !asWorker && StandardErrorIsTerminal();
  Host() = {Message,      Error,         BeginProgress, UpdateProgress, EndProgress,
            StepProgress, BeginProgress, StepProgress,  UpdateProgress};
  Services().note = Note;
}

bool StatusIsShown() {
  return bar.wanted;
}

void ShowStatus(std::string_view text) {
  if (!bar.wanted) return;
  const auto width = static_cast<int>(text.size());
  const int rest = bar.shown ? std::max(0, bar.shownWidth - width) : 0;
  std::fprintf(stderr, "\r%.*s%*s", width, text.data(), rest, "");
  std::fflush(stderr);
  bar.shown = true;
  bar.shownWidth = width + rest;
}

void EraseStatus() {
  EraseBar();
}

std::string Printable(const std::string& text) {
  std::string shown = text;
  for (char& c : shown) c = Shown(c);
  return shown;
}

void ReportFailure(std::string_view file, std::string_view what) {
  EraseBar();
  ErrorLine line;
  line.Add(file);
  if (!file.empty()) line.Add(": ");
  line.Add(what);
  line.End();
}

bool FlushOutput() {
  const bool failed = std::ferror(stdout) != 0;
  if (std::fflush(stdout) == 0 && !failed) return true;
  ReportFailure("standard output", std::strerror(errno));
  return false;
}

FileScope::FileScope(const std::string& file) : file_(file), outer_(innermost) {
  innermost = this;
}

FileScope::~FileScope() {
  for (const std::string& text : errors_) ReportFailure(file_, text);
  innermost = outer_;
}

bool FileScope::Keep(std::string_view text) {
  if (errors_.size() >= kMostKeptErrors) return true;
  if (std::find(errors_.begin(), errors_.end(), text) != errors_.end()) return true;
  return WithinMemory([&] { return errors_.emplace_back(text), true; }, false);
}

std::string FileScope::TakeErrors() {
  std::string all;
  for (const std::string& text : errors_) all.append(all.empty() ? "" : "; ").append(text);
  errors_.clear();
  return all;
}

}  // namespace imx
