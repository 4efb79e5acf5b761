/// What the viewer keeps for the user from one run to the next, and the file types that it offers
/// itself for: keys of the registry that are the user's own.
#pragma once

#include <string>
#include <vector>

namespace imx {

/// Texts kept under this name. Empty when there are none.
std::vector<std::string> ReadTextList(const std::string& name);
void WriteTextList(const std::string& name, const std::vector<std::string>& texts);

/// Whether the viewer is offered for its file types.
bool IsOfferedForFiles();
/// Offers it under "Open With" for all types that it loads, and as the program for those that have
/// none; or takes all of that back. False when the registry could not be written.
bool OfferForFiles(bool offer);

}  // namespace imx
