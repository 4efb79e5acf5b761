#include "tests/shell/shell_run.h"

#include <utility>

#include "imagelib/memory.h"
#include "resources/resource_ids.h"
#include "shell/win32/image_window.h"

namespace imx::test {
namespace {

constexpr UINT kAnswerEvery = 20;  // milliseconds

std::function<void(HWND)> body;
bool stayOpen = false;
std::vector<AnsweredBox> answered;

void AfterStart(HWND mainWindow, HINSTANCE) {
  body(mainWindow);
  if (!stayOpen && IsWindow(mainWindow)) SendMessageA(mainWindow, WM_COMMAND, ID_EXIT, 0);
}

BOOL CALLBACK CollectText(HWND child, LPARAM text) {
  char kind[20] = "";
  GetClassNameA(child, kind, sizeof kind);
  if (std::string(kind) == "Static") *reinterpret_cast<std::string*>(text) += WindowTitle(child);
  return TRUE;
}

BOOL CALLBACK AnswerBox(HWND window, LPARAM) {
  char kind[20] = "";
  GetClassNameA(window, kind, sizeof kind);
  if (std::string(kind) != "#32770") return TRUE;
  AnsweredBox box = {WindowTitle(window), ""};
  EnumChildWindows(window, CollectText, reinterpret_cast<LPARAM>(&box.text));
  answered.push_back(box);
  SendMessageA(window, WM_COMMAND, IDOK, 0);
  return FALSE;
}

void CALLBACK AnswerBoxes(HWND, UINT, UINT_PTR, DWORD) {
  EnumThreadWindows(GetCurrentThreadId(), AnswerBox, 0);
}

}  // namespace

ShellTest::ShellTest() {
  answered.clear();
}

ShellTest::~ShellTest() {
  for (const AnsweredBox& box : answered) ADD_FAILURE() << box.title << ": " << box.text;
}

int ShellTest::Run(std::function<void(HWND)> inside, bool keepOpen) {
  body = std::move(inside);
  stayOpen = keepOpen;
  const UINT_PTR timer = SetTimer(nullptr, 0, kAnswerEvery, AnswerBoxes);
  ShellProgram program = kTestProgram;
  program.afterStart = AfterStart;
  const int status = RunShell(GetModuleHandleA(nullptr), program);
  KillTimer(nullptr, timer);
  EXPECT_EQ(LiveBlockCount(), 0U);
  return status;
}

std::vector<AnsweredBox> ShellTest::TakeBoxes() {
  return std::exchange(answered, {});
}

void Settle() {
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
}

Rgba ScreenPixel(HWND window, int x, int y) {
  HDC context = GetDC(window);
  const COLORREF colour = GetPixel(context, x, y);
  ReleaseDC(window, context);
  return {GetRValue(colour), GetGValue(colour), GetBValue(colour), 255};
}

std::string WindowTitle(HWND window) {
  char text[512] = "";
  GetWindowTextA(window, text, sizeof text);
  return text;
}

HWND ShowImage(const char* name, ImageGuard image) {
  const DisplayRecord* const record = OpenImageWindow(name, image.get());
  if (!record) return nullptr;
  static_cast<void>(image.release());
  Settle();
  return WindowOf(*record);
}

}  // namespace imx::test
