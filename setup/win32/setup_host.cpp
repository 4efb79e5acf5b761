#include "setup/win32/setup_host.h"

#include "resources/resource_ids.h"
#include "shell/win32/progress_window.h"

// After the base header.
#include <shellapi.h>

namespace imx {
namespace {

bool showPage(void* context, Page page) {
  SetupHost& host = hostOf(context);
  const bool answered = showDialog(host, host.mainWindow, page);
  // The dialog's end brings its owner up, in front of a progress display.
  if (HWND progress = ProgressWindow()) SetActiveWindow(progress);
  return answered;
}

void clearStopRequest(void*) {
  ClearStopRequest();
}

void tell(void*, const char* line) {
  writeToConsole(std::string(line) + "\r\n");
}

void showText(void* context, const char* text) {
  if (writeToConsole(std::string(text) + "\r\n")) return;
  MessageBoxA(hostOf(context).mainWindow, text, "Quillmark Installer", MB_ICONINFORMATION);
}

void exploreFolder(void* context, const char* folder) {
  ShellExecuteA(hostOf(context).mainWindow, "explore", folder, nullptr, "", SW_SHOWMINNOACTIVE);
}

void showMainWindow(void* context) {
  ShowWindow(hostOf(context).mainWindow, SW_SHOW);
}

void sendExit(void* context) {
  SendMessageA(hostOf(context).mainWindow, WM_COMMAND, ID_EXIT, 0);
}

}  // namespace

void fillPlatform(SetupHost& host) {
  Platform& platform = host.platform;
  platform = {};
  platform.context = &host;
  fillFileFunctions(platform);
  fillSystemFunctions(platform);
  fillRegistrationFunctions(platform);
  platform.showPage = showPage;
  platform.tell = tell;
  platform.showText = showText;
  platform.clearStopRequest = clearStopRequest;
  platform.exploreFolder = exploreFolder;
  platform.showMainWindow = showMainWindow;
  platform.sendExit = sendExit;
}

}  // namespace imx
