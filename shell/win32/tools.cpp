#include "shell/win32/tools.h"

#include "imagelib/host.h"
#include "imagelib/image.h"
#include "ops/commands.h"
#include "ops/operations.h"
#include "resources/resource_ids.h"
#include "shell/model/window_list.h"
#include "shell/win32/factor_dialog.h"
#include "shell/win32/shell_state.h"
#include "shell/win32/window_list_dialog.h"

namespace imx {
namespace {

struct Tool {
  int command;
  const char* name;                   ///< in the main window's title
  void (*choose)();                   ///< when it becomes the tool; may be null
  void (*apply)(ImageRecord* image);  ///< when the mouse button goes up
};

void ChooseMergeSource() {
  WindowTable& windows = Shell().windows;
  if (windows.count <= 1) {
    windows.current = FirstImage(windows);
  } else if (const DisplayRecord* const source =
                 AskForMergeSource(ListWindows(windows, ListedImages::all))) {
    windows.current = source->image;
  }
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

constexpr Tool kTools[] = {
    {ID_TOOL_GAMMA, "Gamma", AskForGamma, ApplyGamma},
    {ID_TOOL_CLIP, "Clip Region", nullptr, ClipToRegion},
    {ID_TOOL_RESCALE, "Rescale Region", AskForScaleFactor, RescaleRegion},
    {ID_TOOL_RESAMPLE, "Resample Region", AskForResampleScale, ResampleRegion},
    {ID_TOOL_COUNT_COLOURS, "Count Colors", nullptr, ShowColourCount},
    {ID_TOOL_MERGE, "Merge Region", ChooseMergeSource, MergeCurrentImage},
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

void ShowToolInTitle(const Tool* tool) {
  const char* const title = Shell().titleOfTools;
  if (!title) return;
  const std::string text = tool ? std::string(title) + " - " + tool->name : title;
  SetWindowTextA(Shell().mainWindow, text.c_str());
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
  ShowToolInTitle(tool);
  if (tool->choose) tool->choose();
}

void LeaveTool() {
  Shell().toolMode = 0;
  TickTool(0);
  ShowToolInTitle(nullptr);
}

void ApplyTool(int command, ImageRecord* image) {
  const Tool* const tool = FindTool(command);
  if (tool) tool->apply(image);
}

}  // namespace imx
