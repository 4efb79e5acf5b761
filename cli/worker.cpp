#include <charconv>
#include <cstdio>

#include "cli/console.h"
#include "cli/host.h"
#include "cli/processes.h"
#include "cli/workers.h"
#include "formats/codec_state.h"
#include "imagelib/system_files.h"
#include "render/render.h"

namespace imx {
namespace {

/// False at the end of standard input.
bool ReadText(std::string* text) {
  text->clear();
  int c;
  while ((c = std::getc(stdin)) > 0) text->push_back(static_cast<char>(c));
  return c == 0;
}

bool ReadItem(BatchItem* item) {
  std::string frames;
  if (!ReadText(&item->input) || item->input.empty()) return false;
  if (!ReadText(&item->output) || !ReadText(&frames)) return false;
  std::from_chars(frames.data(), frames.data() + frames.size(), item->frames);
  return true;
}

}  // namespace

void ServeItems(const std::function<ItemStatus(const BatchItem&)>& convert) {
  EndWithParent();
  for (BatchItem item; !Interrupted() && ReadItem(&item);) {
    const ItemStatus status = convert(item);
    std::putc(kRecordEnd, stdout);
    std::putc('0' + static_cast<int>(status), stdout);
    std::putc('\0', stdout);
    std::fflush(stdout);
  }
}

void TellSaved(const std::string& output) {
  std::printf("%c%llu %s%c", kRecordSaved, static_cast<unsigned long long>(FileSize(output)),
              output.c_str(), '\0');
}

void TellFacts(const std::string& facts) {
  std::printf("%c%s%c", kRecordFacts, facts.c_str(), '\0');
}

ItemStatus DoAsFirst(const std::string& input, const std::function<int()>& work) {
  ResetRenderer();
  ResetCodecState();
  const std::int32_t faultsBefore = GetMemoryCounters().faults;
  const int status = ReportingOutOfMemory(input, work);
  const bool isDone = status == kDone && GetMemoryCounters().faults == faultsBefore;
  return isDone ? ItemStatus::done : ItemStatus::failed;
}

}  // namespace imx
