#include "panel/plan.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "foreign_text.h"
#include "panel/survey.h"
#include "readings/levels.h"
#include "support/failure.h"
#include "support/json.h"

namespace blnits {
namespace {

struct PlanOptions {
  std::string panel;  ///< Or a range of levels.
  uint32_t count = 0;
  uint32_t coverage = 100;
  bool hdr = false;
  std::string format = "text";
};

/// A plan, and the panel that it is for.
struct PlanReport {
  Plan plan;
  std::string name;  ///< Empty: the plan is for a range of levels.
  std::string file;
};

bool IsRange(const std::string& text) {
  std::error_code error;
  return text.find("..") != std::string::npos && text.find('/') == std::string::npos &&
         !std::filesystem::exists(text, error);
}

PlanReport ForRange(const PlanOptions& options) {
  const RangeOfLevels range = RangeOf(options.panel, "PANEL");
  auto levels = PlannedLevels(range.first, range.last, options.count, range.step);
  if (range.falls) {
    std::reverse(levels.begin(), levels.end());
  }
  return {{levels, {}, {}}, "", ""};
}

// The device takes level 0 as dark without a reading. It needs one if the panel has light there.
PlanReport ForPanel(const PlanOptions& options, CapturedLog* log) {
  Panel panel(options.panel, log);
  std::vector<zarn::BlNitsPoint> curve;
  for (const uint32_t level : SurveyLevels({&panel}, {options.coverage})) {
    const auto nits = panel.TryToNits(level, options.coverage, options.hdr);
    if (nits && std::isfinite(*nits) && (level > 0 || *nits > 0.0)) {
      curve.push_back({level, *nits});
    }
  }
  if (curve.empty()) {
    throw Failure(fmt::format("{}: no level has a luminance; blnits check gives the reason", panel.File()));
  }
  return {PlanFor(curve, options.count), panel.Name(), panel.File()};
}

std::string InWords(const PlanError& error, const char* unit) {
  return error.error > 0.0 ? fmt::format("{:.3f} {} at level {}", error.error, unit, error.level)
                           : fmt::format("0 {}", unit);
}

void PrintText(const PlanReport& report, const PlanOptions& options) {
  const Plan& plan = report.plan;
  if (!report.file.empty()) {
    fmt::print("# {} levels for {}, {}, {} % of the screen\n", plan.levels.size(), Printable(report.file),
               JsonModeOf(options.hdr), options.coverage);
    fmt::print("# largest error of straight lines between them: {}, {}\n", InWords(plan.percent, "%"),
               plan.jnd ? InWords(*plan.jnd, "JND") : "no JND");
  }
  for (const uint32_t level : plan.levels) {
    fmt::print("{}\n", level);
  }
}

nlohmann::ordered_json ToJson(const PlanError& error) {
  return {{"error", SixDecimals(error.error)}, {"level", error.level}};
}

nlohmann::ordered_json ReportOf(const PlanReport& report, const PlanOptions& options) {
  using Json = nlohmann::ordered_json;
  const Plan& plan = report.plan;
  const bool known = !report.file.empty();
  Json object = JsonReport("plan");
  object["panel"] = known ? Json(report.name) : Json();
  object["file"] = known ? Json(report.file) : Json();
  object["mode"] = known ? Json(JsonModeOf(options.hdr)) : Json();
  object["coverage"] = known ? Json(options.coverage) : Json();
  object["largest_percent"] = known ? ToJson(plan.percent) : Json();
  object["largest_jnd"] = plan.jnd ? ToJson(*plan.jnd) : Json();
  object["levels"] = plan.levels;
  return object;
}

void Run(const PlanOptions& options, CapturedLog* log) {
  const PlanReport report = IsRange(options.panel) ? ForRange(options) : ForPanel(options, log);
  if (options.format == "json") {
    fmt::print("{}\n", JsonLine(ReportOf(report, options)));
  } else {
    PrintText(report, options);
  }
}

}  // namespace

void AddPlanCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "plan", "Choose the levels to measure");
  auto options = std::make_shared<PlanOptions>();
  command
      .Add("PANEL", &options->panel,
           "A panel's name or the path of its file, to place the levels where its curve bends; or a range of\n"
           "levels: 0..255 or 0..255:5")
      .Required();
  command.Add("--count", &options->count, "Number of levels, 2 to 65,536").Required().Between(2, 65536).Takes("COUNT");
  command.Add("-c,--coverage", &options->coverage, "Share of the screen that is lit, 1 to 100 per cent")
      .Between(1, 100)
      .Takes("PERCENT")
      .ShowDefault();
  command.AddFlag("--hdr", &options->hdr, "Use the high-brightness curves");
  AddFormatOption(command, &options->format);
  command.Footer(
      "The levels are dense at the dark end. For a panel, they make the largest error of straight lines between them\n"
      "small, in per cent of the luminance, and plan prints this error. --levels of import and verify reads what plan\n"
      "prints.\n"
      "Example: blnits plan 0..255 --count 20 > levels.txt");
  command.Action([options, log] { Run(*options, log); });
}

}  // namespace blnits
