#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/reports.h"
#include "figures/jnd_steps.h"
#include "foreign_text.h"
#include "panel/survey.h"
#include "support/json.h"

namespace blnits {
namespace {

struct QualityOptions {
  std::string panel;
  LutFiles luts;
  std::string format = "text";
};

using Levels = std::vector<uint32_t>;

/// The result of converting each level to nits and back.
struct Returns {
  uint64_t refused = 0;   ///< Levels that the device refuses to convert in either direction.
  uint64_t not_back = 0;  ///< Levels that come back as another level.
  uint32_t worst = 0;     ///< The first level with the largest round-trip error,
  uint32_t worst_as = 0;  ///< and the level that it comes back as.
};

/// The largest step from a level to the next one, up or down.
struct Step {
  double percent;  ///< In per cent of the luminance before the step.
  uint32_t from;
};

/// Runs of levels with the same luminance.
struct Plateaus {
  uint64_t count = 0;
  uint64_t longest = 0;  ///< Number of levels in the longest run.
};

/// The quality of one curve. A value is empty if it would need levels that were not examined.
struct Quality {
  std::string curve;
  bool hdr = false;
  uint32_t coverage = 0;  ///< In per cent.
  bool dimmed = false;
  std::optional<Returns> returns;
  std::optional<Step> step;
  std::optional<Plateaus> plateaus;
  std::optional<JndSteps> jnd;
  std::optional<double> extrapolated;  ///< Share of the levels, in per cent. Empty when dimmed: maps do not tell.
};

/// The step from standard operation to high brightness, at the highest measured level of the standard table.
struct Seam {
  uint32_t coverage;
  uint32_t level;
  double standard;  ///< In nits.
  double hbm;
};

struct QualityReport {
  Levels levels;
  std::vector<Quality> curves;
  std::vector<Seam> seams;
};

uint64_t Distance(uint32_t a, uint32_t b) { return a > b ? a - b : b - a; }

Returns LookAtReturns(Panel* panel, const Curve& curve, const Levels& levels) {
  Returns returns;
  for (size_t i = 0; i < levels.size(); ++i) {
    const bool there = !std::isnan(curve.nits[i]);
    const auto back = there ? panel->TryToLevel(curve.nits[i], curve.coverage, curve.hdr) : std::nullopt;
    if (!back) {
      ++returns.refused;
    } else if (*back != levels[i]) {
      ++returns.not_back;
      if (Distance(*back, levels[i]) > Distance(returns.worst_as, returns.worst)) {
        returns.worst = levels[i];
        returns.worst_as = *back;
      }
    }
  }
  return returns;
}

std::optional<Step> LargestStep(const Curve& curve, const Levels& levels) {
  std::optional<Step> largest;
  for (size_t i = 0; i + 1 < levels.size(); ++i) {
    if (levels[i] < kFirstJumpLevel || levels[i + 1] != levels[i] + 1 || !(curve.nits[i] > 0.0)) {
      continue;
    }
    const double percent = 100.0 * std::abs(curve.nits[i + 1] - curve.nits[i]) / curve.nits[i];
    if (!std::isnan(percent) && (!largest || percent > largest->percent)) {
      largest = {percent, levels[i]};
    }
  }
  return largest;
}

Plateaus PlateausOf(const Curve& curve, const Levels& levels) {
  Plateaus plateaus;
  const auto same = [&](size_t i) { return IsSame(curve.nits[i], curve.nits[i + 1]); };
  ForEachRun(levels.size() - 1, same, [&](size_t first, size_t last) {
    ++plateaus.count;
    plateaus.longest = std::max(plateaus.longest, uint64_t{levels[last + 1]} - levels[first] + 1);
  });
  return plateaus;
}

double ExtrapolatedShare(Panel* panel, const Curve& curve, const Levels& levels) {
  const auto flags = Extrapolated(panel, curve, levels);
  const auto count = CountLevels(levels, [&](size_t i) { return flags[i]; });
  return 100.0 * static_cast<double>(count) / (static_cast<double>(levels.back()) + 1.0);
}

void LookAt(Panel* panel, bool dimmed, QualityReport* report) {
  const Levels& levels = report->levels;
  for (const Curve& curve : SurveyCurves(panel, {10, 55, 100}, levels)) {
    Quality quality;
    quality.curve = NameOf(curve);
    quality.hdr = curve.hdr;
    quality.coverage = curve.coverage;
    quality.dimmed = dimmed;
    if (AreAll(levels)) {
      quality.returns = LookAtReturns(panel, curve, levels);
      quality.jnd = JndStepsOf(curve.nits);
    }
    // A dimmed curve is not straight between measured points.
    if (AreAll(levels) || !dimmed) {
      quality.step = LargestStep(curve, levels);
      quality.plateaus = PlateausOf(curve, levels);
    }
    if (!dimmed) {
      quality.extrapolated = ExtrapolatedShare(panel, curve, levels);
    }
    report->curves.push_back(quality);
  }
}

std::vector<Seam> SeamsOf(Panel* panel) {
  std::vector<Seam> seams;
  for (const MeasuredTable& table : kMeasuredTables) {
    const auto& points = panel->PointsOf(table);
    if (table.hdr || points.empty()) {
      continue;
    }
    const uint32_t level = HighestLevel(points);
    const auto standard = panel->TryToNits(level, table.coverage, false);
    const auto hbm = panel->TryToNits(level, table.coverage, true);
    if (hbm && standard.value_or(0.0) > 0.0) {
      seams.push_back({table.coverage, level, *standard, *hbm});
    }
  }
  return seams;
}

double PercentOf(const Seam& seam) { return 100.0 * (seam.hbm / seam.standard - 1.0); }

std::string NameOf(const Quality& quality) { return quality.curve + (quality.dimmed ? ", dimmed" : ""); }

/// The number, or a dash if there is none.
template <class Number>
std::string OrDash(bool there, const Number& number) {
  return there ? fmt::format("{}", number) : "-";
}

void PrintJnd(const QualityReport& report) {
  fmt::print("\n{:<38}{:>9}{:>12}{:>9}{:>12}{:>10}{:>15}{:>15}{:>15}\n", "steps between neighbours, in JND", "smallest",
             "from level", "largest", "from level", "std. dev.", "distinct steps", "hidden levels", "without index");
  for (const Quality& curve : report.curves) {
    const bool there = curve.jnd.has_value();
    const JndSteps jnd = curve.jnd.value_or(JndSteps());
    fmt::print("{:<38}{:>9}{:>12}{:>9}{:>12}{:>10}{:>15}{:>15}{:>15}\n", NameOf(curve),
               OrDash(there, fmt::format("{:.3f}", jnd.smallest)), OrDash(there, jnd.smallest_from),
               OrDash(there, fmt::format("{:.3f}", jnd.largest)), OrDash(there, jnd.largest_from),
               OrDash(there, fmt::format("{:.3f}", jnd.deviation)), OrDash(there, jnd.distinct),
               OrDash(there, fmt::format("{:.1f} %", jnd.hidden_percent)), OrDash(there, jnd.without_index));
  }
}

// Each column is a number; largest values are followed by their level.
void PrintText(const Panel& panel, const QualityReport& report) {
  const std::string left_out = LeftOut(report.levels);
  fmt::print("panel          {}\nfile           {}\nclient levels  0 to {}, {} examined\n{}\n", Printable(panel.Name()),
             Printable(panel.File()), report.levels.back(), report.levels.size(),
             left_out.empty() ? "" : left_out + "; round trips need every level\n");
  fmt::print("{:<38}{:>9}{:>10}{:>8}{:>9}{:>14}{:>12}{:>10}{:>9}{:>14}\n", "level to nits to level", "not back",
             "worst: of", "as", "refused", "largest step", "from level", "plateaus", "longest", "extrapolated");
  for (const Quality& curve : report.curves) {
    const auto returns = curve.returns.value_or(Returns());
    const auto step = curve.step.value_or(Step());
    const auto plateaus = curve.plateaus.value_or(Plateaus());
    const bool looked = curve.returns.has_value();
    fmt::print("{:<38}{:>9}{:>10}{:>8}{:>9}{:>14}{:>12}{:>10}{:>9}{:>14}\n", NameOf(curve),
               OrDash(looked, returns.not_back), OrDash(returns.not_back > 0, returns.worst),
               OrDash(returns.not_back > 0, returns.worst_as), OrDash(looked, returns.refused),
               OrDash(curve.step.has_value(), fmt::format("{:.2f} %", step.percent)),
               OrDash(curve.step.has_value(), step.from), OrDash(curve.plateaus.has_value(), plateaus.count),
               OrDash(curve.plateaus.has_value(), plateaus.longest),
               curve.extrapolated ? fmt::format("{:.1f} %", *curve.extrapolated) : "-");
  }
  PrintJnd(report);
  fmt::print("\n{:<38}{:>9}{:>15}{:>22}{:>10}\n", "standard to high brightness", "at level", "standard nits",
             "high-brightness nits", "step");
  for (const Seam& seam : report.seams) {
    fmt::print("{:<38}{:>9}{:>15.3f}{:>22.3f}{:>8.2f} %\n", fmt::format("at {} % of the screen", seam.coverage),
               seam.level, seam.standard, seam.hbm, PercentOf(seam));
  }
}

using Json = nlohmann::ordered_json;

Json ToJson(const JndSteps& jnd) {
  return {{"smallest_step", {{"jnd", SixDecimals(jnd.smallest)}, {"from_level", jnd.smallest_from}}},
          {"largest_step", {{"jnd", SixDecimals(jnd.largest)}, {"from_level", jnd.largest_from}}},
          {"standard_deviation_jnd", SixDecimals(jnd.deviation)},
          {"distinct_steps", jnd.distinct},
          {"hidden_percent", jnd.hidden_percent},
          {"levels_without_index", jnd.without_index}};
}

Json ToJson(const Quality& quality) {
  Json object = JsonTable(quality.hdr, quality.coverage);
  const auto& returns = quality.returns;
  const auto& step = quality.step;
  const auto& plateaus = quality.plateaus;
  object["changed_levels"] = returns ? Json(returns->not_back) : Json();
  object["worst_round_trip"] = Json();
  if (returns && returns->not_back > 0) {
    object["worst_round_trip"] = {{"level", returns->worst}, {"back_level", returns->worst_as}};
  }
  object["refused_levels"] = returns ? Json(returns->refused) : Json();
  object["largest_step"] = step ? Json{{"percent", step->percent}, {"from_level", step->from}} : Json();
  object["plateaus"] = plateaus ? Json(plateaus->count) : Json();
  object["longest_plateau_levels"] = plateaus ? Json(plateaus->longest) : Json();
  object["extrapolated_percent"] = quality.extrapolated ? Json(*quality.extrapolated) : Json();
  object["jnd"] = quality.jnd ? ToJson(*quality.jnd) : Json();
  return object;
}

Json ReportOf(const Panel& panel, const QualityReport& quality) {
  Json report = JsonReportOn(panel, "quality");
  report["last_level"] = quality.levels.back();
  report["examined_levels"] = quality.levels.size();
  report["curves"] = Json::object();
  report["dimmed_curves"] = Json();
  for (const Quality& curve : quality.curves) {
    report[curve.dimmed ? "dimmed_curves" : "curves"][JsonKeyOf(curve.hdr, curve.coverage)] = ToJson(curve);
  }
  report["seams"] = Json::array();
  for (const Seam& seam : quality.seams) {
    report["seams"].push_back({{"coverage", seam.coverage},
                               {"level", seam.level},
                               {"standard_nits", seam.standard},
                               {"hbm_nits", seam.hbm},
                               {"percent", PercentOf(seam)}});
  }
  return report;
}

QualityReport QualityOf(Panel* panel) {
  QualityReport report;
  report.levels = SurveyLevels(panel);
  LookAt(panel, false, &report);
  report.seams = SeamsOf(panel);
  return report;
}

void Run(const QualityOptions& options, CapturedLog* log) {
  Panel panel(options.panel, log);
  QualityReport report = QualityOf(&panel);
  if (!options.luts.dimming.empty()) {
    SwitchDimmingOn(options.luts, &panel);
    LookAt(&panel, true, &report);
  }
  if (options.format == "json") {
    fmt::print("{}\n", JsonLine(ReportOf(panel, report)));
  } else {
    PrintText(panel, report);
  }
}

}  // namespace

nlohmann::ordered_json QualityReportOn(Panel* panel) { return ReportOf(*panel, QualityOf(panel)); }

void AddQualityCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "quality", "Judge a calibration by its round trips, steps and plateaus");
  auto options = std::make_shared<QualityOptions>();
  AddPanelArgument(command, &options->panel);
  AddLutOptions(command, &options->luts);
  AddFormatOption(command, &options->format);
  command.Footer(fmt::format(
      "Examines every client level up to 65,535 at coverages 10, 55 and 100 %; with LUTs also dimmed. Above that, it\n"
      "examines each measured point and the levels next to it, which have the largest steps. A step is the change\n"
      "to the next level, from level {} on, in per cent of the luminance before it. A plateau is a run of levels\n"
      "with the same luminance. An extrapolated level lies outside the measured points.\n"
      "One JND is a just-noticeable difference of luminance (DICOM grayscale standard display function). Levels have\n"
      "a JND index from 0.05 to 4,000 nits. A hidden level differs by less than 1 JND from each neighbour.\n"
      "Example: blnits quality samples/backlight_calib_oled_phone.xml",
      kFirstJumpLevel));
  command.Action([options, log] { Run(*options, log); });
}

}  // namespace blnits
