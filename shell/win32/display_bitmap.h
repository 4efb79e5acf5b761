/// Bitmaps in the display's format, filled row by row.
#pragma once

#include <cstdint>
#include <span>

#include "imagelib/windows_api.h"

namespace imx {

struct ImageRecord;

/// A bitmap compatible with the window's display, to be released with DeleteObject. Null on
/// failure.
HBITMAP CreateDisplayBitmap(HWND window, int width, int height);

/// A memory context with the bitmap selected, compatible with `compatible`. False when it could not
/// be had (a bitmap can be selected into one context at a time).
class BitmapContext {
 public:
  BitmapContext(HDC compatible, HBITMAP bitmap);
  ~BitmapContext();
  BitmapContext(const BitmapContext&) = delete;
  BitmapContext& operator=(const BitmapContext&) = delete;

  explicit operator bool() const { return previous_ != nullptr; }
  /// Sets the pixels of row y from the left; `bgrx` holds 4 bytes per pixel.
  void PutRow(int y, std::span<const std::uint8_t> bgrx);
  /// Copies the upper left width x height pixels to (0, 0) of `to`.
  void CopyTo(HDC to, int width, int height);

 private:
  HDC context_;
  HGDIOBJ previous_;
};

/// Bytes of an image's row of RGBA pixels.
std::span<const std::uint8_t> ImageRow(const ImageRecord& image, int y);

}  // namespace imx
