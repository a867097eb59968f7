#include <algorithm>
#include <memory>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/reports.h"
#include "foreign_text.h"
#include "panel/survey.h"
#include "support/json.h"

namespace blnits {
namespace {

struct ShowOptions {
  std::string panel;
  std::string format = "text";
};

/// What a measured table covers. Without points, the ranges mean nothing.
struct Extent {
  size_t points = 0;
  uint32_t lowest_level = 0;
  uint32_t highest_level = 0;
  double lowest_nits = 0.0;
  double highest_nits = 0.0;
};

Extent ExtentOf(const std::vector<zarn::BlNitsPoint>& points) {
  if (points.empty()) {
    return {};
  }
  const auto levels =
      std::minmax_element(points.begin(), points.end(), [](const auto& a, const auto& b) { return a.bl < b.bl; });
  const auto nits =
      std::minmax_element(points.begin(), points.end(), [](const auto& a, const auto& b) { return a.nits < b.nits; });
  return {points.size(), levels.first->bl, levels.second->bl, nits.first->nits, nits.second->nits};
}

void PrintTable(const char* name, const Extent& extent) {
  if (extent.points == 0) {
    fmt::print("{:<30}{:>6}\n", name, 0);
    return;
  }
  fmt::print("{:<30}{:>6}  {:>16}  {:>20}\n", name, extent.points,
             fmt::format("{} to {}", extent.lowest_level, extent.highest_level),
             fmt::format("{} to {}", extent.lowest_nits, extent.highest_nits));
}

void PrintText(Panel* panel) {
  const auto range = panel->Get<zarn::BLRange>(zarn::kBLRange);
  fmt::print("panel          {}\n", Printable(panel->Name()));
  fmt::print("file           {}\n", Printable(panel->File()));
  fmt::print("panel levels   {} to {}\n", range.minimum_bl, range.max_bl);
  fmt::print("client levels  0 to {}\n", range.max_os_bl);
  fmt::print("gamma          {}\n", panel->Get(zarn::format::kGamma));
  fmt::print("PCC threshold  {}\n\n", panel->Get(zarn::format::kPccThresh));
  fmt::print("{:<30}{:>6}  {:>16}  {:>20}\n", "measured table", "points", "client levels", "nits");
  for (const MeasuredTable& table : kMeasuredTables) {
    PrintTable(table.name, ExtentOf(panel->PointsOf(table)));
  }
}

nlohmann::ordered_json ToJson(const MeasuredTable& table, const Extent& extent) {
  auto object = JsonTable(table.hdr, table.coverage);
  const auto or_null = [&](auto number) {
    return extent.points > 0 ? nlohmann::ordered_json(number) : nlohmann::ordered_json();
  };
  object["points"] = extent.points;
  object["lowest_level"] = or_null(extent.lowest_level);
  object["highest_level"] = or_null(extent.highest_level);
  object["lowest_nits"] = or_null(extent.lowest_nits);
  object["highest_nits"] = or_null(extent.highest_nits);
  return object;
}

nlohmann::ordered_json ReportOf(Panel* panel) {
  auto report = JsonReportOn(*panel, "show");
  zarn::format::ForEachAttribute(
      [&](const auto& attribute) { report["attributes"][attribute.name] = panel->Get(attribute); });
  for (const MeasuredTable& table : kMeasuredTables) {
    report["tables"][JsonKeyOf(table.hdr, table.coverage)] = ToJson(table, ExtentOf(panel->PointsOf(table)));
  }
  return report;
}

void Run(const ShowOptions& options, CapturedLog* log) {
  Panel panel(options.panel, log);
  if (options.format == "json") {
    fmt::print("{}\n", JsonLine(ReportOf(&panel)));
  } else {
    PrintText(&panel);
  }
}

}  // namespace

nlohmann::ordered_json ShowReportOn(Panel* panel) { return ReportOf(panel); }

void AddShowCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "show", "Show what a panel's calibration holds");
  auto options = std::make_shared<ShowOptions>();
  AddPanelArgument(command, &options->panel);
  AddFormatOption(command, &options->format);
  command.Footer("Example: blnits show samples/backlight_calib_lcd_small.xml");
  command.Action([options, log] { Run(*options, log); });
}

}  // namespace blnits
