#pragma once

namespace blnits {

/// Whether to colour standard output: only on a terminal, and never if NO_COLOR is set.
bool WantsColours();

/// The terminal's size in characters; 79 by 24 if standard output is not a terminal.
struct TerminalSize {
  int columns = 79;
  int rows = 24;
};
TerminalSize SizeOfTerminal();

}  // namespace blnits
