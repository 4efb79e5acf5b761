#include "cli/batch_progress.h"

#include <cstdio>

#include "cli/console.h"
#include "cli/host.h"

namespace imx {
namespace {

constexpr std::chrono::milliseconds kBetweenShows{100};
constexpr std::chrono::seconds kBetweenSamples{1};
constexpr std::size_t kMostSamples = 15;

/// "0:07", "12:34", "3:04:05".
std::string Duration(double seconds) {
  const auto whole = static_cast<std::uint64_t>(seconds + 0.5);
  const auto hours = static_cast<unsigned>(whole / 3600);
  const auto minutes = static_cast<unsigned>(whole / 60 % 60);
  const auto rest = static_cast<unsigned>(whole % 60);
  char text[40];
  if (hours > 0) {
    std::snprintf(text, sizeof text, "%u:%02u:%02u", hours, minutes, rest);
  } else {
    std::snprintf(text, sizeof text, "%u:%02u", minutes, rest);
  }
  return text;
}

std::string RateText(double rate) {
  char text[40];
  std::snprintf(text, sizeof text, rate < 10 ? "%.1f/s" : "%.0f/s", rate);
  return text;
}

}  // namespace

std::string ProgressText(const BatchCounts& counts, double rate, int columns) {
  const auto room = static_cast<std::size_t>(columns > 0 ? columns : 0);
  const std::uint64_t total = counts.total;
  std::string text = std::to_string(counts.over()) + " of " + std::to_string(total);
  if (text.size() > room) {
    text = std::to_string(total > 0 ? counts.over() * 100 / total : 100) + "%";
    return text.substr(0, room);
  }
  const auto add = [&](const std::string& part) {
    if (text.size() + 2 + part.size() <= room) text += ", " + part;
  };
  add(std::to_string(counts.failed) + " failed");
  if (rate > 0) {
    const std::uint64_t left = total - counts.over();
    add(Duration(static_cast<double>(left) / rate) + " left");
    add(RateText(rate));
  }
  static constexpr std::string_view kTitle = "Converting ";
  return text.size() + kTitle.size() <= room ? std::string(kTitle) + text : text;
}

std::string SummaryText(const BatchCounts& counts, double seconds) {
  std::string text = std::to_string(counts.done) + " done, " + std::to_string(counts.skipped) +
                     " skipped, " + std::to_string(counts.failed) + " failed in " +
                     Duration(seconds);
  if (seconds > 0) text += " (" + RateText(static_cast<double>(counts.over()) / seconds) + ")";
  return text;
}

bool BatchProgress::IsTime() {
  if (!StatusIsShown()) return false;
  const Clock::time_point now = Clock::now();
  if (now - shown_ < kBetweenShows) return false;
  shown_ = now;
  return true;
}

double BatchProgress::Rate(std::uint64_t over) {
  const Clock::time_point now = Clock::now();
  if (samples_.empty()) samples_.push_back({start_, 0});
  const Sample first = samples_.front();
  if (now - samples_.back().at >= kBetweenSamples) samples_.push_back({now, over});
  if (samples_.size() > kMostSamples) samples_.pop_front();
  const double seconds = std::chrono::duration<double>(now - first.at).count();
  return seconds > 0 ? static_cast<double>(over - first.over) / seconds : 0;
}

void BatchProgress::ShowFound(std::uint64_t found) {
  if (!IsTime()) return;
  const std::string text = std::to_string(found) + " found";
  ShowStatus(std::string_view(text).substr(0, static_cast<std::size_t>(TerminalColumns() - 1)));
}

void BatchProgress::Show(const BatchCounts& counts) {
  if (IsTime()) ShowStatus(ProgressText(counts, Rate(counts.over()), TerminalColumns() - 1));
}

double BatchProgress::Seconds() const {
  return std::chrono::duration<double>(Clock::now() - start_).count();
}

}  // namespace imx
