/// Texts about the program, made from its tables of commands and options.
#pragma once

#include <string>
#include <string_view>

#include "cli/options.h"

namespace imx {

std::string HelpText();
std::string HelpText(const Command& command);
/// Manual page in troff's man macros.
std::string ManualPage();
/// The table of quirks in Markdown, as docs/formats.md has it.
std::string QuirkTable();
/// Completion for bash, zsh or fish; empty for another shell.
std::string Completion(std::string_view shell);
/// Whether the command's help, manual and completion have the option.
bool IsShown(const Option& option, const Command& command);

}  // namespace imx
