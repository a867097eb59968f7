#include "support/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

namespace blnits {

bool WantsColours() { return isatty(STDOUT_FILENO) == 1 && std::getenv("NO_COLOR") == nullptr; }

TerminalSize SizeOfTerminal(int descriptor) {
  winsize size = {};
  if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
    return {};
  }
  return {size.ws_col, size.ws_row};
}

}  // namespace blnits
