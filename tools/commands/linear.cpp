#include <memory>

#include "commands/commands.h"
#include "commands/conversion.h"

namespace blnits {

void AddLinearCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "linear", "Print the dense linear table as CSV");
  auto argument = std::make_shared<std::string>();
  AddPanelArgument(command, argument.get());
  command.Footer("Example: blnits linear samples/backlight_calib_lcd_small.xml");
  command.Action([argument, log] {
    Panel panel(*argument, log);
    fmt::print("linearized_bl,panel_bl\n");
    for (const auto& [linear, panel_level] : panel.Get<zarn::BLLinearTable>(zarn::kBLLinearTable).entries) {
      fmt::print("{},{}\n", linear, panel_level);
    }
  });
}

}  // namespace blnits
