#include <memory>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/reports.h"
#include "support/json.h"

namespace blnits {
namespace {

struct LinearOptions {
  std::string panel;
  std::string format = "text";
};

zarn::BLLinearTable TableOf(Panel* panel) { return panel->Get<zarn::BLLinearTable>(zarn::kBLLinearTable); }

nlohmann::ordered_json ReportOf(const Panel& panel, const zarn::BLLinearTable& table) {
  std::vector<uint32_t> linearized_levels;
  std::vector<uint32_t> panel_levels;
  for (const auto& [linearized, panel_level] : table.entries) {
    linearized_levels.push_back(linearized);
    panel_levels.push_back(panel_level);
  }
  auto report = JsonReportOn(panel, "linear");
  report["linearized_levels"] = linearized_levels;
  report["panel_levels"] = panel_levels;
  return report;
}

void Run(const LinearOptions& options, CapturedLog* log) {
  Panel panel(options.panel, log);
  const auto table = TableOf(&panel);
  if (options.format == "json") {
    fmt::print("{}\n", JsonLine(ReportOf(panel, table)));
    return;
  }
  fmt::print("linearized_bl,panel_bl\n");
  for (const auto& [linear, panel_level] : table.entries) {
    fmt::print("{},{}\n", linear, panel_level);
  }
}

}  // namespace

nlohmann::ordered_json LinearReportOn(Panel* panel) { return ReportOf(*panel, TableOf(panel)); }

void AddLinearCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "linear", "Print the dense linear table as CSV");
  auto options = std::make_shared<LinearOptions>();
  AddPanelArgument(command, &options->panel);
  AddFormatOption(command, &options->format);
  command.Footer("Example: blnits linear samples/backlight_calib_lcd_small.xml");
  command.Action([options, log] { Run(*options, log); });
}

}  // namespace blnits
