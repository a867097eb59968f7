#include "commands/commands.h"
#include "commands/conversion.h"

namespace blnits {

void AddLevelCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "level", "Convert luminance in nits to client backlight levels");
  AddConversion(command, log, "-n,--nits", "Luminances. Default: read them from standard input, one on each line",
                {"nits", "level", "a luminance in nits"}, &Panel::ToLevel)
      .Finite()
      .Takes("NITS");
  command.Footer("Example: blnits level samples/backlight_calib_lcd_small.xml --nits 10 97 413 --coverage 55");
}

}  // namespace blnits
