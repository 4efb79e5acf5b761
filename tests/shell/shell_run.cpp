#include "tests/shell/shell_run.h"

#include <algorithm>
#include <utility>

#include "imagelib/core/memory.h"
#include "resources/resource_ids.h"
#include "shell/win32/image_window.h"

namespace imx::test {
namespace {

constexpr UINT kAnswerEvery = 20;  // milliseconds

std::function<void(HWND)> body;
bool stayOpen = false;
std::vector<AnsweredBox> answered;
std::string fileAnswer;

struct DialogAnswer {
  std::string title;
  std::function<void(HWND)> answer;
};
std::vector<DialogAnswer> dialogAnswers;
HWND lastAnswered = nullptr;  ///< may take a moment to close

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

// The field for the name, as <dlgs.h> numbers it, has a combo box around it in some systems.
HWND NameField(HWND fileDialog) {
  constexpr int kEdit = 0x480;
  constexpr int kCombo = 0x47C;
  HWND combo = GetDlgItem(fileDialog, kCombo);
  return combo ? combo : GetDlgItem(fileDialog, kEdit);
}

// Whether the test had an answer to the dialog.
bool AnswerAsPrepared(HWND window) {
  const std::string title = WindowTitle(window);
  const auto known = std::find_if(dialogAnswers.begin(), dialogAnswers.end(),
                                  [&](const DialogAnswer& each) { return each.title == title; });
  if (known == dialogAnswers.end()) return false;
  const DialogAnswer answer = *known;
  dialogAnswers.erase(known);
  lastAnswered = window;
  answer.answer(window);
  return true;
}

BOOL CALLBACK AnswerBox(HWND window, LPARAM) {
  char kind[20] = "";
  GetClassNameA(window, kind, sizeof kind);
  if (std::string(kind) != "#32770") return TRUE;
  if (window == lastAnswered) return TRUE;
  if (AnswerAsPrepared(window)) return FALSE;
  if (NameField(window)) {
    AnswerWithPath(window, fileAnswer);
    return FALSE;
  }
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
  dialogAnswers.clear();
  lastAnswered = nullptr;
  answered.clear();
  fileAnswer.clear();
}

ShellTest::~ShellTest() {
  for (const DialogAnswer& each : dialogAnswers) ADD_FAILURE() << "no dialog " << each.title;
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

void ShellTest::AnswerFileDialogs(const std::string& path) {
  fileAnswer = path;
}

void ShellTest::OnDialog(const std::string& title, std::function<void(HWND)> answer) {
  dialogAnswers.push_back({title, std::move(answer)});
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

std::string ScreenDifference(HWND window, int width, int height,
                             std::span<const std::uint8_t> bgrx) {
  HDC screen = GetDC(window);
  HDC memory = CreateCompatibleDC(screen);
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  void* bits = nullptr;
  HBITMAP bitmap = CreateDIBSection(memory, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  HGDIOBJ previous = SelectObject(memory, bitmap);
  BitBlt(memory, 0, 0, width, height, screen, 0, 0, SRCCOPY);
  GdiFlush();
  const auto* seen = static_cast<const std::uint8_t*>(bits);
  std::string difference;
  for (std::size_t i = 0; i < bgrx.size() && difference.empty(); ++i) {
    if (i % 4 == 3 || seen[i] == bgrx[i]) continue;
    const std::size_t pixel = i / 4;
    const auto across = static_cast<std::size_t>(width);
    difference = std::to_string(pixel % across) + ", " + std::to_string(pixel / across);
  }
  SelectObject(memory, previous);
  DeleteObject(bitmap);
  DeleteDC(memory);
  ReleaseDC(window, screen);
  return difference;
}

std::string WindowTitle(HWND window) {
  char text[512] = "";
  GetWindowTextA(window, text, sizeof text);
  return text;
}

std::string ControlText(HWND dialog, int control) {
  return WindowTitle(GetDlgItem(dialog, control));
}

void PressButton(HWND dialog, int control) {
  SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(control, BN_CLICKED),
               reinterpret_cast<LPARAM>(GetDlgItem(dialog, control)));
}

void SelectInDropDown(HWND dialog, int control, int entry) {
  HWND list = GetDlgItem(dialog, control);
  SendMessageA(list, CB_SETCURSEL, static_cast<WPARAM>(entry), 0);
  SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(control, CBN_SELCHANGE),
               reinterpret_cast<LPARAM>(list));
}

void AnswerWithPath(HWND fileDialog, const std::string& path) {
  SendMessageA(NameField(fileDialog), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(path.c_str()));
  PostMessageA(fileDialog, WM_COMMAND, path.empty() ? IDCANCEL : IDOK, 0);
}

HWND ShowImage(const char* name, ImageGuard image) {
  const DisplayRecord* const record = OpenImageWindow(name, image.get());
  if (!record) return nullptr;
  image.release();
  Settle();
  return WindowOf(*record);
}

}  // namespace imx::test
