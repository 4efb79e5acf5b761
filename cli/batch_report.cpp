#include "cli/batch_report.h"

#include <cerrno>
#include <cmath>
#include <cstring>

#include "cli/json.h"

namespace imx {

bool BatchReport::Open(const std::string& name, std::string* reason) {
  if (name.empty()) return true;
  if (name != "-") opened_.reset(std::fopen(name.c_str(), "wb"));
  to_ = name == "-" ? stdout : opened_.get();
  if (!to_) *reason = std::strerror(errno);
  return to_ != nullptr;
}

void BatchReport::Add(const BatchItem& item, const ItemOutcome& outcome) {
  if (!to_) return;
  static constexpr const char* kNames[] = {"done", "skipped", "failed"};
  nlohmann::ordered_json object;
  object["input"] = item.input;
  object["output"] = item.frames == 0 ? item.output : FrameOutput(item.output, 0);
  object["status"] = kNames[static_cast<int>(outcome.status)];
  object["message"] = outcome.message;
  object["seconds"] = std::round(outcome.seconds * 1e6) / 1e6;
  object["bytes"] = outcome.bytes;
  if (item.frames > 0) object["frames"] = item.frames;
  PrintJsonLine(object, to_);
  std::fflush(to_);
}

bool BatchReport::Close(std::string* reason) {
  if (!opened_) return true;  // standard output is closed by the program
  const bool failed = std::ferror(opened_.get()) != 0;
  const bool closed = std::fclose(opened_.release()) == 0;
  if (closed && !failed) return true;
  *reason = std::strerror(errno);
  return false;
}

}  // namespace imx
