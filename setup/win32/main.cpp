// setup.exe: the installation wizard of the Glimmerix suite on the shell's main window, or what its
// arguments ask for.
#include "imagelib/host.h"
#include "setup/core/setup_run.h"
#include "setup/win32/setup_host.h"
#include "shell/win32/entry.h"
#include "shell/win32/progress_window.h"

namespace {

imx::SetupHost host = {};
imx::SetupArguments arguments;
imx::SetupStatus status = imx::kAllDone;

int tellOnConsole(void* text) {
  host.platform.tell(&host, static_cast<const char*>(text));
  return 0;
}

// Nothing waits for anybody, the system's own boxes included.
void showNoBoxes() {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  imx::Host().message = tellOnConsole;
  imx::Host().error = tellOnConsole;
  if (arguments.verySilent) imx::SuppressProgress(true);
}

void runOn(HWND mainWindow, HINSTANCE instance) {
  host.mainWindow = mainWindow;
  host.instance = instance;
  imx::fillPlatform(host);
  if (imx::isUnattended(arguments)) showNoBoxes();
  status = imx::runSetup(host.platform, host.settings, arguments);
  if (!imx::isWizard(arguments) || status != imx::kAllDone) host.platform.sendExit(&host);
}

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, char*, int) {
  arguments = imx::parseArguments(imx::programArguments());
  imx::ShellProgram program = {};
  program.className = "QMK Install";
  program.windowTitle = "Quillmark Installer";
  program.afterStart = runOn;
  program.hidden = !imx::isWizard(arguments);
  const int ended = imx::RunShell(instance, program);
  return ended != 0 ? ended : status;
}
