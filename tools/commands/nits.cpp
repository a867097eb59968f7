#include "commands/commands.h"
#include "commands/conversion.h"

namespace blnits {

void AddNitsCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "nits", "Convert client backlight levels to luminance in nits");
  AddConversion(command, log, "-l,--level",
                "Levels, 0 to max_os_bl. Default: read them from standard input, one on each line",
                {"level", "nits", "a backlight level"}, &Panel::ToNits)
      .Between(0, UINT32_MAX)
      .Takes("LEVEL");
  command.Footer("Example: blnits nits samples/backlight_calib_lcd_small.xml --level 0 60 255 --coverage 55");
}

}  // namespace blnits
