/// What the program asks of the system around it.
#pragma once

namespace imx {

/// Lets standard input and output carry bytes as they are.
void MakeStandardStreamsBinary();

bool StandardErrorIsTerminal();

/// From here on an interrupt ends the program and its copies without leaving a temporary file
/// behind, and a closed pipe or a file that grows too large is an ordinary write failure or such an
/// end. The end of a copy is told, even if the program was started with that switched off.
void HandleInterrupts();

/// Whether the user asked for the program's end, on systems where it has to go there by itself.
bool Interrupted();

}  // namespace imx
