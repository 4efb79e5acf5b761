/// The setup program on the real system: its platform table and its dialogs.
#pragma once

#include <string>
#include <vector>

#include "imagelib/windows_api.h"
#include "setup/core/install_settings.h"
#include "setup/core/platform.h"
#include "setup/core/wizard_pages.h"

struct IMalloc;

namespace imx {

/// What the platform's functions get as their context.
struct SetupHost {
  HWND mainWindow;
  HINSTANCE instance;
  IMalloc* shellAllocator;  ///< null until obtained; never released, it is the process's own
  InstallSettings settings;
  Platform platform;
  DWORD lastError;  ///< of the last file function that failed
};

/// The program's arguments in its code page, without its name.
std::vector<std::string> programArguments();

/// Writes to standard error; where the program has none, to the console that started it. False when
/// there is neither.
bool writeToConsole(const std::string& text);

/// Fills host.platform. `host` must stay where it is.
void fillPlatform(SetupHost& host);

// The table's parts.
void fillFileFunctions(Platform& platform);
void fillSystemFunctions(Platform& platform);
void fillRegistrationFunctions(Platform& platform);
ResultCode makeShellLink(const char* target, const char* linkFile, const char* description);

/// Shows one of the wizard's dialogs over `owner` to its end. False when it could not be shown or
/// was destroyed unanswered.
bool showDialog(SetupHost& host, HWND owner, Page page);

/// Lets the user pick a folder. False, leaving `directory` alone, when none is picked.
bool pickFolder(const SetupHost& host, HWND owner, const char* title, PathText& directory);

inline SetupHost& hostOf(void* context) {
  return *static_cast<SetupHost*>(context);
}

}  // namespace imx
