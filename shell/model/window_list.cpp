#include "shell/model/window_list.h"

namespace imx {

std::vector<DisplayRecord*> ListWindows(const WindowTable& table, ListedImages which) {
  std::vector<DisplayRecord*> listed;
  for (DisplayRecord* record : table.slots) {
    if (!record) continue;
    if (which == ListedImages::all || IsUnsaved(*record->image)) listed.push_back(record);
  }
  return listed;
}

std::string WindowListLine(const DisplayRecord& record) {
  return "[" + std::to_string(record.number) + "] " + record.image->name;
}

}  // namespace imx
