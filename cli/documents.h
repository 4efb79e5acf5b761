/// Texts about the program, made from its tables of commands and options.
#pragma once

#include <string>

#include "cli/options.h"

namespace imx {

std::string HelpText();
std::string HelpText(const Command& command);
/// Manual page in troff's man macros.
std::string ManualPage();
/// The table of quirks in Markdown, as docs/formats.md has it.
std::string QuirkTable();
/// Completion for bash.
std::string BashCompletion();

}  // namespace imx
