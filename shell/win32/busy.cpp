#include "shell/win32/busy.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace imx {
namespace {

struct Deferred {
  HWND window;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;

  bool operator==(const Deferred&) const = default;
};

constexpr std::size_t kMostDeferred = 256;

int busyDepth = 0;
std::vector<Deferred> deferred;

}  // namespace

BusyScope::BusyScope() {
  ++busyDepth;
}

BusyScope::~BusyScope() {
  --busyDepth;
}

bool IsBusy() {
  return busyDepth > 0;
}

bool DeferWhileBusy(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (!IsBusy()) return false;
  const Deferred entry = {window, message, wParam, lParam};
  const bool known = std::find(deferred.begin(), deferred.end(), entry) != deferred.end();
  if (!known && deferred.size() < kMostDeferred) deferred.push_back(entry);
  return true;
}

bool AnythingDeferred() {
  return !deferred.empty();
}

void PostDeferred() {
  for (const Deferred& entry : std::exchange(deferred, {})) {
    PostMessageA(entry.window, entry.message, entry.wParam, entry.lParam);
  }
}

void DropDeferred() {
  deferred.clear();
}

}  // namespace imx
