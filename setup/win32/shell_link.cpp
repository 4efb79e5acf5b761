#include "setup/win32/setup_host.h"

// After the base header.
#include <objbase.h>
#include <shlobj.h>

namespace imx {
namespace {

/// A COM object that is released at the end of its scope.
template <typename Interface>
class ComPointer {
 public:
  ComPointer() = default;
  ~ComPointer() {
    if (pointer_) pointer_->Release();
  }
  ComPointer(const ComPointer&) = delete;
  ComPointer& operator=(const ComPointer&) = delete;

  void** out() { return reinterpret_cast<void**>(&pointer_); }
  Interface* operator->() const { return pointer_; }

 private:
  Interface* pointer_ = nullptr;
};

HRESULT saveLink(IPersistFile& file, const char* linkFile) {
  WCHAR wide[kPathSize];
  if (!MultiByteToWideChar(CP_ACP, 0, linkFile, -1, wide, kPathSize)) {
    return HRESULT_FROM_WIN32(GetLastError());
  }
  return file.Save(wide, TRUE);
}

}  // namespace

ResultCode makeShellLink(const char* target, const char* linkFile, const char* description) {
  ComPointer<IShellLinkA> link;
  ComPointer<IPersistFile> file;
  HRESULT result =
      CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkA, link.out());
  if (SUCCEEDED(result)) result = link->SetPath(target);
  if (SUCCEEDED(result)) result = link->SetDescription(description);
  if (SUCCEEDED(result)) result = link->QueryInterface(IID_IPersistFile, file.out());
  if (SUCCEEDED(result)) result = saveLink(*file.operator->(), linkFile);
  return result;
}

}  // namespace imx
