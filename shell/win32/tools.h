/// The image tools: which there are, what choosing one does, what it does to an image.
#pragma once

namespace imx {

struct ImageRecord;

/// Whether a command chooses a tool.
bool IsToolCommand(int command);

/// Makes the command's tool the one that the mouse applies, ticks it, and runs what goes with
/// choosing it.
void SelectTool(int command);

/// No tool is chosen any more.
void LeaveTool();

/// Applies a tool to an image, within CurrentClipRegion() where it works on a region.
void ApplyTool(int command, ImageRecord* image);

}  // namespace imx
