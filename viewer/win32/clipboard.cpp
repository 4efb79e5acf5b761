#include "viewer/win32/clipboard.h"

#include <cstring>

#include "imagelib/open_file.h"
#include "imagelib/temporary_file.h"
#include "ops/operations.h"
#include "shell/win32/host_callbacks.h"
#include "shell/win32/image_window.h"
#include "shell/win32/shell_state.h"
#include "viewer/model/clipboard_bitmap.h"
#include "viewer/win32/quiet_load.h"

namespace imx {
namespace {

// Open for this program while it lives.
class Clipboard {
 public:
  Clipboard() : open_(OpenClipboard(Shell().mainWindow) != 0) {}
  ~Clipboard() {
    if (open_) CloseClipboard();
  }
  Clipboard(const Clipboard&) = delete;
  Clipboard& operator=(const Clipboard&) = delete;
  explicit operator bool() const { return open_; }

 private:
  bool open_;
};

void Fail(const char* text) {
  ShowBox(text, "Failure", MB_ICONSTOP);
}

bool Give(UINT format, const std::vector<std::uint8_t>& bytes) {
  HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
  void* const to = block ? GlobalLock(block) : nullptr;
  if (to) {
    std::memcpy(to, bytes.data(), bytes.size());
    GlobalUnlock(block);
    if (SetClipboardData(format, block)) return true;  // which owns the block
  }
  if (block) GlobalFree(block);
  return false;
}

std::vector<std::uint8_t> Take(UINT format) {
  HANDLE block = GetClipboardData(format);
  const void* const from = block ? GlobalLock(block) : nullptr;
  if (!from) return {};
  const auto* const bytes = static_cast<const std::uint8_t*>(from);
  std::vector<std::uint8_t> taken(bytes, bytes + GlobalSize(block));
  GlobalUnlock(block);
  return taken;
}

// The bitmap as a file, which the loader of such files reads.
LoadResult LoadPacked(const std::vector<std::uint8_t>& packed) {
  const TemporaryFile file("");
  const std::vector<std::uint8_t> bytes = FileOfPackedBitmap(packed);
  const OpenFile out(file.ok() ? std::fopen(file.path().c_str(), "wb") : nullptr);
  LoadResult result;
  result.reason = file.ok() ? "it is no bitmap" : file.reason();
  if (bytes.empty() || !out) return result;
  if (std::fwrite(bytes.data(), 1, bytes.size(), out.get()) != bytes.size() ||
      std::fflush(out.get()) != 0) {
    result.reason = "the disk is full";
    return result;
  }
  LoadChoices choices;
  choices.way = ReadingWay::interop;
  return LoadQuietly(file.path(), choices);
}

void ShowPasted(const ImageRecord& loaded) {
  const ShortWork work(std::uint64_t{4} * loaded.pixelCount);
  NewImage pasted = Clipped(loaded, {0, 0, loaded.width - 1, loaded.height - 1});
  if (!pasted) return Fail("There is not enough memory to paste it.");
  pasted.image->path[0] = '\0';
  if (OpenImageWindow(pasted.image->name, pasted.image.get())) {
    static_cast<void>(pasted.image.release());
  } else {
    Fail("Could not open window, no image pasted!");
  }
}

}  // namespace

void CopyToClipboard(const ImageView& view) {
  const ImageRecord& image = view.image();
  const ClipRegion region =
      view.selection.value_or(ClipRegion{0, 0, image.width - 1, image.height - 1});
  const Clipboard clipboard;
  if (!clipboard || !EmptyClipboard()) return Fail("The clipboard is in use.");
  if (!Give(CF_DIBV5, PackedBitmapV5(image, region)) ||
      !Give(CF_DIB, PackedBitmap24(image, region))) {
    Fail("There is not enough memory to copy it.");
  }
}

void PasteFromClipboard() {
  std::vector<std::uint8_t> packed;
  {
    const Clipboard clipboard;
    if (!clipboard) return Fail("The clipboard is in use.");
    packed = Take(CF_DIBV5);
    if (packed.empty()) packed = Take(CF_DIB);
  }
  if (packed.empty()) return Fail("There is no image on the clipboard.");
  const LoadResult result = LoadPacked(packed);
  if (result.image) return ShowPasted(*result.image);
  Fail(("The clipboard's image cannot be read:\n" + result.reason).c_str());
}

bool CanPaste() {
  return IsClipboardFormatAvailable(CF_DIBV5) || IsClipboardFormatAvailable(CF_DIB);
}

}  // namespace imx
