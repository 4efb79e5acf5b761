/// The library's host: texts and progress on standard error.
#pragma once

#include <string>

namespace imx {

/// Fills the library's callbacks. `quiet`: no progress bar, and no texts but errors.
void InstallHost(bool quiet);

/// One clear line on standard error: "imx: FILE: what". What could upset a terminal is shown as
/// '?'.
void ReportFailure(const std::string& file, const std::string& what);

/// The library's errors from here on belong to `file` and are kept back.
void BeginFile(const std::string& file);

/// The errors kept since BeginFile as one text, each said once; empty when there were none.
/// Errors that come later are shown as they come.
std::string TakeErrors();

/// `text` with control characters replaced by '?', as it may be shown on a terminal.
std::string Printable(const std::string& text);

/// Whether the library reported a fault of its own: a leaked block, a damaged guard.
bool LibraryIsAtFault();

}  // namespace imx
