#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>
#include <sstream>
#include <utility>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "foreign_text.h"
#include "lots/lot_figures.h"
#include "lots/lot_reader.h"
#include "lots/outliers.h"
#include "lots/partial_result.h"
#include "readings/levels.h"
#include "support/json.h"
#include "support/output_file.h"
#include "support/plot.h"
#include "support/status_line.h"

namespace blnits {
namespace {

struct LotOptions {
  std::vector<std::string> inputs;
  std::string levels;  ///< Empty: those of the first unit.
  std::string lower;   ///< Path; empty: no limits.
  std::string upper;
  double threshold = 5.0;
  bool strict = false;
  bool mean = false;
  bool partial = false;
  bool hdr = false;         ///< Of the picture,
  uint32_t coverage = 100;  ///< which shows a table.
  std::string output;
  std::string format = "text";
};

bool IsPartialResult(const std::string& path) {
  const std::string end = ".json";
  return path.size() > end.size() && path.compare(path.size() - end.size(), end.size(), end) == 0;
}

std::string TextOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  if (!file || !text) {
    throw Failure(fmt::format("{}: the file cannot be read", Printable(path)));
  }
  return text.str();
}

/// The shape that most of the first files have, by the bytes of their paths: one odd unit must not reject the others.
LotShape CommonShape(const UnitFiles& files, const std::vector<uint32_t>& levels, CapturedLog* log) {
  constexpr size_t kMostTried = 100;
  size_t count = 0;
  std::vector<std::pair<LotShape, size_t>> shapes;  // Each with its number of files.
  std::vector<std::string> reasons;
  for (const std::string& path : FirstPaths(files, kMostTried, &count)) {
    try {
      Panel panel = Panel::FromFile(path, log);
      const LotShape shape = ShapeOf(&panel, levels);
      const auto known = std::find_if(shapes.begin(), shapes.end(),
                                      [&](const auto& each) { return DifferenceOf(each.first, shape) == nullptr; });
      if (known == shapes.end()) {
        shapes.emplace_back(shape, 1);
      } else {
        ++known->second;
      }
    } catch (const Failure& failure) {
      reasons.emplace_back(failure.what());
    }
  }
  if (count == 0) {
    throw Failure("lot: found no calibration file, expected files or folders with files that end with .xml");
  }
  if (shapes.empty()) {
    constexpr size_t kMostReasons = 10;
    const size_t told = std::min(reasons.size(), kMostReasons);
    throw Failure(fmt::format("lot: none of the first {} of {} files can be used", reasons.size(), count),
                  {reasons.begin(), reasons.begin() + static_cast<ptrdiff_t>(told)});
  }
  return std::max_element(shapes.begin(), shapes.end(),
                          [](const auto& a, const auto& b) { return a.second < b.second; })
      ->first;
}

std::vector<uint32_t> LevelsIn(const std::string& text) {
  constexpr size_t kMostLevels = 65536;
  std::vector<uint32_t> levels;
  if (!text.empty()) {
    for (const double level : LevelsOf(text, false, kMostLevels)) {
      levels.push_back(static_cast<uint32_t>(level));
    }
  }
  std::sort(levels.begin(), levels.end());
  levels.erase(std::unique(levels.begin(), levels.end()), levels.end());
  return levels;
}

void AddFiles(UnitFiles files, CapturedLog* log, LotSummary* lot) {
  StatusLine status;
  const auto tell = [&] {
    status.Update([&] { return fmt::format("{} units, {} files rejected", lot->units, lot->rejected.count); });
  };
  ReadUnits(
      &files, lot->shape, log,
      [&](const Unit& unit) {
        lot->Add(unit);
        tell();
      },
      [&](const std::string& file, const std::string& reason) {
        lot->rejected.Add(file, reason);
        tell();
      });
}

LotSummary ReadLot(const LotOptions& options, CapturedLog* log) {
  std::vector<std::string> files = options.inputs;
  const auto first_partial =
      std::stable_partition(files.begin(), files.end(), [](const std::string& path) { return !IsPartialResult(path); });
  const std::vector<std::string> partials(first_partial, files.end());
  files.erase(first_partial, files.end());
  if (!partials.empty() && !options.levels.empty()) {
    throw Failure(fmt::format("{}: found --levels, expected none: a partial result has levels of its own",
                              Printable(partials.front())));
  }
  std::optional<LotSummary> lot;
  for (const std::string& partial : partials) {
    const LotSummary part = ReadPartialResult(TextOf(partial), partial);
    if (!lot) {
      lot.emplace(part.shape);
    }
    try {
      lot->Merge(part);
    } catch (const Failure& failure) {
      throw Failure(fmt::format("{}: {}", Printable(partial), failure.what()));
    }
  }
  if (!lot) {
    lot.emplace(CommonShape(UnitFiles(files), LevelsIn(options.levels), log));
  }
  AddFiles(UnitFiles(files), log, &*lot);
  if (lot->units == 0) {
    throw Failure(fmt::format("lot: no unit counts, {} rejected", lot->rejected.count));
  }
  return *std::move(lot);
}

/// A figure for people; "-" if it is not defined.
std::string Text(double figure, int decimals) {
  return std::isfinite(figure) ? fmt::format("{:.{}f}", figure, decimals) : "-";
}

std::string Text(const std::optional<double>& figure, int decimals) { return figure ? Text(*figure, decimals) : "-"; }

/// What is reported about a lot.
struct LotReport {
  const LotSummary& lot;
  LotLimits limits;
  Outliers outliers;
  double threshold;

  LevelReport At(size_t table, size_t place) const { return ReportOn(lot, table, place, limits); }
  const MeasuredTable& TableOf(const Outlier& outlier) const { return kMeasuredTables[outlier.table]; }
  uint32_t LevelOf(const Outlier& outlier) const { return lot.shape.levels[outlier.table][outlier.place]; }
};

/// At most this many places of `count`, spread evenly, with the first and the last one.
std::vector<size_t> ShownPlaces(size_t count) {
  constexpr size_t kMost = 10;
  std::vector<size_t> places;
  for (size_t i = 0; i < std::min(count, kMost); ++i) {
    places.push_back(count <= kMost ? i : i * (count - 1) / (kMost - 1));
  }
  return places;
}

/// NaN of nothing.
double PercentOf(double whole, double part) { return whole > 0.0 ? 100.0 * part / whole : std::nan(""); }

void PrintTable(const LotReport& report, size_t table, bool limits) {
  const size_t count = report.lot.tables[table].size();
  const auto places = ShownPlaces(count);
  fmt::print(
      "\n{}{}\n", kMeasuredTables[table].name,
      places.size() < count ? fmt::format(": {} of {} levels; CSV and JSON have all", places.size(), count) : "");
  fmt::print("{:>8}{:>11}{:>8}{:>11}{:>11}{:>11}{:>11}{:>11}{:>9}{:>9}{:>9}{}\n", "level", "mean nits", "dev %",
             "least", "1 %", "50 %", "99 %", "greatest", "dev JND", "rms JND", "largest",
             limits ? "      Cp     Cpk" : "");
  for (const size_t place : places) {
    const LevelReport level = report.At(table, place);
    const auto& nits = level.nits;
    fmt::print("{:>8}{:>11}{:>8}{:>11}{:>11}{:>11}{:>11}{:>11}{:>9}{:>9}{:>9}", level.level, Text(nits.mean, 4),
               Text(PercentOf(nits.mean, nits.deviation), 3), Text(nits.least, 4), Text(nits.percentiles.front(), 4),
               Text(nits.percentiles[2], 4), Text(nits.percentiles.back(), 4), Text(nits.greatest, 4),
               Text(level.jnd.deviation, 3), Text(level.mean_curve_rms, 3), Text(level.mean_curve_largest, 3));
    fmt::print("{}\n",
               limits ? fmt::format("{:>8}{:>8}", Text(level.capability.cp, 3), Text(level.capability.cpk, 3)) : "");
  }
}

void PrintOutliers(const LotReport& report) {
  const auto& [units, complete] = report.outliers;
  fmt::print("\n{} of {} units are out: beyond {} robust standard deviations from the median\n", units.size(),
             report.lot.units, report.threshold);
  for (const Outlier& outlier : units) {
    const LevelFigures& level = report.lot.tables[outlier.table][outlier.place];
    fmt::print("  {}: {}, level {}: {:.4f} nits, the median is {:.4f}, score {:+.1f}\n", Printable(outlier.unit),
               report.TableOf(outlier).name, report.LevelOf(outlier), outlier.nits, level.Percentile(0.5),
               outlier.score);
  }
  if (!complete) {
    fmt::print("  more may be out: a lot remembers the {} darkest and brightest units of each level\n",
               Extremes::kMost);
  }
}

void PrintRejected(const Rejections& rejected, std::FILE* stream) {
  if (rejected.count == 0) {
    return;
  }
  fmt::print(stream, "\n{} files are rejected\n", rejected.count);
  for (const auto& [file, reason] : rejected.first) {
    fmt::print(stream, "  {}\n", Printable(reason));
  }
  if (rejected.count > rejected.first.size()) {
    fmt::print(stream, "  and {} more\n", rejected.count - rejected.first.size());
  }
}

void PrintText(const LotReport& report, bool limits) {
  const LotSummary& lot = report.lot;
  const auto& range = lot.shape.range;
  fmt::print(
      "{} units, {} files rejected\nminimum_bl {}, max_bl {}, max_os_bl {}; mean gamma {:.6g}, mean pcc_thresh "
      "{:.6g}\n",
      lot.units, lot.rejected.count, range.minimum_bl, range.max_bl, range.max_os_bl, lot.gamma.Mean(lot.units),
      lot.pcc_thresh.Mean(lot.units));
  fmt::print("percentiles are within {} %; rms and largest JND: the errors if all units had the mean's luminances\n",
             std::ceil(100.0 * Sketch::kError * 1000.0) / 1000.0);
  for (size_t table = 0; table < kMeasuredTables.size(); ++table) {
    PrintTable(report, table, limits);
  }
  PrintOutliers(report);
  PrintRejected(lot.rejected, stdout);
}

using Json = nlohmann::ordered_json;

double AsItIs(double nits) { return nits; }

Json ToJson(const Distribution& distribution, double (*rounded)(double)) {
  Json object = {{"units", distribution.units},
                 {"mean", rounded(distribution.mean)},
                 {"deviation", rounded(distribution.deviation)},
                 {"least", rounded(distribution.least)},
                 {"greatest", rounded(distribution.greatest)}};
  for (size_t i = 0; i < kShares.size(); ++i) {
    object["percentiles"][fmt::format("{:.0f}", 100.0 * kShares[i])] = rounded(distribution.percentiles[i]);
  }
  return object;
}

Json OrNull(const std::optional<double>& figure) { return figure ? Json(*figure) : Json(); }

Json ToJson(const LevelReport& level) {
  return {{"level", level.level},
          {"nits", ToJson(level.nits, AsItIs)},
          {"jnd", ToJson(level.jnd, SixDecimals)},
          {"mean_curve_error_jnd",
           {{"rms", SixDecimals(level.mean_curve_rms)}, {"largest", SixDecimals(level.mean_curve_largest)}}},
          {"lower_nits", OrNull(level.lower)},
          {"upper_nits", OrNull(level.upper)},
          {"cp", OrNull(level.capability.cp)},
          {"cpk", OrNull(level.capability.cpk)}};
}

Json ToJson(const LotReport& report, const Outlier& outlier) {
  const MeasuredTable& table = report.TableOf(outlier);
  Json object = {{"file", outlier.unit}};
  object.update(JsonTable(table.hdr, table.coverage));
  object["level"] = report.LevelOf(outlier);
  object["nits"] = outlier.nits;
  object["median_nits"] = report.lot.tables[outlier.table][outlier.place].Percentile(0.5);
  object["score"] = outlier.score;
  return object;
}

Json ReportOf(const LotReport& report) {
  const LotSummary& lot = report.lot;
  const auto& range = lot.shape.range;
  Json object = JsonReport("lot");
  object["units"] = lot.units;
  object["rejected"] = ToJson(lot.rejected);
  object["range"] = {{"minimum_bl", range.minimum_bl}, {"max_bl", range.max_bl}, {"max_os_bl", range.max_os_bl}};
  object["mean_gamma"] = lot.gamma.Mean(lot.units);
  object["mean_pcc_thresh"] = lot.pcc_thresh.Mean(lot.units);
  object["percentile_error"] = Sketch::kError;
  object["threshold"] = report.threshold;
  object["outliers"] = Json::array();
  for (const Outlier& outlier : report.outliers.units) {
    object["outliers"].push_back(ToJson(report, outlier));
  }
  object["outliers_complete"] = report.outliers.complete;
  for (size_t i = 0; i < kMeasuredTables.size(); ++i) {
    const MeasuredTable& table = kMeasuredTables[i];
    Json& entry = object["tables"][JsonKeyOf(table.hdr, table.coverage)] = JsonTable(table.hdr, table.coverage);
    entry["levels"] = Json::array();
    for (size_t place = 0; place < lot.tables[i].size(); ++place) {
      entry["levels"].push_back(ToJson(report.At(i, place)));
    }
  }
  return object;
}

std::string CsvColumns(const char* unit) {
  std::string columns = fmt::format(",units_{0},mean_{0},deviation_{0},least_{0},greatest_{0}", unit);
  for (const double share : kShares) {
    columns += fmt::format(",p{:.0f}_{}", 100.0 * share, unit);
  }
  return columns;
}

std::string CsvNumber(const std::optional<double>& figure) {
  return figure && std::isfinite(*figure) ? fmt::format(",{}", *figure) : ",";
}

std::string CsvFields(const Distribution& distribution, double (*rounded)(double)) {
  std::string fields = fmt::format(",{}", distribution.units);
  for (const double figure : {distribution.mean, distribution.deviation, distribution.least, distribution.greatest}) {
    fields += CsvNumber(rounded(figure));
  }
  for (const double percentile : distribution.percentiles) {
    fields += CsvNumber(rounded(percentile));
  }
  return fields;
}

void PrintCsv(const LotReport& report) {
  fmt::print("mode,coverage,level{}{},mean_curve_rms_jnd,mean_curve_largest_jnd,lower_nits,upper_nits,cp,cpk\n",
             CsvColumns("nits"), CsvColumns("jnd"));
  for (size_t i = 0; i < kMeasuredTables.size(); ++i) {
    for (size_t place = 0; place < report.lot.tables[i].size(); ++place) {
      const LevelReport level = report.At(i, place);
      fmt::print("{},{},{}{}{}", JsonModeOf(kMeasuredTables[i].hdr), kMeasuredTables[i].coverage, level.level,
                 CsvFields(level.nits, AsItIs), CsvFields(level.jnd, SixDecimals));
      for (const auto& figure :
           {std::optional(SixDecimals(level.mean_curve_rms)), std::optional(SixDecimals(level.mean_curve_largest)),
            level.lower, level.upper, level.capability.cp, level.capability.cpk}) {
        fmt::print("{}", CsvNumber(figure));
      }
      fmt::print("\n");
    }
  }
}

/// Draws a table of a lot.
class LotPicture {
 public:
  /// \throws Failure without a level.
  LotPicture(const LotReport& report, size_t table) : report_(report), table_(table) {
    for (size_t place = 0; place < report.lot.tables[table].size(); ++place) {
      levels_.push_back(report.At(table, place));
    }
    if (levels_.empty()) {
      throw Failure(fmt::format("{}: the lot has no level of this table, so there is nothing to draw",
                                kMeasuredTables[table].name));
    }
  }

  Plot Draw() const {
    const bool dark = levels_.front().nits.least <= 0.0;
    return {
        fmt::format("{}: {} units", kMeasuredTables[table_].name, report_.lot.units),
        "client level",
        {Pane("luminance", "nits", !dark, [](double nits, double) { return nits; }),
         Pane("deviation", "%", false, [](double nits, double median) { return PercentOf(median, nits - median); })},
        false};
  }

 private:
  static constexpr size_t kMedian = 2;     // In kShares.
  static constexpr size_t kMostNamed = 6;  // More lines hide each other.

  /// \param value of a luminance, from it and the median.
  template <class ValueOf>
  PlotPane Pane(const char* what, const char* unit, bool logarithmic, ValueOf value) const {
    const auto points = [&](size_t percentile) {
      PlotPoints line;
      for (const LevelReport& level : levels_) {
        line.emplace_back(level.level, value(level.nits.percentiles[percentile], level.nits.percentiles[kMedian]));
      }
      return line;
    };
    PlotPane pane = {what, unit, logarithmic, {}, {}};
    pane.bands = {{"1 to 99 % of the units", "#c6dbef", points(0), points(kShares.size() - 1)},
                  {"5 to 95 %", "#6baed6", points(1), points(kShares.size() - 2)}};
    pane.lines.push_back(LineOf("median", "#08306b", points(kMedian)));
    for (size_t i = 0; i < std::min(kMostNamed, report_.outliers.units.size()); ++i) {
      AddOutlier(report_.outliers.units[i].unit, i, value, &pane);
    }
    return pane;
  }

  static PlotLine LineOf(const std::string& name, const char* colour, const PlotPoints& points) {
    return {name, colour, false, points, std::vector<bool>(points.size(), false), {}};
  }

  /// Draws the luminances that the lot remembers of a unit. Others are near the median.
  template <class ValueOf>
  void AddOutlier(const std::string& unit, size_t number, ValueOf value, PlotPane* pane) const {
    constexpr const char* kColours[kMostNamed] = {"#d62728", "#ff7f0e", "#2ca02c", "#9467bd", "#8c564b", "#e377c2"};
    PlotPoints points;
    for (size_t place = 0; place < levels_.size(); ++place) {
      const LevelFigures& level = report_.lot.tables[table_][place];
      for (const Extremes* const extremes : {&level.darkest, &level.brightest}) {
        for (const UnitNits& each : extremes->All()) {
          if (each.unit == unit && (points.empty() || points.back().first != levels_[place].level)) {
            points.emplace_back(levels_[place].level, value(each.nits, levels_[place].nits.percentiles[kMedian]));
          }
        }
      }
    }
    PlotLine line = LineOf(Shown(unit, 40), kColours[number], points);
    line.measured = points;
    pane->lines.push_back(std::move(line));
  }

  const LotReport& report_;
  size_t table_;
  std::vector<LevelReport> levels_;
};

void WriteText(const std::string& path, const std::string& text) {
  WriteWhole(path, [&](std::ostream& stream) { stream << text; });
}

void WritePicture(const LotReport& report, const LotOptions& options) {
  const auto table = std::find_if(kMeasuredTables.begin(), kMeasuredTables.end(), [&](const MeasuredTable& each) {
    return each.hdr == options.hdr && each.coverage == options.coverage;
  });
  const LotPicture picture(report, static_cast<size_t>(table - kMeasuredTables.begin()));
  WriteText(options.output, Drawn(picture.Draw(), PictureFormatOf(options.output, "")));
}

/// \throws Failure if the mean would be one of the units in a folder: it would replace a unit, or count next time.
void KeepOutOfFolders(const LotOptions& options) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path output = fs::weakly_canonical(options.output, error);
  for (const std::string& input : options.inputs) {
    const fs::path folder = fs::weakly_canonical(input, error);
    const auto end = std::mismatch(folder.begin(), folder.end(), output.begin(), output.end()).first;
    if (fs::is_directory(folder, error) && end == folder.end()) {
      throw Failure(fmt::format("{}: found the mean in the lot's folder {}, expected it elsewhere",
                                Printable(options.output), Printable(input)));
    }
  }
}

void CheckOptions(const LotOptions& options) {
  if (options.mean && options.output.empty()) {
    throw Failure("--mean: expected -o FILE, which gets the calibration");
  }
  if (!options.mean && !options.partial && options.output == "-") {
    throw Failure("--output: found -, expected a file's name: the figures go to standard output");
  }
  if (!options.mean && !options.partial && !options.output.empty()) {
    PictureFormatOf(options.output, "");
  }
  if (options.mean && options.output != "-") {
    KeepOutOfFolders(options);
  }
  KeepInputs(options.inputs, options.output);
  KeepInputs({options.levels, options.lower, options.upper}, options.output);
}

void Report(const LotSummary& lot, const LotOptions& options) {
  const auto limits = [](const std::string& path, const char* name) {
    return path.empty() ? Limits() : Limits(path, name);
  };
  const LotReport report = {lot,
                            {limits(options.lower, "lower"), limits(options.upper, "upper")},
                            OutliersOf(lot, options.threshold),
                            options.threshold};
  if (!options.output.empty()) {
    WritePicture(report, options);
  }
  if (options.format == "json") {
    fmt::print("{}\n", JsonLine(ReportOf(report)));
  } else if (options.format == "csv") {
    PrintCsv(report);
    PrintRejected(lot.rejected, stderr);
  } else {
    PrintText(report, !options.lower.empty() || !options.upper.empty());
  }
}

void Run(const LotOptions& options, CapturedLog* log) {
  CheckOptions(options);
  const LotSummary lot = ReadLot(options, log);
  if (options.partial) {
    WriteText(options.output.empty() ? "-" : options.output, JsonLine(PartialResultOf(lot)) + "\n");
    PrintRejected(lot.rejected, stderr);
  } else if (options.mean) {
    WriteText(options.output, MeanCalibrationOf(lot));
    PrintRejected(lot.rejected, stderr);
  } else {
    Report(lot, options);
  }
  if (options.strict && lot.rejected.count > 0) {
    throw Negative();
  }
}

}  // namespace

void AddLotCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "lot", "Compare the calibrations of many units of one panel");
  auto options = std::make_shared<LotOptions>();
  command
      .Add("INPUT", &options->inputs,
           "Calibration files, folders with calibration files (*.xml, also in folders inside), and partial results "
           "(*.json)")
      .Required();
  command
      .Add("--levels", &options->levels,
           "Client levels to compare: FIRST..LAST, FIRST..LAST:STEP, or a file with one on each line; default: those "
           "at\n"
           "which the units were measured")
      .Takes("LEVELS");
  command.Add("--lower", &options->lower, "CSV file of lower limits: columns level and lower, maybe coverage and mode")
      .Takes("FILE");
  command.Add("--upper", &options->upper, "The same for upper limits: columns level and upper; may be the same file")
      .Takes("FILE");
  command
      .Add("--threshold", &options->threshold,
           "How many robust standard deviations from the median a unit may be before it is out")
      .NotNegative()
      .Takes("NUMBER")
      .ShowDefault();
  command.AddFlag("--strict", &options->strict, "Exit with status 1 if a file is rejected");
  const Option mean =
      command.AddFlag("--mean", &options->mean, "Write the calibration file of the mean to --output, and nothing else");
  command
      .AddFlag("--partial", &options->partial,
               "Write the figures as a partial result to --output or standard output, and nothing else")
      .Excludes(mean);
  command
      .Add("-o,--output", &options->output,
           "Picture of one table: a name that ends with .svg or .png; or what --mean and --partial write")
      .Takes("FILE");
  command.AddFlag("--hdr", &options->hdr, "The picture shows high brightness");
  command.Add("--coverage", &options->coverage, "The picture shows the table of 10 or 100 %")
      .Check([](const std::string& text) {
        return text == "10" || text == "100" ? std::string() : "found " + text + ", expected 10 or 100";
      })
      .Takes("PERCENT")
      .ShowDefault();
  command.Add("--format", &options->format, "Format of the figures").OneOf({"text", "json", "csv"}).ShowDefault();
  command.Footer(
      "A file that does not load, or whose range or linear table differs from the other units', is rejected and told.\n"
      "A unit's score is its distance from the median in robust standard deviations, at the level where it is "
      "greatest.\n"
      "Partial results add up in any order to the result of all units.\n"
      "Example: blnits lot calibrations --lower limits.csv --upper limits.csv -o lot.png");
  command.Action([options, log] { Run(*options, log); });
}

}  // namespace blnits
