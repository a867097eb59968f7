#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <utility>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/readings_options.h"
#include "commands/reports.h"
#include "figures/gsdf.h"
#include "foreign_text.h"
#include "readings/readings.h"
#include "support/failure.h"
#include "support/json.h"
#include "support/output_file.h"
#include "support/plot.h"

namespace blnits {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

struct VerifyOptions : VerifyRules {
  std::string panel;
  std::string format = "text";
  std::string output;
};

/// The units of an error. All three are of the reading minus the calibration.
enum Unit { kNits, kPercent, kJnd, kUnits };
constexpr const char* kUnitNames[kUnits] = {"nits", "percent", "jnd"};  ///< In JSON,
constexpr const char* kSigns[kUnits] = {"nits", "%", "JND"};            ///< and for people.

std::string ErrorIn(Unit unit) { return std::string("error_") + kUnitNames[unit]; }

/// One reading beside the calibration.
struct Residual {
  RawReading reading;
  uint32_t coverage;
  bool hdr;
  double calibrated;      ///< In nits; NaN if the device refuses the level.
  double errors[kUnits];  ///< NaN without a calibrated luminance; kPercent also at 0 nits, kJnd without a JND index.
};

bool IsBetween(const Residual& residual) { return residual.coverage > 10 && residual.coverage < 100; }

/// The errors of several readings in one unit.
struct Summary {
  size_t count = 0;
  double largest = 0.0;  ///< Without sign.
  const Residual* at = nullptr;
  double sum = 0.0;
  double squares = 0.0;

  void Add(const Residual& residual, Unit unit) {
    const double error = residual.errors[unit];
    if (std::isnan(error)) {
      return;
    }
    ++count;
    sum += error;
    squares += error * error;
    if (at == nullptr || std::abs(error) > largest) {
      largest = std::abs(error);
      at = &residual;
    }
  }
  double Mean() const { return sum / static_cast<double>(count); }
  double Rms() const { return std::sqrt(squares / static_cast<double>(count)); }
};

struct Verdict {
  std::vector<Residual> residuals;  ///< In the order of the file.
  Summary all[kUnits];
  Summary between[kUnits];  ///< Of the coverages between 10 and 100 %.
  size_t refused = 0;
  size_t beyond = 0;  ///< Readings beyond a limit; refused ones are, if there is a limit.
};

std::optional<double> LimitOf(const VerifyRules& options, Unit unit) {
  return unit == kNits ? options.max_nits : unit == kPercent ? options.max_percent : options.max_jnd;
}

// Without a JND index there is no error in JND, and nothing to judge.
bool IsBeyond(const Residual& residual, const VerifyRules& options) {
  const auto exceeds = [&](Unit unit) {
    const std::optional<double> limit = LimitOf(options, unit);
    return limit && (std::isnan(residual.calibrated) || std::abs(residual.errors[unit]) > *limit);
  };
  return exceeds(kNits) || exceeds(kPercent) || exceeds(kJnd);
}

double JndBetween(double calibrated, double read) {
  const auto of_calibrated = JndIndexOfNits(calibrated);
  const auto of_read = JndIndexOfNits(read);
  return of_calibrated && of_read ? *of_read - *of_calibrated : kNan;
}

Residual Compare(const RawReading& reading, const VerifyRules& options, Panel* panel) {
  Residual residual = {
      reading, reading.coverage.value_or(options.coverage), reading.hbm.value_or(options.hdr), kNan, {}};
  residual.calibrated = panel->TryToNits(reading.level, residual.coverage, residual.hdr).value_or(kNan);
  const double error = reading.nits - residual.calibrated;
  residual.errors[kNits] = error;
  residual.errors[kPercent] = residual.calibrated != 0.0 ? 100.0 * error / residual.calibrated : kNan;
  residual.errors[kJnd] = JndBetween(residual.calibrated, reading.nits);
  return residual;
}

Verdict Judge(const ReadingsFile& file, const VerifyRules& options, Panel* panel) {
  Verdict verdict;
  for (const RawReading& reading : file.readings) {
    verdict.residuals.push_back(Compare(reading, options, panel));
  }
  for (const Residual& residual : verdict.residuals) {
    for (const Unit unit : {kNits, kPercent, kJnd}) {
      verdict.all[unit].Add(residual, unit);
      if (IsBetween(residual)) {
        verdict.between[unit].Add(residual, unit);
      }
    }
    verdict.refused += std::isnan(residual.calibrated) ? 1 : 0;
    verdict.beyond += IsBeyond(residual, options) ? 1 : 0;
  }
  return verdict;
}

void PrintResiduals(const Verdict& verdict, const VerifyRules& options) {
  fmt::print("{:>10}{:>10}{:>10}{:>14}{:>14}{:>12}{:>10}{:>10}\n", "level", "coverage", "mode", "read nits",
             "calibrated", "error nits", "error %", "JND");
  for (const Residual& residual : verdict.residuals) {
    fmt::print("{:>10}{:>8} %{:>10}{:>14.4f}{:>14}{:>12}{:>10}{:>10}{}\n", residual.reading.level, residual.coverage,
               JsonModeOf(residual.hdr), residual.reading.nits, Fixed(residual.calibrated, 4),
               Fixed(residual.errors[kNits], 4), Fixed(residual.errors[kPercent], 3), Fixed(residual.errors[kJnd], 3),
               IsBeyond(residual, options) ? "  beyond the limit" : "");
  }
}

void PrintSummary(const char* what, const Summary& summary, const char* unit) {
  if (summary.count == 0) {
    return;
  }
  fmt::print("{:<28}{:<6}{:>12.4f}{:>10}{:>8} %{:>12.4f}{:>12.4f}{:>10}\n", what, unit, summary.largest,
             summary.at->reading.level, summary.at->coverage, summary.Mean(), summary.Rms(), summary.count);
}

void PrintText(const Panel& panel, const ReadingsFile& file, const Verdict& verdict, const VerifyRules& options) {
  fmt::print("panel     {}\nreadings  {}, {} of kind {}\n\n", Printable(panel.File()), Printable(options.file),
             verdict.residuals.size(), file.kind);
  for (const std::string& note : file.notes) {
    fmt::print("note: {}\n", note);
  }
  PrintResiduals(verdict, options);
  fmt::print("\n{:<34}{:>12}{:>10}{:>10}{:>12}{:>12}{:>10}\n", "reading - calibration", "largest", "at level",
             "coverage", "mean", "rms", "readings");
  for (const Unit unit : {kNits, kPercent, kJnd}) {
    PrintSummary("all", verdict.all[unit], kSigns[unit]);
    PrintSummary("between 10 and 100 %", verdict.between[unit], kSigns[unit]);
  }
  if (verdict.all[kNits].squares > 0.0 && verdict.between[kNits].count > 0) {
    fmt::print("{:.1f} % of the squared error in nits comes from coverages between 10 and 100 %\n",
               100.0 * verdict.between[kNits].squares / verdict.all[kNits].squares);
  }
  if (verdict.refused > 0) {
    fmt::print("readings whose level the device refuses: {}\n", verdict.refused);
  }
  if (options.max_nits || options.max_percent || options.max_jnd) {
    fmt::print("{} of {} readings beyond the limit\n", verdict.beyond, verdict.residuals.size());
  }
}

using Json = nlohmann::ordered_json;

Json ToJson(const Summary& summary) {
  if (summary.count == 0) {
    return {};
  }
  Json place = {{"level", summary.at->reading.level}};
  place.update(JsonTable(summary.at->hdr, summary.at->coverage));
  return {{"largest", SixDecimals(summary.largest)},
          {"at", place},
          {"mean", SixDecimals(summary.Mean())},
          {"rms", SixDecimals(summary.Rms())},
          {"readings", summary.count}};
}

Json ToJson(const Residual& residual, const VerifyRules& options) {
  Json object = JsonTable(residual.hdr, residual.coverage);
  object["line"] = residual.reading.line;
  object["level"] = residual.reading.level;
  object["nits"] = residual.reading.nits;
  object["calibrated_nits"] = SixDecimals(residual.calibrated);
  for (const Unit unit : {kNits, kPercent, kJnd}) {
    object[ErrorIn(unit)] = SixDecimals(residual.errors[unit]);
  }
  object["beyond_limit"] = IsBeyond(residual, options);
  return object;
}

Json ReportOf(const Panel& panel, const ReadingsFile& file, const Verdict& verdict, const VerifyRules& options) {
  Json report = JsonReportOn(panel, "verify");
  report["readings_file"] = options.file;
  report["kind"] = file.kind;
  report["notes"] = file.notes;
  for (const Unit unit : {kNits, kPercent, kJnd}) {
    const std::optional<double> limit = LimitOf(options, unit);
    report["limits"][std::string("max_") + kUnitNames[unit]] = limit ? Json(*limit) : Json();
  }
  report["passes"] = verdict.beyond == 0;
  report["readings_beyond_limit"] = verdict.beyond;
  report["refused_readings"] = verdict.refused;
  for (const Unit unit : {kNits, kPercent, kJnd}) {
    report["all"][ErrorIn(unit)] = ToJson(verdict.all[unit]);
    report["between"][ErrorIn(unit)] = ToJson(verdict.between[unit]);
  }
  for (const Residual& residual : verdict.residuals) {
    report["readings"].push_back(ToJson(residual, options));
  }
  return report;
}

/// The residuals of one coverage and mode, by rising level.
std::map<std::pair<bool, uint32_t>, PlotPoints> SeriesOf(const Verdict& verdict, Unit unit) {
  std::map<std::pair<bool, uint32_t>, PlotPoints> series;
  for (const Residual& residual : verdict.residuals) {
    if (!std::isnan(residual.errors[unit])) {
      series[{residual.hdr, residual.coverage}].emplace_back(residual.reading.level, residual.errors[unit]);
    }
  }
  for (auto& [of, points] : series) {
    std::sort(points.begin(), points.end());
  }
  return series;
}

PlotPane PaneOf(const Verdict& verdict, Unit unit, const VerifyRules& options) {
  constexpr const char* kColours[] = {"#08306b", "#7f2704", "#00441b", "#3f007d", "#6baed6", "#fd8d3c"};
  PlotPane pane = {"reading - calibration", kSigns[unit], false, {}};
  double last = 0.0;
  for (const auto& [of, points] : SeriesOf(verdict, unit)) {
    const std::vector<bool> solid(points.size(), false);
    pane.lines.push_back({fmt::format("{}, {} %", JsonModeOf(of.first), of.second),
                          kColours[pane.lines.size() % std::size(kColours)], false, points, solid, points});
    last = std::max(last, points.back().first);
  }
  const std::optional<double> limit = LimitOf(options, unit);
  for (const double sign : {-1.0, 1.0}) {
    if (limit) {
      pane.lines.push_back({sign > 0.0 ? "limit" : "",
                            "#969696",
                            false,
                            {{0.0, sign * *limit}, {last, sign * *limit}},
                            {false, false},
                            {}});
    }
  }
  return pane;
}

// Per cent, and below it the unit that the user's limit is in; without a limit, JND.
Plot PlotOf(const Panel& panel, const Verdict& verdict, const VerifyRules& options) {
  const Unit second = options.max_nits && !options.max_jnd ? kNits : kJnd;
  Plot plot = {Shown(panel.Name(), 40), "client level", {PaneOf(verdict, kPercent, options)}, false};
  if (verdict.all[second].count > 0) {
    plot.panes.push_back(PaneOf(verdict, second, options));
  }
  return plot;
}

void Draw(const Panel& panel, const Verdict& verdict, const VerifyOptions& options) {
  if (!options.output.empty()) {
    const std::string picture = Drawn(PlotOf(panel, verdict, options), PictureFormatOf(options.output, ""));
    WriteWhole(options.output, [&](std::ostream& stream) { stream << picture; });
  }
}

ReadingsFile ReadingsFor(Panel* panel, const VerifyRules& options) {
  ReadingsOptions readings = options.readings;
  readings.top_level = panel->Get(zarn::format::kMaxOsBl);
  return ReadReadings(options.file, readings);
}

void Run(const VerifyOptions& options, CapturedLog* log) {
  if (options.output == "-") {
    throw Failure("--output: found -, expected a file's name: the report goes to standard output");
  }
  Panel panel(options.panel, log);
  const ReadingsFile file = ReadingsFor(&panel, options);
  const Verdict verdict = Judge(file, options, &panel);
  if (options.format == "json") {
    Draw(panel, verdict, options);
    fmt::print("{}\n", JsonLine(ReportOf(panel, file, verdict, options)));
  } else {
    PrintText(panel, file, verdict, options);
    Draw(panel, verdict, options);
  }
  if (verdict.beyond > 0) {
    throw Negative();
  }
}

void AddLimit(const Subcommand& command, const char* name, std::optional<double>* limit, const char* unit) {
  command.Add(name, limit, fmt::format("Exit with status 1 if a reading differs by more {}", unit))
      .NotNegative()
      .Takes("NUMBER");
}

}  // namespace

void AddVerifyOptions(const Subcommand& command, VerifyRules* rules) {
  command
      .Add("-c,--coverage", &rules->coverage,
           "Share of the screen that was lit, 1 to 100 per cent, for readings whose file does not tell it")
      .Between(1, 100)
      .Takes("PERCENT")
      .ShowDefault();
  command.AddFlag("--hdr", &rules->hdr, "The readings are of high brightness, if their file does not tell it");
  AddReadingsOptions(command, &rules->readings);
  AddLimit(command, "--max-nits", &rules->max_nits, "nits");
  AddLimit(command, "--max-percent", &rules->max_percent, "per cent of the calibrated luminance");
  AddLimit(command, "--max-jnd", &rules->max_jnd, "just-noticeable differences (DICOM)");
}

nlohmann::ordered_json VerifyReportOn(Panel* panel, const VerifyRules& rules, Plot* picture) {
  const ReadingsFile file = ReadingsFor(panel, rules);
  const Verdict verdict = Judge(file, rules, panel);
  *picture = PlotOf(*panel, verdict, rules);
  return ReportOf(*panel, file, verdict, rules);
}

void AddVerifyCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "verify", "Compare fresh readings with a calibration");
  auto options = std::make_shared<VerifyOptions>();
  AddPanelArgument(command, &options->panel);
  command.Add("READINGS", &options->file, "File of the readings").Required();
  AddVerifyOptions(command, options.get());
  AddFormatOption(command, &options->format);
  command
      .Add("-o,--output", &options->output,
           "Picture of the errors over the level, with the limits: a name that ends with .svg or .png")
      .Takes("FILE");
  command.Footer(
      "A reading whose level the device refuses is beyond every limit. An error in JND needs luminances from 0.05 to\n"
      "4,000 nits. An error in per cent needs a calibrated luminance other than 0.\n" +
      HelpOnReadingKinds() +
      "Example: blnits verify samples/backlight_calib_oled_phone.xml fresh.csv --max-percent 3 -o errors.svg");
  command.Action([options, log] { Run(*options, log); });
}

}  // namespace blnits
