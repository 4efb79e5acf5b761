#include "shell/win32/tools.h"

#include "imagelib/core/host.h"
#include "imagelib/core/image.h"
#include "ops/operations.h"
#include "resources/resource_ids.h"
#include "shell/win32/shell_state.h"

namespace imx {
namespace {

struct Tool {
  int command;
  void (*choose)();                   ///< when it becomes the tool; may be null
  void (*apply)(ImageRecord* image);  ///< when the mouse button goes up
};

// With several windows open, the current image stays what it is.
void ChooseMergeSource() {
  WindowTable& windows = Shell().windows;
  if (windows.count <= 1) windows.current = FirstImage(windows);
}

void MergeCurrentImage(ImageRecord* image) {
  Operations().mergeSource = Shell().windows.current;
  MergeRegion(image);
  Operations().mergeSource = nullptr;
}

void ShowColourCount(ImageRecord* image) {
  const std::int32_t colours = CountColours(image);
  if (colours == -1) return;
  LibMessage(ColourCountText(colours, image->width, image->height).c_str());
}

// All tools. What they do beyond the mouse (their dialogs) belongs into the middle column.
constexpr Tool kTools[] = {
    {ID_TOOL_GAMMA, nullptr, ApplyGamma},
    {ID_TOOL_CLIP, nullptr, ClipToRegion},
    {ID_TOOL_RESCALE, nullptr, RescaleRegion},
    {ID_TOOL_RESAMPLE, nullptr, ResampleRegion},
    {ID_TOOL_COUNT_COLOURS, nullptr, ShowColourCount},
    {ID_TOOL_MERGE, ChooseMergeSource, MergeCurrentImage},
};

const Tool* FindTool(int command) {
  for (const Tool& tool : kTools) {
    if (tool.command == command) return &tool;
  }
  return nullptr;
}

void TickTool(int command) {
  HMENU menu = GetMenu(Shell().mainWindow);
  if (!menu) return;
  for (const Tool& tool : kTools) {
    CheckMenuItem(menu, static_cast<UINT>(tool.command),
                  tool.command == command ? MF_CHECKED : MF_UNCHECKED);
  }
}

}  // namespace

bool IsToolCommand(int command) {
  return FindTool(command) != nullptr;
}

void SelectTool(int command) {
  const Tool* const tool = FindTool(command);
  if (!tool) return;
  Shell().toolMode = command;
  TickTool(command);
  if (tool->choose) tool->choose();
}

void ApplyTool(int command, ImageRecord* image) {
  const Tool* const tool = FindTool(command);
  if (tool) tool->apply(image);
}

}  // namespace imx
