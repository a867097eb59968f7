#include <memory>

#include "commands/commands.h"
#include "commands/conversion.h"

namespace blnits {

void AddNitsCommand(CLI::App* app, CapturedLog* log) {
  struct Options : ConversionOptions {
    std::vector<uint32_t> levels;
  };
  auto* const command = app->add_subcommand("nits", "Convert client backlight levels to luminance in nits");
  auto options = std::make_shared<Options>();
  AddConversionOptions(command, options.get());
  command
      ->add_option("-l,--level", options->levels,
                   "Levels, 0 to max_os_bl. Default: read them from standard input, one on each line")
      ->check(CLI::Range(uint32_t{0}, UINT32_MAX, "LEVEL"));
  command->footer("Example: blnits nits samples/backlight_calib_lcd_small.xml --level 0 60 255 --coverage 55");
  command->callback([options, log] {
    Panel panel = OpenPanel(*options, log);
    PrintConversions(*options, options->levels, "level", "nits", "a backlight level",
                     [&](uint32_t level) { return panel.ToNits(level, options->coverage, options->hdr); });
  });
}

}  // namespace blnits
