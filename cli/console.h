/// What the program asks of the system around it.
#pragma once

#include <string>
#include <vector>

namespace imx {

/// Lets standard input and output carry bytes as they are, and a console show them as UTF-8.
void MakeStandardStreamsBinary();

bool StandardErrorIsTerminal();

/// Characters in a line of the terminal that standard error is; 80 when it is not known.
int TerminalColumns();

/// The files that an operand names: on Windows, whose shells leave it to programs, those that its
/// wildcards match, in alphabetical order. What matches nothing stays as it is.
std::vector<std::string> ExpandName(const std::string& operand);

/// From here on an interrupt ends the program and its copies without leaving a temporary file
/// behind, and a closed pipe or a file that grows too large is an ordinary write failure or such an
/// end. The end of a copy is told, even if the program was started with that switched off.
void HandleInterrupts();

/// Whether the user asked for the program's end, on systems where it has to go there by itself.
bool Interrupted();

}  // namespace imx
