/// What the program asks of the system around it.
#pragma once

namespace imx {

/// Lets standard input and output carry bytes as they are.
void MakeStandardStreamsBinary();

bool StandardErrorIsTerminal();

/// From here on an interrupt ends the program without leaving a temporary file behind, and a closed
/// pipe or a file that grows too large is an ordinary write failure or such an end.
void HandleInterrupts();

/// Whether the user asked for the program's end, on systems where it has to go there by itself.
bool Interrupted();

}  // namespace imx
