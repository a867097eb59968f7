#include <algorithm>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "panel/survey.h"

namespace blnits {
namespace {

struct QualityOptions {
  std::string panel;
  LutFiles luts;
  std::string format = "text";
};

using Levels = std::vector<uint32_t>;

/// What one way of asking, there and back, is worth.
struct Quality {
  std::string curve;
  bool dimmed = false;
  size_t refused = 0;      ///< Levels that do not get there or back.
  size_t not_back = 0;     ///< Levels that come back as another.
  uint32_t worst = 0;      ///< The level that comes back farthest from itself, the first of them,
  uint32_t worst_as = 0;   ///< and as what.
  double jump = 0.0;       ///< Largest step to the next level, up or down, in per cent of what is before it,
  uint32_t jump_from = 0;  ///< and from where; 0: there is none.
  size_t plateaus = 0;     ///< Runs of levels with the same luminance,
  size_t longest = 0;      ///< and how many levels the longest has.
  std::optional<double> extrapolated;  ///< Share of the levels, in per cent. Nothing when dimmed: the maps say not.
};

/// The step from standard operation to high brightness, at the highest level that is measured in standard operation.
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

void LookAtReturns(Panel* panel, const Curve& curve, const Levels& levels, Quality* quality) {
  for (size_t i = 0; i < levels.size(); ++i) {
    const bool there = !std::isnan(curve.nits[i]);
    const auto back = there ? panel->TryToLevel(curve.nits[i], curve.coverage, curve.hdr) : std::nullopt;
    if (!back) {
      ++quality->refused;
    } else if (*back != levels[i]) {
      ++quality->not_back;
      if (Distance(*back, levels[i]) > Distance(quality->worst_as, quality->worst)) {
        quality->worst = levels[i];
        quality->worst_as = *back;
      }
    }
  }
}

void LookAtSteps(const Curve& curve, const Levels& levels, Quality* quality) {
  for (size_t i = 0; i + 1 < levels.size(); ++i) {
    const double jump = 100.0 * std::abs(curve.nits[i + 1] - curve.nits[i]);
    const bool counts = levels[i] >= kFirstJumpLevel && levels[i + 1] == levels[i] + 1 && curve.nits[i] > 0.0;
    if (counts && jump > quality->jump * curve.nits[i]) {
      quality->jump = jump / curve.nits[i];
      quality->jump_from = levels[i];
    }
  }
  const auto same = [&](size_t i) { return curve.nits[i + 1] == curve.nits[i]; };
  ForEachRun(levels.size() - 1, same, [&](size_t first, size_t last) {
    ++quality->plateaus;
    quality->longest = std::max(quality->longest, last - first + 2);
  });
}

double ShareOf(const std::vector<bool>& flags) {
  return 100.0 * static_cast<double>(std::count(flags.begin(), flags.end(), true)) / static_cast<double>(flags.size());
}

void LookAt(Panel* panel, bool dimmed, QualityReport* report) {
  for (const Curve& curve : SurveyCurves(panel, {10, 55, 100}, report->levels)) {
    Quality quality;
    quality.curve = NameOf(curve);
    quality.dimmed = dimmed;
    LookAtReturns(panel, curve, report->levels, &quality);
    LookAtSteps(curve, report->levels, &quality);
    if (!dimmed) {
      quality.extrapolated = ShareOf(Extrapolated(panel, curve, report->levels));
    }
    report->curves.push_back(quality);
  }
}

std::vector<Seam> SeamsOf(Panel* panel) {
  std::vector<Seam> seams;
  for (const MeasuredTable& table : kMeasuredTables) {
    const auto points = PointsOf(panel, table);
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

// Every column is a number and, where it has a place, the level beside it.
void PrintText(const Panel& panel, const QualityReport& report) {
  fmt::print("panel          {}\nfile           {}\nclient levels  0 to {}, {} looked at\n\n", panel.Name(),
             panel.File(), report.levels.back(), report.levels.size());
  fmt::print("{:<38}{:>9}{:>10}{:>8}{:>9}{:>14}{:>12}{:>10}{:>9}{:>14}\n", "level to nits to level", "not back",
             "worst: of", "as", "refused", "largest step", "from level", "plateaus", "longest", "extrapolated");
  for (const Quality& curve : report.curves) {
    fmt::print("{:<38}{:>9}{:>10}{:>8}{:>9}{:>12.2f} %{:>12}{:>10}{:>9}{:>14}\n",
               curve.curve + (curve.dimmed ? ", dimmed" : ""), curve.not_back, curve.worst, curve.worst_as,
               curve.refused, curve.jump, curve.jump_from, curve.plateaus, curve.longest,
               curve.extrapolated ? fmt::format("{:.1f} %", *curve.extrapolated) : "-");
  }
  fmt::print("\n{:<38}{:>9}{:>15}{:>22}{:>10}\n", "standard to high brightness", "at level", "standard nits",
             "high-brightness nits", "step");
  for (const Seam& seam : report.seams) {
    fmt::print("{:<38}{:>9}{:>15.3f}{:>22.3f}{:>8.2f} %\n", fmt::format("at {} % of the screen", seam.coverage),
               seam.level, seam.standard, seam.hbm, PercentOf(seam));
  }
}

void PrintJson(const Panel& panel, const QualityReport& report) {
  nlohmann::ordered_json object = {{"panel", panel.Name()},
                                   {"file", panel.File()},
                                   {"last_level", report.levels.back()},
                                   {"levels", report.levels.size()},
                                   {"curves", nlohmann::ordered_json::array()},
                                   {"seams", nlohmann::ordered_json::array()}};
  for (const Quality& curve : report.curves) {
    object["curves"].push_back(
        {{"curve", curve.curve},
         {"dimmed", curve.dimmed},
         {"not_back", curve.not_back},
         {"worst", {{"level", curve.worst}, {"as", curve.worst_as}}},
         {"refused", curve.refused},
         {"largest_step", {{"percent", curve.jump}, {"from_level", curve.jump_from}}},
         {"plateaus", curve.plateaus},
         {"longest_plateau", curve.longest},
         {"extrapolated_percent",
          curve.extrapolated ? nlohmann::ordered_json(*curve.extrapolated) : nlohmann::ordered_json()}});
  }
  for (const Seam& seam : report.seams) {
    object["seams"].push_back({{"coverage", seam.coverage},
                               {"level", seam.level},
                               {"standard_nits", seam.standard},
                               {"hbm_nits", seam.hbm},
                               {"percent", PercentOf(seam)}});
  }
  fmt::print("{}\n", object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

void Run(const QualityOptions& options, CapturedLog* log) {
  Panel panel(options.panel, log);
  QualityReport report;
  report.levels = SurveyLevels(&panel);
  LookAt(&panel, false, &report);
  report.seams = SeamsOf(&panel);
  if (!options.luts.dimming.empty()) {
    SwitchDimmingOn(options.luts, &panel);
    LookAt(&panel, true, &report);
  }
  (options.format == "json" ? PrintJson : PrintText)(panel, report);
}

}  // namespace

void AddQualityCommand(CLI::App* app, CapturedLog* log) {
  auto* const command =
      app->add_subcommand("quality", "Tell what a calibration is worth: level to nits to level, steps, plateaus");
  auto options = std::make_shared<QualityOptions>();
  AddPanelArgument(command, &options->panel);
  AddLutOptions(command, &options->luts);
  AddFormatOption(command, &options->format);
  command->footer(fmt::format(
      "For every client level at coverages 10, 55 and 100 %; with LUTs also dimmed. A step is the way to the\n"
      "next level, from level {} on, in per cent of the luminance before it; a plateau is a run of levels with\n"
      "the same luminance; an extrapolated level is one that no point of the file encloses.\n"
      "Example: blnits quality samples/backlight_calib_oled_phone.xml",
      kFirstJumpLevel));
  command->callback([options, log] { Run(*options, log); });
}

}  // namespace blnits
