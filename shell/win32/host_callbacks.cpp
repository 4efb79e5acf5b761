#include "shell/win32/host_callbacks.h"

#include "imagelib/host.h"
#include "shell/win32/dialogs.h"
#include "shell/win32/image_window.h"
#include "shell/win32/progress_window.h"
#include "shell/win32/shell_state.h"

namespace imx {
namespace {

const ProgressRequest& Request(void* argument) {
  return *static_cast<const ProgressRequest*>(argument);
}

int Begin(void* argument, bool abortable) {
  const ProgressRequest& request = Request(argument);
  BeginShellProgress(reinterpret_cast<const char*>(request.first), request.total, abortable);
  return 0;
}

int OnMessage(void* text) {
  ShowBox(static_cast<const char*>(text), "SA Program Message", MB_ICONINFORMATION);
  return 0;
}

int OnError(void* text) {
  ShowBox(static_cast<const char*>(text), "SA Program Error", MB_ICONSTOP);
  return 0;
}

int OnProgressBegin(void* request) {
  return Begin(request, false);
}

int OnProgressBeginAbortable(void* request) {
  return Begin(request, true);
}

int OnProgressUpdate(void* request) {
  UpdateShellProgress(static_cast<int>(Request(request).first));
  return 0;
}

int OnProgressUpdateAbort(void* request) {
  OnProgressUpdate(request);
  return StopRequested() ? 1 : 0;
}

int OnProgressStep(void*) {
  StepShellProgress();
  return 0;
}

int OnProgressStepAbort(void*) {
  StepShellProgress();
  return StopRequested() ? 1 : 0;
}

int OnProgressEnd(void*) {
  EndShellProgress();
  return 0;
}

bool ShowImage(const char* name, ImageRecord* image) {
  return OpenImageWindow(name, image) != nullptr;
}

void ShowNote(const char* text) {
  ShowBox(text, "Note!", MB_ICONINFORMATION);
}

}  // namespace

void InstallHostCallbacks(HWND mainWindow, HINSTANCE instance) {
  Host() = {
      .message = OnMessage,
      .error = OnError,
      .progressBegin = OnProgressBegin,
      .progressUpdate = OnProgressUpdate,
      .progressEnd = OnProgressEnd,
      .progressStep = OnProgressStep,
      .progressBeginAbortable = OnProgressBeginAbortable,
      .progressStepAbort = OnProgressStepAbort,
      .progressUpdateAbort = OnProgressUpdateAbort,
  };
  Services() = {
      .showImage = ShowImage,
      .note = ShowNote,
      .mainWindow = mainWindow,
      .instance = instance,
  };
}

int ShowBox(const char* text, const char* title, UINT style) {
  const DialogScope scope;
  return MessageBoxA(Shell().mainWindow, text ? text : "", title, style);
}

}  // namespace imx
