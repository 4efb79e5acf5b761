#include "tools/medium/programs/picture_window.h"

#include <shellapi.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "dispatch/load.h"
#include "imagelib/guards.h"

namespace imx {

namespace {

constexpr int kExitCommand = 1;
constexpr int kManualCommand = 2;
constexpr int kAboutCommand = 3;
constexpr UINT kFrameMilliseconds = 40;
const char kWindowClass[] = "Glimmerix sample";

/// The installed directories; empty when the setup program has not been here.
struct Directories {
  std::string pictures;
  std::string data;
  std::string help;
};

struct ProgramState {
  const PictureProgram* program;
  Directories directories;
  Canvas source;
  Canvas shown;
  DWORD start;
};

ProgramState state;

std::string ReadSetting(const char* key) {
  char value[MAX_PATH] = "";
  GetPrivateProfileStringA("Directories", key, "", value, sizeof value, state.program->settings);
  return value;
}

/// A picture to show when the installed one is not there.
Canvas MakeSubstitute() {
  Canvas canvas{480, 320, {}};
  for (int y = 0; y < canvas.height; ++y) {
    for (int x = 0; x < canvas.width; ++x) {
      const auto blue = static_cast<std::uint32_t>(64 + y / 2);
      const std::uint32_t tile = ((x >> 5) ^ (y >> 5)) & 1 ? 0xE0A500u : 0x142100u;
      canvas.pixels.push_back(tile + std::min(blue, 255u));
    }
  }
  return canvas;
}

Canvas LoadPicture(const std::string& path) {
  const ImageGuard image(LoadImage(path.c_str()));
  if (!image) return MakeSubstitute();
  Canvas canvas{image->width, image->height, {}};
  for (std::int32_t y = 0; y < image->height; ++y) {
    const std::uint8_t* pixel = PixelRow(*image, y);
    for (std::int32_t x = 0; x < image->width; ++x, pixel += 4) {
      canvas.pixels.push_back(static_cast<std::uint32_t>(pixel[0]) << 16 |
                              static_cast<std::uint32_t>(pixel[1]) << 8 | pixel[2]);
    }
  }
  return canvas;
}

std::string OrNone(const std::string& directory) {
  return directory.empty() ? "(not installed)" : directory;
}

void ShowAbout(HWND window) {
  const Directories& directories = state.directories;
  const std::string text = std::string(state.program->about) + "\n\nPictures:\t" +
                           OrNone(directories.pictures) + "\nData:\t" + OrNone(directories.data) +
                           "\nHelp:\t" + OrNone(directories.help);
  MessageBoxA(window, text.c_str(), (std::string("About ") + state.program->name).c_str(), MB_OK);
}

void Command(HWND window, int id) {
  switch (id) {
    case kExitCommand:
      DestroyWindow(window);
      break;
    case kManualCommand:
      ShellExecuteA(window, "open", (state.directories.help + "\\f_toc.html").c_str(), nullptr,
                    nullptr, SW_SHOWNORMAL);
      break;
    case kAboutCommand:
      ShowAbout(window);
      break;
  }
}

void Paint(HWND window) {
  PAINTSTRUCT paint;
  const HDC context = BeginPaint(window, &paint);
  RECT client;
  GetClientRect(window, &client);
  BITMAPINFO layout{};
  layout.bmiHeader.biSize = sizeof layout.bmiHeader;
  layout.bmiHeader.biWidth = state.shown.width;
  layout.bmiHeader.biHeight = -state.shown.height;  // Negative: the rows go top-down.
  layout.bmiHeader.biPlanes = 1;
  layout.bmiHeader.biBitCount = 32;
  StretchDIBits(context, 0, 0, client.right, client.bottom, 0, 0, state.shown.width,
                state.shown.height, state.shown.pixels.data(), &layout, DIB_RGB_COLORS, SRCCOPY);
  EndPaint(window, &paint);
}

LRESULT CALLBACK WindowProcedure(HWND window, UINT message, WPARAM first, LPARAM second) {
  switch (message) {
    case WM_TIMER:
      state.program->draw(state.source, (GetTickCount() - state.start) / 1000.0, state.shown);
      InvalidateRect(window, nullptr, FALSE);
      return 0;
    case WM_PAINT:
      Paint(window);
      return 0;
    case WM_COMMAND:
      Command(window, LOWORD(first));
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcA(window, message, first, second);
  }
}

HMENU MakeMenu() {
  const HMENU file = CreatePopupMenu();
  AppendMenuA(file, MF_STRING, kExitCommand, "E&xit");
  const HMENU help = CreatePopupMenu();
  AppendMenuA(help, MF_STRING | (state.directories.help.empty() ? MF_GRAYED : 0u), kManualCommand,
              "&Manual");
  AppendMenuA(help, MF_STRING, kAboutCommand, "&About");
  const HMENU bar = CreateMenu();
  AppendMenuA(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(file), "&File");
  AppendMenuA(bar, MF_POPUP, reinterpret_cast<UINT_PTR>(help), "&Help");
  return bar;
}

HWND OpenWindow(HINSTANCE instance) {
  WNDCLASSA description{};
  description.lpfnWndProc = WindowProcedure;
  description.hInstance = instance;
  description.hCursor = LoadCursor(nullptr, IDC_ARROW);
  description.lpszClassName = kWindowClass;
  if (!RegisterClassA(&description)) return nullptr;

  constexpr DWORD kStyle = WS_OVERLAPPEDWINDOW | WS_VISIBLE;
  RECT area{0, 0, state.source.width, state.source.height};
  AdjustWindowRect(&area, kStyle, TRUE);
  const std::string title =
      std::string(state.program->name) + " - " + OrNone(state.directories.pictures);
  return CreateWindowA(kWindowClass, title.c_str(), kStyle, CW_USEDEFAULT, CW_USEDEFAULT,
                       area.right - area.left, area.bottom - area.top, nullptr, MakeMenu(),
                       instance, nullptr);
}

}  // namespace

int RunPictureProgram(HINSTANCE instance, const PictureProgram& program) {
  state = {&program, {}, {}, {}, GetTickCount()};
  state.directories = {ReadSetting("Pictures"), ReadSetting("Data"), ReadSetting("Help")};
  state.source = LoadPicture(state.directories.pictures + "\\" + program.picture);
  LibraryShutdown();
  state.shown = state.source;
  const HWND window = OpenWindow(instance);
  if (!window) return 1;
  SetTimer(window, 1, kFrameMilliseconds, nullptr);

  MSG message;
  while (GetMessageA(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
  return static_cast<int>(message.wParam);
}

std::uint32_t Brighten(std::uint32_t colour, double factor) {
  std::uint32_t result = 0;
  for (int shift = 0; shift <= 16; shift += 8) {
    const double channel = static_cast<double>(colour >> shift & 0xFF) * factor;
    result |= static_cast<std::uint32_t>(std::clamp(channel, 0.0, 255.0)) << shift;
  }
  return result;
}

}  // namespace imx
