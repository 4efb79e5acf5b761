#include "viewer/win32/quiet_load.h"

#include "shell/win32/progress_window.h"

namespace imx {
namespace {

std::string said;  // first by the library

int Keep(void* text) {
  if (said.empty() && text) said = static_cast<const char*>(text);
  return 0;
}

void KeepNote(const char* text) {
  if (said.empty() && text) said = text;
}

// The host's own functions come back at its end.
class QuietHost {
 public:
  QuietHost(bool showProgress, HostFunction stop) : host_(Host()), services_(Services()) {
    said.clear();
    if (!showProgress) {
      Host() = {};
      Host().progressStepAbort = stop;
      Host().progressUpdateAbort = stop;
    }
    Host().message = Keep;
    Host().error = Keep;
    Services().note = KeepNote;
  }
  ~QuietHost() {
    Host() = host_;
    Services().note = services_.note;
  }
  QuietHost(const QuietHost&) = delete;
  QuietHost& operator=(const QuietHost&) = delete;

 private:
  HostCallbacks host_;
  HostServices services_;
};

}  // namespace

ShortWork::ShortWork(std::uint64_t bytes) {
  constexpr std::uint64_t kShort = std::uint64_t{16} << 20;
  SuppressProgress(bytes <= kShort);
}

ShortWork::~ShortWork() {
  SuppressProgress(false);
}

LoadResult LoadQuietly(const std::string& path, const LoadChoices& choices, bool showProgress,
                       HostFunction stop) {
  const QuietHost quiet(showProgress, stop);
  LoadResult result = Load(path.c_str(), choices);
  if (!result.image && !said.empty()) result.reason = said;
  return result;
}

}  // namespace imx
