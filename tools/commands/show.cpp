#include <algorithm>
#include <memory>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "foreign_text.h"
#include "panel/survey.h"

namespace blnits {
namespace {

template <class Points, class Less>
std::pair<typename Points::const_iterator, typename Points::const_iterator> Span(const Points& points, Less less) {
  return std::minmax_element(points.begin(), points.end(), less);
}

void ShowTable(Panel* panel, const MeasuredTable& table) {
  const auto points = PointsOf(panel, table);
  if (points.empty()) {
    fmt::print("{:<30}{:>6}\n", table.name, 0);
    return;
  }
  const auto levels = Span(points, [](const auto& a, const auto& b) { return a.bl < b.bl; });
  const auto nits = Span(points, [](const auto& a, const auto& b) { return a.nits < b.nits; });
  fmt::print("{:<30}{:>6}  {:>16}  {:>20}\n", table.name, points.size(),
             fmt::format("{} to {}", levels.first->bl, levels.second->bl),
             fmt::format("{} to {}", nits.first->nits, nits.second->nits));
}

void Run(const std::string& argument, CapturedLog* log) {
  Panel panel(argument, log);
  const auto range = panel.Get<zarn::BLRange>(zarn::kBLRange);
  fmt::print("panel          {}\n", Printable(panel.Name()));
  fmt::print("file           {}\n", Printable(panel.File()));
  fmt::print("panel levels   {} to {}\n", range.minimum_bl, range.max_bl);
  fmt::print("client levels  0 to {}\n", range.max_os_bl);
  fmt::print("gamma          {}\n", panel.Get(zarn::format::kGamma));
  fmt::print("PCC threshold  {}\n\n", panel.Get(zarn::format::kPccThresh));
  fmt::print("{:<30}{:>6}  {:>16}  {:>20}\n", "measured table", "points", "client levels", "nits");
  for (const MeasuredTable& table : kMeasuredTables) {
    ShowTable(&panel, table);
  }
}

}  // namespace

void AddShowCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "show", "Show what a panel's calibration holds");
  auto panel = std::make_shared<std::string>();
  AddPanelArgument(command, panel.get());
  command.Footer("Example: blnits show samples/backlight_calib_lcd_small.xml");
  command.Action([panel, log] { Run(*panel, log); });
}

}  // namespace blnits
