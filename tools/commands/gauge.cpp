#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "foreign_text.h"
#include "gauging/study.h"
#include "support/json.h"

namespace blnits {
namespace {

struct GaugeOptions {
  std::string file;
  double alpha = 0.05;
  double max_grr = std::numeric_limits<double>::infinity();  ///< In per cent of the total variation.
  std::string format = "text";
};

// The bounds of the handbook.
constexpr double kGoodPercent = 10.0;
constexpr double kUsablePercent = 30.0;
constexpr double kEnoughCategories = 5.0;

/// The analysis of one level, or of all.
struct Analysis {
  Anova anova;
  Gauge gauge;

  double GrrPercent() const { return gauge.PercentOfTotal(gauge.grr); }
};

struct LevelAnalysis : Analysis {
  uint32_t level;
  double mean;  ///< In nits.
};

struct GaugeReport {
  CrossedDesign design;
  std::vector<LevelAnalysis> levels;
  std::optional<Analysis> overall;  ///< In per cent; empty if a level has no luminance.
};

std::vector<double> InPercent(std::vector<double> readings, double of) {
  std::transform(readings.begin(), readings.end(), readings.begin(), [=](double each) { return 100.0 * each / of; });
  return readings;
}

Analysis Analyse(const Anova& anova, const CrossedDesign& design, double alpha) {
  return {anova, GaugeOf(anova, design, alpha)};
}

// Levels have different luminances, so their squares add up only in per cent of each level's mean.
GaugeReport Analyse(const GaugeStudy& study, double alpha) {
  GaugeReport report = {study.design, {}, {}};
  Anova all;
  bool bright = true;
  for (const auto& [level, readings] : study.readings) {
    const double mean = MeanOf(readings);
    report.levels.push_back({Analyse(AnovaOf(study.design, readings), study.design, alpha), level, mean});
    bright = bright && mean > 0.0;
    if (bright) {
      all.Add(AnovaOf(study.design, InPercent(readings, mean)));
    }
  }
  if (bright) {
    report.overall = Analyse(all, study.design, alpha);
  }
  return report;
}

/// The level with the largest share of the gauge.
const LevelAnalysis& WorstOf(const GaugeReport& report) {
  return *std::max_element(report.levels.begin(), report.levels.end(),
                           [](const auto& a, const auto& b) { return a.GrrPercent() < b.GrrPercent(); });
}

bool Passes(const GaugeReport& report, const GaugeOptions& options) {
  return !(WorstOf(report).GrrPercent() > options.max_grr);
}

/// Rounded down, and at least 1; empty without an error of the gauge.
std::optional<uint64_t> CategoriesOf(const Gauge& gauge) {
  const double categories = gauge.Categories();
  return categories < 1e15 ? std::optional<uint64_t>(static_cast<uint64_t>(std::max(1.0, std::floor(categories))))
                           : std::nullopt;
}

std::string Categories(const Gauge& gauge) {
  const auto categories = CategoriesOf(gauge);
  return categories ? fmt::format("{}", *categories) : "-";
}

std::string Verdict(const Analysis& analysis) {
  const double percent = analysis.GrrPercent();
  if (std::isnan(percent)) {
    return "all readings are equal";
  }
  const char* const grr = percent <= kGoodPercent     ? "at most 10 %: good"
                          : percent <= kUsablePercent ? "10 to 30 %: may do, depending on the use and its cost"
                                                      : "above 30 %: not good";
  const bool enough = !(analysis.gauge.Categories() < kEnoughCategories);
  return fmt::format("%GRR {}; ndc {}: {}", grr, Categories(analysis.gauge),
                     enough ? "5 or more, enough" : "below 5, too few");
}

void PrintAnova(const Anova& anova) {
  fmt::print("{:<18}{:>16}{:>8}{:>16}\n", "source", "squares", "df", "mean square");
  for (const auto& [name, line] :
       {std::pair{"part", &anova.part}, std::pair{"operator", &anova.operators},
        std::pair{"part x operator", &anova.interaction}, std::pair{"repeatability", &anova.repeatability},
        std::pair{"total", &anova.total}}) {
    fmt::print("{:<18}{:>16.6g}{:>8}{:>16.6g}\n", name, line->squares, line->freedom, line->MeanSquare());
  }
}

void PrintGauge(const Gauge& gauge, const GaugeOptions& options, const char* unit) {
  fmt::print("part x operator: F {}, p {}, so it {} (alpha {})\n\n", Fixed(gauge.f, 5), Fixed(gauge.p, 5),
             gauge.pooled ? "counts as repeatability" : "is significant", options.alpha);
  fmt::print("{:<24}{:>16}{:>12}{:>16}\n", "standard deviation", unit, "% of TV", "% contribution");
  for (const auto& [name, deviation] :
       {std::pair{"repeatability EV", gauge.equipment}, std::pair{"reproducibility AV", gauge.appraiser},
        std::pair{"gauge GRR", gauge.grr}, std::pair{"parts PV", gauge.part}, std::pair{"total TV", gauge.total}}) {
    fmt::print("{:<24}{:>16.6f}{:>12}{:>16}\n", name, deviation, Fixed(gauge.PercentOfTotal(deviation), 3),
               Fixed(gauge.Contribution(deviation), 3));
  }
}

void PrintAnalysis(const Analysis& analysis, const GaugeOptions& options, const char* unit) {
  PrintAnova(analysis.anova);
  PrintGauge(analysis.gauge, options, unit);
  fmt::print("{}\n", Verdict(analysis));
}

void PrintLevels(const GaugeReport& report, const GaugeOptions& options) {
  fmt::print("{:>8}{:>12}{:>12}{:>12}{:>12}{:>12}{:>9}{:>9}{:>5}  {}\n", "level", "mean nits", "EV nits", "AV nits",
             "GRR nits", "PV nits", "% GRR", "% contr.", "ndc", "interaction");
  for (const LevelAnalysis& each : report.levels) {
    const Gauge& gauge = each.gauge;
    fmt::print("{:>8}{:>12.4f}{:>12.6f}{:>12.6f}{:>12.6f}{:>12.6f}{:>9}{:>9}{:>5}  {}{}\n", each.level, each.mean,
               gauge.equipment, gauge.appraiser, gauge.grr, gauge.part, Fixed(each.GrrPercent(), 2),
               Fixed(gauge.Contribution(gauge.grr), 2), Categories(gauge), gauge.pooled ? "pooled" : "significant",
               each.GrrPercent() > options.max_grr ? "  beyond the limit" : "");
  }
}

void PrintText(const GaugeReport& report, const GaugeOptions& options) {
  const auto& [parts, operators, trials] = report.design;
  fmt::print("{}: {} parts, {} operators, {} trials, {} level{}\n\n", Printable(options.file), parts, operators, trials,
             report.levels.size(), report.levels.size() == 1 ? "" : "s");
  if (report.levels.size() == 1) {
    PrintAnalysis(report.levels.front(), options, "nits");
    return;
  }
  PrintLevels(report, options);
  const LevelAnalysis& worst = WorstOf(report);
  fmt::print("worst at level {}: {}\n", worst.level, Verdict(worst));
  if (report.overall) {
    fmt::print("\nall levels, in per cent of the mean of each\n");
    PrintAnalysis(*report.overall, options, "%");
  }
}

using Json = nlohmann::ordered_json;

Json ToJson(const Variation& line) {
  return {{"squares", line.squares}, {"freedom", line.freedom}, {"mean_square", line.MeanSquare()}};
}

Json ToJson(const Gauge& gauge, double deviation) {
  return {{"deviation", deviation},
          {"percent_of_total", gauge.PercentOfTotal(deviation)},
          {"percent_contribution", gauge.Contribution(deviation)}};
}

Json ToJson(const Analysis& analysis) {
  const auto& [anova, gauge] = analysis;
  const auto categories = CategoriesOf(gauge);
  return {{"anova",
           {{"part", ToJson(anova.part)},
            {"operator", ToJson(anova.operators)},
            {"interaction", ToJson(anova.interaction)},
            {"repeatability", ToJson(anova.repeatability)},
            {"total", ToJson(anova.total)}}},
          {"f", SixDecimals(gauge.f)},
          {"p", SixDecimals(gauge.p)},
          {"pooled", gauge.pooled},
          {"ev", ToJson(gauge, gauge.equipment)},
          {"av", ToJson(gauge, gauge.appraiser)},
          {"grr", ToJson(gauge, gauge.grr)},
          {"pv", ToJson(gauge, gauge.part)},
          {"tv", ToJson(gauge, gauge.total)},
          {"ndc", categories ? Json(*categories) : Json()}};
}

Json ReportOf(const GaugeReport& report, const GaugeOptions& options) {
  const auto& [parts, operators, trials] = report.design;
  Json object = JsonReport("gauge");
  object["file"] = options.file;
  object["parts"] = parts;
  object["operators"] = operators;
  object["trials"] = trials;
  object["alpha"] = options.alpha;
  object["max_grr_percent"] = options.max_grr;  // Infinity becomes null.
  object["passes"] = Passes(report, options);
  object["worst_level"] = WorstOf(report).level;
  for (const LevelAnalysis& each : report.levels) {
    Json level = {{"level", each.level}, {"mean_nits", each.mean}};
    level.update(ToJson(each));
    object["levels"].push_back(level);
  }
  object["overall"] = report.overall ? ToJson(*report.overall) : Json();
  return object;
}

void Run(const GaugeOptions& options) {
  const GaugeReport report = Analyse(ReadGaugeStudy(options.file), options.alpha);
  if (options.format == "json") {
    fmt::print("{}\n", JsonLine(ReportOf(report, options)));
  } else {
    PrintText(report, options);
  }
  if (!Passes(report, options)) {
    throw Negative();
  }
}

}  // namespace

void AddGaugeCommand(CLI::App* app) {
  const Subcommand command(app, "gauge", "Tell how much of the scatter of panels is the scatter of measuring them");
  auto options = std::make_shared<GaugeOptions>();
  command.Add("FILE", &options->file, "CSV file with the columns part, operator, trial, nits and maybe level")
      .Required();
  command
      .Add("--alpha", &options->alpha, "The interaction of part and operator is significant if its p is at most this")
      .NotNegative()
      .Takes("NUMBER")
      .ShowDefault();
  command.Add("--max-grr", &options->max_grr, "Exit with status 1 if a level's %GRR is above this")
      .NotNegative()
      .Takes("PERCENT");
  AddFormatOption(command, &options->format);
  command.Footer(
      "A crossed study: each operator measures each part in each trial, at each level. By the ANOVA method: EV is the\n"
      "repeatability, AV the reproducibility, %GRR both in per cent of the total variation, ndc the number of "
      "distinct\n"
      "categories. Usual bounds: %GRR up to 10 is good, above 30 is not; ndc is 5 or more. All levels together are\n"
      "analysed in per cent of each level's mean.\n"
      "Example: blnits gauge study.csv --max-grr 30");
  command.Action([options] { Run(*options); });
}

}  // namespace blnits
