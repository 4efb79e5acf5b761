// setup.exe: the installation wizard of the Glimmerix suite on the shell's main window.
#include "setup/core/wizard.h"
#include "setup/win32/setup_host.h"
#include "shell/win32/entry.h"

namespace {

void runWizardOn(HWND mainWindow, HINSTANCE instance) {
  static imx::SetupHost host = {};
  host.mainWindow = mainWindow;
  host.instance = instance;
  imx::fillPlatform(host);
  imx::runWizard(host.platform, host.settings);
}

}  // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, char*, int) {
  imx::ShellProgram program = {};
  program.className = "QMK Install";
  program.windowTitle = "Quillmark Installer";
  program.afterStart = runWizardOn;
  return imx::RunShell(instance, program);
}
