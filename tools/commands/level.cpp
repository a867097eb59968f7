#include <memory>

#include "commands/commands.h"
#include "commands/conversion.h"

namespace blnits {

void AddLevelCommand(CLI::App* app, CapturedLog* log) {
  struct Options : ConversionOptions {
    std::vector<double> nits;
  };
  auto* const command = app->add_subcommand("level", "Convert luminance in nits to client backlight levels");
  auto options = std::make_shared<Options>();
  AddConversionOptions(command, options.get());
  command
      ->add_option("-n,--nits", options->nits, "Luminances. Default: read them from standard input, one on each line")
      ->check(Finite())
      ->type_name("NITS");
  command->footer("Example: blnits level samples/backlight_calib_lcd_small.xml --nits 10 97 413 --coverage 55");
  command->callback([options, log] {
    Panel panel = OpenPanel(*options, log);
    PrintConversions(*options, options->nits, "nits", "level", "a luminance in nits",
                     [&](double nits) { return panel.ToLevel(nits, options->coverage, options->hdr); });
  });
}

}  // namespace blnits
