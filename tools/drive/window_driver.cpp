#include "tools/drive/window_driver.h"

#include <cstddef>

namespace imx {

namespace {

constexpr DWORD kPollMilliseconds = 10;
constexpr UINT kAnswerMilliseconds = 5000;
constexpr std::size_t kLongestText = 4096;

const char kDialogClass[] = "#32770";

std::string ClassOf(HWND window) {
  char name[128] = "";
  GetClassNameA(window, name, sizeof name);
  return name;
}

struct WindowSearch {
  DWORD process;
  const char* className;
  std::string title;
  bool mustBeEnabled;
  HWND found;
};

BOOL CALLBACK CheckWindow(HWND window, LPARAM parameter) {
  auto* const search = reinterpret_cast<WindowSearch*>(parameter);
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (process != search->process || !IsWindowVisible(window)) return TRUE;
  if (search->mustBeEnabled && !IsWindowEnabled(window)) return TRUE;
  if (ClassOf(window) != search->className) return TRUE;
  if (!search->title.empty() && !WindowText(window).starts_with(search->title)) return TRUE;
  search->found = window;
  return FALSE;
}

HWND FindTopLevel(const DrivenProgram& program, const char* className, const std::string& title,
                  bool mustBeEnabled) {
  WindowSearch search{program.id, className, title, mustBeEnabled, nullptr};
  EnumWindows(CheckWindow, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

template <typename Find>
HWND PollFor(const DrivenProgram& program, DWORD milliseconds, Find&& find) {
  const DWORD start = GetTickCount();
  do {
    if (const HWND window = find()) return window;
    if (WaitForSingleObject(program.process, kPollMilliseconds) == WAIT_OBJECT_0) return nullptr;
  } while (GetTickCount() - start < milliseconds);
  return nullptr;
}

/// SendMessage that gives up on a program which does not answer.
LRESULT Ask(HWND window, UINT message, WPARAM first = 0, LPARAM second = 0) {
  DWORD_PTR answer = 0;
  if (!SendMessageTimeoutA(window, message, first, second, SMTO_NORMAL, kAnswerMilliseconds,
                           &answer)) {
    return 0;
  }
  return static_cast<LRESULT>(answer);
}

LPARAM Address(const std::string& text) {
  return reinterpret_cast<LPARAM>(text.c_str());
}

BOOL CALLBACK AddControl(HWND window, LPARAM parameter) {
  auto* const controls = reinterpret_cast<std::vector<ControlText>*>(parameter);
  if (!IsWindowVisible(window)) return TRUE;
  ControlText control{GetDlgCtrlID(window), ClassOf(window), WindowText(window),
                      IsWindowEnabled(window) != FALSE, false};
  control.checked = control.className == "Button" && Ask(window, BM_GETCHECK) == BST_CHECKED;
  controls->push_back(control);
  return TRUE;
}

}  // namespace

bool StartProgram(const std::string& path, const std::string& folder, DrivenProgram* program,
                  const std::vector<std::string>& arguments) {
  std::string command = "\"" + path + "\"";
  for (const std::string& argument : arguments) command += " \"" + argument + "\"";
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION information{};
  if (!CreateProcessA(path.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                      folder.empty() ? nullptr : folder.c_str(), &startup, &information)) {
    return false;
  }
  *program = {information.hProcess, information.hThread, information.dwProcessId};
  return true;
}

FramesOfWine::FramesOfWine(const std::string& programPath)
    : programKey_("Software\\Wine\\AppDefaults\\" +
                  programPath.substr(programPath.find_last_of("\\/") + 1)),
      driverKey_(programKey_ + "\\X11 Driver") {
  HKEY key = nullptr;
  if (!GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") ||
      RegCreateKeyExA(HKEY_CURRENT_USER, driverKey_.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr,
                      &key, nullptr) != ERROR_SUCCESS) {
    return;
  }
  const BYTE no[] = "N";
  RegSetValueExA(key, "Managed", 0, REG_SZ, no, sizeof no);
  RegCloseKey(key);
}

FramesOfWine::~FramesOfWine() {
  RegDeleteKeyA(HKEY_CURRENT_USER, driverKey_.c_str());
  RegDeleteKeyA(HKEY_CURRENT_USER, programKey_.c_str());
}

bool WaitForEnd(const DrivenProgram& program, DWORD milliseconds, DWORD* exitCode) {
  return WaitForSingleObject(program.process, milliseconds) == WAIT_OBJECT_0 &&
         GetExitCodeProcess(program.process, exitCode);
}

void EndProgram(DrivenProgram* program) {
  if (!program->process) return;
  if (WaitForSingleObject(program->process, 0) != WAIT_OBJECT_0) {
    TerminateProcess(program->process, 1);
    WaitForSingleObject(program->process, kAnswerMilliseconds);
  }
  CloseHandle(program->thread);
  CloseHandle(program->process);
  *program = {};
}

HWND FindDialog(const DrivenProgram& program) {
  return FindTopLevel(program, kDialogClass, "", true);
}

HWND FindWindowOfClass(const DrivenProgram& program, const char* className) {
  return FindTopLevel(program, className, "", false);
}

HWND WaitForDialog(const DrivenProgram& program, HWND previous, DWORD milliseconds) {
  return PollFor(program, milliseconds, [&]() -> HWND {
    const HWND dialog = FindDialog(program);
    return dialog == previous ? nullptr : dialog;
  });
}

HWND WaitForWindowOfClass(const DrivenProgram& program, const char* className, DWORD milliseconds,
                          const std::string& title) {
  return PollFor(program, milliseconds,
                 [&] { return FindTopLevel(program, className, title, false); });
}

std::string WindowText(HWND window) {
  std::string text(kLongestText, '\0');
  const LRESULT length =
      Ask(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
  text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
  return text;
}

std::vector<ControlText> ReadControls(HWND dialog) {
  std::vector<ControlText> controls;
  EnumChildWindows(dialog, AddControl, reinterpret_cast<LPARAM>(&controls));
  return controls;
}

std::string ControlTextOf(HWND dialog, int id) {
  return WindowText(GetDlgItem(dialog, id));
}

bool IsControlEnabled(HWND dialog, int id) {
  const HWND control = GetDlgItem(dialog, id);
  return control && IsWindowEnabled(control);
}

bool IsControlChecked(HWND dialog, int id) {
  return Ask(GetDlgItem(dialog, id), BM_GETCHECK) == BST_CHECKED;
}

bool SetControlText(HWND dialog, int id, const std::string& text) {
  return Ask(GetDlgItem(dialog, id), WM_SETTEXT, 0, Address(text)) != 0;
}

bool Press(HWND dialog, int id) {
  return IsControlEnabled(dialog, id) && PostMessageA(GetDlgItem(dialog, id), BM_CLICK, 0, 0);
}

bool SelectInDropDown(HWND dialog, int id, const std::string& text) {
  const HWND list = GetDlgItem(dialog, id);
  const LRESULT entry = Ask(list, CB_FINDSTRING, static_cast<WPARAM>(-1), Address(text));
  if (entry < 0 || Ask(list, CB_SETCURSEL, static_cast<WPARAM>(entry)) < 0) return false;
  Ask(dialog, WM_COMMAND, MAKEWPARAM(id, CBN_SELCHANGE), reinterpret_cast<LPARAM>(list));
  return true;
}

bool SelectInListBox(HWND dialog, int id, const std::string& text) {
  return Ask(GetDlgItem(dialog, id), LB_SELECTSTRING, static_cast<WPARAM>(-1), Address(text)) >= 0;
}

}  // namespace imx
