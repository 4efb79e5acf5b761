#include "tools/drive/screen_picture.h"

#include <cstring>
#include <utility>

#include "formats/codec_state.h"
#include "formats/png.h"

namespace imx {

namespace {

/// Reads pixels of the screen from `from` on into the image, as rows of blue, green, red and an
/// unused byte.
bool ReadScreen(HDC screen, POINT from, ImageRecord& image) {
  const HDC memory = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateCompatibleBitmap(screen, image.width, image.height);
  bool done = false;
  if (memory && bitmap) {
    const HGDIOBJ before = SelectObject(memory, bitmap);
    done = BitBlt(memory, 0, 0, image.width, image.height, screen, from.x, from.y, SRCCOPY);
    SelectObject(memory, before);
    BITMAPINFO layout{};
    layout.bmiHeader.biSize = sizeof layout.bmiHeader;
    layout.bmiHeader.biWidth = image.width;
    layout.bmiHeader.biHeight = -image.height;  // Negative: the rows go top-down.
    layout.bmiHeader.biPlanes = 1;
    layout.bmiHeader.biBitCount = 32;
    layout.bmiHeader.biCompression = BI_RGB;
    done = done && GetDIBits(memory, bitmap, 0, static_cast<UINT>(image.height), image.pixels,
                             &layout, DIB_RGB_COLORS) == image.height;
  }
  if (bitmap) DeleteObject(bitmap);
  if (memory) DeleteDC(memory);
  return done;
}

void SwapToRgba(ImageRecord& image) {
  for (std::int32_t y = 0; y < image.height; ++y) {
    std::uint8_t* pixel = PixelRow(image, y);
    for (std::int32_t x = 0; x < image.width; ++x, pixel += 4) {
      std::swap(pixel[0], pixel[2]);
      pixel[3] = 255;
    }
  }
}

ImageGuard ReadScreenArea(POINT from, int width, int height) {
  const HDC screen = GetDC(nullptr);
  if (!screen) return ImageGuard();
  ImageGuard image(AllocImage(width, height, "screen", nullptr));
  const bool done = image && ReadScreen(screen, from, *image);
  ReleaseDC(nullptr, screen);
  if (!done) return ImageGuard();
  SwapToRgba(*image);
  return image;
}

}  // namespace

ImageGuard ReadSettledScreen() {
  constexpr int kMostLooks = 20;
  constexpr DWORD kPauseMilliseconds = 100;
  const int width = GetSystemMetrics(SM_CXSCREEN), height = GetSystemMetrics(SM_CYSCREEN);
  ImageGuard image = ReadScreenArea({0, 0}, width, height);
  for (int look = 1; image && look < kMostLooks; ++look) {
    Sleep(kPauseMilliseconds);
    ImageGuard next = ReadScreenArea({0, 0}, width, height);
    const bool same =
        next && std::memcmp(next->pixels, image->pixels, std::size_t{4} * image->pixelCount) == 0;
    image = std::move(next);
    if (same) break;
  }
  return image;
}

ImageGuard ReadClientArea(HWND window) {
  RECT client{};
  POINT from{};
  GetClientRect(window, &client);
  ClientToScreen(window, &from);
  return ReadScreenArea(from, client.right, client.bottom);
}

std::vector<bool> ReadTicks(HWND menu, int items) {
  constexpr int kLeft = 4, kRight = 16;  // of the place for the tick
  constexpr int kMargin = 4;             // above and below, where there is the frame
  std::vector<bool> ticks;
  const ImageGuard picture = ReadClientArea(menu);
  if (!picture) return ticks;
  for (int i = 0; i < items; ++i) {
    const int top = i * picture->height / items + kMargin;
    const int bottom = (i + 1) * picture->height / items - kMargin;
    const std::uint8_t* const ground = PixelRow(*picture, top) + 4 * kLeft;
    bool drawn = false;
    for (int y = top; y < bottom; ++y) {
      for (int x = kLeft; x < kRight; ++x) {
        drawn = drawn || std::memcmp(PixelRow(*picture, y) + 4 * x, ground, 4) != 0;
      }
    }
    ticks.push_back(drawn);
  }
  return ticks;
}

bool SaveScreen(const std::string& path) {
  const ImageGuard image = ReadSettledScreen();
  if (!image) return false;
  Output().depthBits = 24;
  return SavePng(image.get(), path.c_str(), 0) == 0;
}

}  // namespace imx
