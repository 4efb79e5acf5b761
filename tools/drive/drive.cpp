/// Presses the buttons of the setup program's default installation, printing what every dialog says
/// and leaving a picture of each.
///
///   drive.exe --setup SETUP.EXE --pictures DIR
///
/// The setup program starts in the driver's own current directory, which is to be the medium. The
/// exit status is 0 when it installed, said so, and ended with nothing to report.

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>

#include "resources/wizard_ids.h"
#include "setup/core/wizard_pages.h"
#include "tools/drive/screen_picture.h"
#include "tools/drive/window_driver.h"

namespace imx {

namespace {

constexpr DWORD kWholeRunMilliseconds = 120'000;
constexpr DWORD kDialogMilliseconds = 30'000;
constexpr DWORD kPaintMilliseconds = 250;

struct Arguments {
  std::string setup;
  std::string pictures;
};

/// The button that goes on from the page with this title; 0 for none of an untroubled installation.
int WayOn(const std::string& title) {
  if (title == pageTitle(Page::finished)) return IDC_OK;
  return std::any_of(std::begin(kCourse), std::end(kCourse),
                     [&](Page page) { return title == pageTitle(page); })
             ? IDC_NEXT
             : 0;
}

struct Run {
  Arguments arguments;
  DrivenProgram program;
  DWORD start;
  int pictures = 0;
  bool finished = false;
  bool faulty = false;
};

bool TimeLeft(const Run& run) {
  return GetTickCount() - run.start < kWholeRunMilliseconds;
}

void Fail(Run& run, const std::string& problem) {
  std::printf("FAULT: %s\n", problem.c_str());
  run.faulty = true;
}

/// "NN-title.png", the title in lower case with hyphens between its words.
std::string PictureName(int number, const std::string& title) {
  std::string name = (number < 10 ? "0" : "") + std::to_string(number) + "-";
  for (const char c : title) {
    if (std::isalnum(static_cast<unsigned char>(c))) {
      name += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    } else if (name.back() != '-') {
      name += '-';
    }
  }
  while (name.back() == '-') name.pop_back();
  return name + ".png";
}

void TakePicture(Run& run, const std::string& title) {
  const std::string path = run.arguments.pictures + "\\" + PictureName(++run.pictures, title);
  if (!SaveScreen(path)) Fail(run, "cannot write " + path);
}

void PrintIndented(const std::string& text) {
  std::fputs("    ", stdout);
  for (const char c : text) {
    if (c == '\r') continue;
    std::putchar(c);
    if (c == '\n') std::fputs("    ", stdout);
  }
  std::putchar('\n');
}

void PrintDialog(HWND dialog, const std::string& title) {
  std::printf("\n[%s]\n", title.c_str());
  for (const ControlText& control : ReadControls(dialog)) {
    if (control.text.empty()) continue;
    const bool checked = control.checked;
    PrintIndented(control.text + (checked ? " [x]" : "") + (control.enabled ? "" : " (disabled)"));
  }
}

/// Presses the way on. A dialog that is no page of an untroubled installation is closed as a fault.
void AnswerDialog(Run& run, HWND dialog, const std::string& title) {
  const int button = WayOn(title);
  if (button == 0) {
    Fail(run, "unexpected dialog \"" + title + "\"");
    if (!Press(dialog, IDC_OK)) PostMessageA(dialog, WM_CLOSE, 0, 0);
    return;
  }
  run.finished = run.finished || title == pageTitle(Page::finished);
  if (!Press(dialog, button)) {
    Fail(run, "the way on is disabled in \"" + title + "\"");
    PostMessageA(dialog, WM_CLOSE, 0, 0);
  }
}

/// Waits until the bar in the upper half of the progress window has grown to a quarter of its
/// width.
void WaitForBar(HWND window) {
  RECT client;
  if (!GetClientRect(window, &client)) return;
  POINT spot{client.right / 4, client.bottom / 4};
  ClientToScreen(window, &spot);
  const HDC screen = GetDC(nullptr);
  const DWORD start = GetTickCount();
  while (IsWindow(window) && GetPixel(screen, spot.x, spot.y) != RGB(255, 255, 255) &&
         GetTickCount() - start < kDialogMilliseconds) {
    Sleep(1);
  }
  ReleaseDC(nullptr, screen);
}

/// The progress window, stopped while its picture is taken: the copying is short.
void WatchCopying(Run& run) {
  const HWND window = WaitForWindowOfClass(run.program, "KZ_prgz_clazz", kDialogMilliseconds);
  if (!window) {
    Fail(run, "no progress window while copying");
    return;
  }
  WaitForBar(window);
  SuspendThread(run.program.thread);
  if (IsWindow(window)) TakePicture(run, "copying files");
  ResumeThread(run.program.thread);
}

void DriveDialogs(Run& run) {
  HWND previous = nullptr;
  while (TimeLeft(run)) {
    const HWND dialog = WaitForDialog(run.program, previous, kDialogMilliseconds);
    if (!dialog) return;
    Sleep(kPaintMilliseconds);
    const std::string title = WindowText(dialog);
    PrintDialog(dialog, title);
    TakePicture(run, title);
    AnswerDialog(run, dialog, title);
    if (title == pageTitle(Page::storage)) WatchCopying(run);
    std::fflush(stdout);
    previous = dialog;
  }
}

bool ParseArguments(int count, char** values, Arguments* arguments) {
  for (int i = 1; i + 1 < count; i += 2) {
    if (std::strcmp(values[i], "--setup") == 0) {
      arguments->setup = values[i + 1];
    } else if (std::strcmp(values[i], "--pictures") == 0) {
      arguments->pictures = values[i + 1];
    } else {
      return false;
    }
  }
  return count == 5 && !arguments->setup.empty() && !arguments->pictures.empty();
}

int DriveSetup(const Arguments& arguments) {
  const FramesOfWine frames(arguments.setup);
  Run run{arguments, {}, GetTickCount()};
  if (!StartProgram(arguments.setup, "", &run.program)) {
    std::printf("FAULT: cannot start %s\n", arguments.setup.c_str());
    return 1;
  }
  if (!WaitForWindowOfClass(run.program, "QMK Install", kDialogMilliseconds)) {
    Fail(run, "the main window did not open");
  }
  DriveDialogs(run);
  DWORD status = 0;
  if (!WaitForEnd(run.program, kDialogMilliseconds, &status)) {
    Fail(run, "the setup program does not end");
  } else if (status != 0) {
    Fail(run, "the setup program ended with status " + std::to_string(status));
  }
  if (!run.finished)
    Fail(run, std::string("\"") + pageTitle(Page::finished) + "\" was not reached");
  EndProgram(&run.program);
  std::printf("\n%s\n", run.faulty ? "The installation went wrong." : "Installed.");
  return run.faulty ? 1 : 0;
}

}  // namespace

}  // namespace imx

int main(int count, char** values) {
  imx::Arguments arguments;
  if (!imx::ParseArguments(count, values, &arguments)) {
    std::fputs("Usage: drive.exe --setup SETUP.EXE --pictures DIR\n", stderr);
    return 2;
  }
  return imx::DriveSetup(arguments);
}
