#include "shell/win32/logo.h"

#include <utility>

#include "dispatch/load.h"
#include "imagelib/guards.h"
#include "shell/model/display_row.h"
#include "shell/win32/display_bitmap.h"
#include "shell/win32/shell_state.h"

namespace imx {
namespace {

constexpr char kLogoFile[] = "qmki_logo.trm";

// While one is alive, the library's texts are not shown.
class QuietScope {
 public:
  QuietScope()
      : message_(std::exchange(Host().message, nullptr)),
        error_(std::exchange(Host().error, nullptr)) {}
  ~QuietScope() {
    Host().message = message_;
    Host().error = error_;
  }
  QuietScope(const QuietScope&) = delete;
  QuietScope& operator=(const QuietScope&) = delete;

 private:
  HostFunction message_;
  HostFunction error_;
};

// The image's colours; alpha does not matter here.
bool DrawInto(HBITMAP bitmap, const ImageRecord& image) {
  TrackedBytes row(std::uint64_t{4} * static_cast<std::uint64_t>(image.width), "logo_row1");
  BitmapContext context(nullptr, bitmap);
  if (!row || !context) return false;
  for (int y = 0; y < image.height; ++y) {
    PlainDisplayRow(ImageRow(image, y), row.span());
    context.PutRow(y, row.span());
  }
  return true;
}

}  // namespace

void LoadLogo() {
  const QuietScope quiet;
  const ImageGuard image(LoadImage(kLogoFile));
  if (!image) return;
  ShellState& shell = Shell();
  HBITMAP bitmap = CreateDisplayBitmap(shell.mainWindow, image->width, image->height);
  if (!bitmap) return;
  if (!DrawInto(bitmap, *image)) {
    DeleteObject(bitmap);
    return;
  }
  shell.logo = bitmap;
  shell.logoWidth = image->width;
  shell.logoHeight = image->height;
}

void PaintLogo(HDC context, RECT client) {
  const ShellState& shell = Shell();
  if (shell.logo) {
    if (BitmapContext bitmap(context, shell.logo); bitmap) {
      bitmap.CopyTo(context, shell.logoWidth, shell.logoHeight);
    }
  } else if (shell.startUpDone) {
    DrawTextA(context, "Quillmark", -1, &client, DT_SINGLELINE | DT_CENTER | DT_VCENTER);
  }
}

void ReleaseLogo() {
  if (Shell().logo) DeleteObject(std::exchange(Shell().logo, nullptr));
}

}  // namespace imx
