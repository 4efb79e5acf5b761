#include "shell/model/window_table.h"

#include <algorithm>

namespace imx {

bool WindowTableFull(const WindowTable& table) {
  return table.count >= static_cast<std::int32_t>(kMaxImageWindows);
}

void PlaceRecord(WindowTable& table, DisplayRecord* record) {
  *std::find(table.slots.begin(), table.slots.end(), nullptr) = record;
  if (!table.current) table.current = record->image;
}

DisplayRecord* FindRecord(WindowTable& table, const void* window, bool detach) {
  for (DisplayRecord*& slot : table.slots) {
    if (!slot || slot->window != window) continue;
    DisplayRecord* const record = slot;
    record->magic = kImageMagic;
    if (detach) slot = nullptr;
    return record;
  }
  return nullptr;
}

ImageRecord* FirstImage(const WindowTable& table) {
  for (const DisplayRecord* record : table.slots) {
    if (record) return record->image;
  }
  return nullptr;
}

bool IsUnsaved(const ImageRecord& image) {
  return (image.flags & (kFlagChanged | kFlagNameGenerated)) != 0;
}

bool WouldLoseChanges(const DisplayRecord& record) {
  return record.edited != 0 || IsUnsaved(*record.image);
}

}  // namespace imx
