#include "shell/win32/display_bitmap.h"

#include "imagelib/image.h"

namespace imx {

HBITMAP CreateDisplayBitmap(HWND window, int width, int height) {
  HDC context = GetDC(window);
  if (!context) return nullptr;
  HBITMAP bitmap = CreateCompatibleBitmap(context, width, height);
  ReleaseDC(window, context);
  return bitmap;
}

BitmapContext::BitmapContext(HDC compatible, HBITMAP bitmap)
    : context_(CreateCompatibleDC(compatible)),
      previous_(context_ ? SelectObject(context_, bitmap) : nullptr) {}

BitmapContext::~BitmapContext() {
  if (previous_) SelectObject(context_, previous_);
  if (context_) DeleteDC(context_);
}

void BitmapContext::PutRow(int y, std::span<const std::uint8_t> bgrx) {
  const DWORD width = static_cast<DWORD>(bgrx.size() / 4);
  BITMAPINFO info = {};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = static_cast<LONG>(width);
  info.bmiHeader.biHeight = 1;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  SetDIBitsToDevice(context_, 0, y, width, 1, 0, 0, 0, 1, bgrx.data(), &info, DIB_RGB_COLORS);
}

void BitmapContext::CopyTo(HDC to, int width, int height) {
  BitBlt(to, 0, 0, width, height, context_, 0, 0, SRCCOPY);
}

std::span<const std::uint8_t> ImageRow(const ImageRecord& image, int y) {
  return {PixelRow(image, y), std::size_t{4} * static_cast<std::size_t>(image.width)};
}

}  // namespace imx
