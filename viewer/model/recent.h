/// The files that were opened last.
#pragma once

#include <string>
#include <vector>

namespace imx {

inline constexpr std::size_t kMostRecent = 9;

/// Puts a file at the front; one that was there already moves. Case does not tell files apart.
void AddRecent(std::vector<std::string>& recent, const std::string& path);

/// Menu text of the file at this place (from 0), with its number as the key: "&3 C:\pics\a.png",
/// long folders shortened.
std::string RecentText(std::size_t place, const std::string& path);

}  // namespace imx
