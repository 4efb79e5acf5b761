#include "cli/host.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <vector>

#include "cli/console.h"
#include "imagelib/host.h"

namespace imx {
namespace {

constexpr int kTitleWidth = 30;
constexpr int kBarWidth = 30;
constexpr int kLineWidth = kTitleWidth + kBarWidth + 9;  // "title [bar] 100%"

/// The bar on the terminal.
struct ProgressBar {
  bool wanted = false;  ///< standard error is a terminal and nobody asked for quiet
  bool shown = false;
  std::string title;
  std::int32_t total = 0;
  std::int32_t position = 0;
  std::int64_t drawnPercent = -1;
};

ProgressBar bar;
bool quietHost = false;
bool faultSeen = false;
bool keepErrors = false;
std::string currentFile;
std::vector<std::string> keptErrors;

// Errors that one file can bring are few in kind but not in number.
constexpr std::size_t kMostKeptErrors = 4;

void EraseBar() {
  if (!bar.shown) return;
  std::fprintf(stderr, "\r%*s\r", kLineWidth, "");
  bar.shown = false;
  bar.drawnPercent = -1;
}

void DrawBar() {
  if (!bar.wanted) return;
  const std::int64_t done = std::clamp<std::int64_t>(bar.position, 0, bar.total);
  const std::int64_t percent = bar.total > 0 ? done * 100 / bar.total : 100;
  if (percent == bar.drawnPercent) return;
  const auto filled = static_cast<std::size_t>(percent * kBarWidth / 100);
  const std::string marks = std::string(filled, '#') + std::string(kBarWidth - filled, ' ');
  std::fprintf(stderr, "\r%-*.*s [%s] %3d%%", kTitleWidth, kTitleWidth, bar.title.c_str(),
               marks.c_str(), static_cast<int>(percent));
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

int Message(void* argument) {
  if (!quietHost) ReportFailure(currentFile, Text(argument));
  return 0;
}

/// The allocator's own words, which no file can bring about.
bool IsMemoryFault(std::string_view text) {
  constexpr std::array<std::string_view, 5> kStarts = {"Memory Over-run!!!", "Memory Under-run!!!",
                                                       "attempted free of unknown pointer!",
                                                       "memtot nonzero", "unfreed pointer:"};
  return std::any_of(kStarts.begin(), kStarts.end(),
                     [text](std::string_view start) { return text.starts_with(start); });
}

int Error(void* argument) {
  const std::string text = Text(argument);
  if (IsMemoryFault(text)) {
    faultSeen = true;
    ReportFailure(currentFile, text);
  } else if (!keepErrors) {
    ReportFailure(currentFile, text);
  } else if (keptErrors.size() < kMostKeptErrors &&
             std::find(keptErrors.begin(), keptErrors.end(), text) == keptErrors.end()) {
    keptErrors.push_back(text);
  }
  return 0;
}

void Note(const char* text) {
  LibError(text);
}

int BeginProgress(void* argument) {
  const auto* request = static_cast<const ProgressRequest*>(argument);
  bar.title = Printable(reinterpret_cast<const char*>(request->first));
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

void InstallHost(bool quiet) {
  quietHost = quiet;
  bar.wanted = !quiet && StandardErrorIsTerminal();
  Host() = {Message,      Error,         BeginProgress, UpdateProgress, EndProgress,
            StepProgress, BeginProgress, StepProgress,  UpdateProgress};
  Services().note = Note;
}

std::string Printable(const std::string& text) {
  std::string shown = text;
  for (char& c : shown) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < ' ' || byte == 0x7F) c = '?';
  }
  return shown;
}

void ReportFailure(const std::string& file, const std::string& what) {
  EraseBar();
  const std::string place = file.empty() ? std::string() : Printable(file) + ": ";
  std::fprintf(stderr, "imx: %s%s\n", place.c_str(), Printable(what).c_str());
}

void BeginFile(const std::string& file) {
  currentFile = file;
  keepErrors = true;
  keptErrors.clear();
}

std::string TakeErrors() {
  std::string all;
  for (const std::string& text : keptErrors) all.append(all.empty() ? "" : "; ").append(text);
  keepErrors = false;
  keptErrors.clear();
  return all;
}

bool LibraryIsAtFault() {
  return faultSeen;
}

}  // namespace imx
