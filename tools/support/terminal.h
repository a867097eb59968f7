#pragma once

namespace blnits {

/// Whether to colour standard output: only on a terminal, and never if NO_COLOR is set.
bool WantsColours();

/// A terminal's size in characters.
struct TerminalSize {
  int columns = 79;
  int rows = 24;
};

/// The size of the terminal behind a descriptor; 79 by 24 if it is no terminal or does not tell its size.
TerminalSize SizeOfTerminal(int descriptor);

}  // namespace blnits
