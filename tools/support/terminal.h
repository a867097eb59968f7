#pragma once

namespace blnits {

/// Whether text on standard output is to have colours: on a terminal only, and never under NO_COLOR.
bool WantsColours();

/// The terminal's width and height in characters; 79 by 24 where standard output is none.
struct TerminalSize {
  int columns = 79;
  int rows = 24;
};
TerminalSize SizeOfTerminal();

}  // namespace blnits
