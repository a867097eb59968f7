#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string_view>

#include "calibration_format.h"
#include "check/report.h"
#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/readings_options.h"
#include "figures/transfer_curve.h"
#include "foreign_text.h"
#include "panel/survey.h"
#include "readings/average.h"
#include "readings/by_table.h"
#include "readings/readings.h"
#include "support/comment.h"
#include "support/failure.h"
#include "support/fitting.h"
#include "support/json.h"
#include "support/memory_file.h"
#include "support/output_file.h"

namespace blnits {
namespace {

namespace format = zarn::format;

struct ImportOptions {
  std::map<zarn::BLNitsParams, std::string> tables;  ///< Paths of the measurements of each table; empty: none.
  std::string readings;                              ///< Path of the measurements of several tables; empty: none.
  ReadingsOptions reading;                           ///< How these files are read.
  Averaging averaging;
  std::string average = "median";
  std::string max_spread;  ///< "5%"; empty: any.
  std::string linear;      ///< A path, or "derive"; empty: an identity.
  std::string gamma;       ///< A number, or "fit".
  uint32_t minimum_bl = 0;
  uint32_t max_bl = 0;
  uint32_t max_os_bl = 0;
  std::optional<double> pcc_thresh;
  std::string date;
  bool monotone = false;
  std::string tolerance;  ///< "0.5" (nits) or "0.2%"; empty: no tolerance.
  std::string output;
  std::string format = "text";
};

/// Records what was done to the measurements.
class Story {
 public:
  /// \param told stream to print to; null: none.
  explicit Story(std::FILE* told) : told_(told) {}

  /// Prints a line and keeps it for the file's comment.
  void Tell(std::string line) {
    Detail(line);
    Keep(std::move(line));
  }
  /// Prints one of many changes; the file's comment gets only a summary.
  void Detail(const std::string& line) {
    lines_.push_back(line);
    if (told_ != nullptr) {
      fmt::print(told_, "{}\n", Printable(line));
    }
  }
  /// Keeps a summary for the file's comment without printing it.
  void Keep(std::string line) { kept_.push_back(std::move(line)); }

  /// Every line that was told or a detail.
  const std::vector<std::string>& Lines() const { return lines_; }
  const std::vector<std::string>& Kept() const { return kept_; }

 private:
  std::FILE* told_;
  std::vector<std::string> lines_;
  std::vector<std::string> kept_;
};

using Points = std::vector<zarn::BlNitsPoint>;

std::string OptionOf(const MeasuredTable& table) { return fmt::format("--{}-{}", table.group, table.coverage); }

std::string WithoutPercent(const std::string& text) {
  return text.substr(0, text.size() - (!text.empty() && text.back() == '%' ? 1 : 0));
}

std::string NameOfFile(const std::string& path) { return std::filesystem::path(path).filename().string(); }

std::string Counted(size_t count, const char* what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

void TellRepeated(const std::vector<LevelReadings>& levels, const TableReadings& measured, const char* table, bool mean,
                  Story* story) {
  const char* const average = mean ? "mean" : "median";
  size_t repeated = 0;
  size_t outliers = 0;
  for (const LevelReadings& level : levels) {
    if (level.count > 1) {
      ++repeated;
      story->Detail(fmt::format("{}: level {} is the {} of {} readings, {} to {} nits", table, level.level, average,
                                level.count, level.least, level.most));
    }
    for (const RawReading& outlier : level.outliers) {
      ++outliers;
      story->Detail(fmt::format("{}:{}: {} nits at level {} is an outlier: the median of the {} readings is {} nits",
                                NameOfFile(measured.from.path), outlier.line, outlier.nits, level.level, level.count,
                                level.median));
    }
  }
  if (repeated > 0) {
    story->Keep(fmt::format("{}: the {} of the readings at {} with several{}", table, average,
                            Counted(repeated, "level"),
                            outliers > 0 ? fmt::format(", {}", Counted(outliers, "outlier")) : ""));
  }
}

void MakeMonotone(std::vector<LevelReadings>* readings, const char* table, Story* story) {
  std::vector<double> nits;
  std::vector<double> weights;
  for (const LevelReadings& reading : *readings) {
    nits.push_back(reading.nits);
    weights.push_back(static_cast<double>(reading.count));
  }
  const std::vector<double> repaired = NeverFalling(nits, weights);
  size_t changed = 0;
  double largest = 0.0;
  for (size_t i = 0; i < repaired.size(); ++i) {
    if (repaired[i] != nits[i]) {
      ++changed;
      largest = std::max(largest, std::abs(repaired[i] - nits[i]));
      story->Detail(
          fmt::format("{}: level {} changed from {} to {} nits", table, (*readings)[i].level, nits[i], repaired[i]));
      (*readings)[i].nits = repaired[i];
    }
  }
  if (changed > 0) {
    story->Keep(fmt::format("{}: {} changed so that luminance never falls, by at most {} nits", table,
                            Counted(changed, "level"), largest));
  }
}

Tolerance ToleranceOf(const std::string& text) {
  const double amount = std::strtod(text.c_str(), nullptr);
  return text.back() == '%' ? Tolerance{amount / 100.0, true} : Tolerance{amount, false};
}

Points Thin(const Points& points, const std::string& tolerance, const char* table, Story* story) {
  const Tolerance allowed = ToleranceOf(tolerance);
  double largest = 0.0;
  Points kept = Thinned(points, allowed, &largest);
  story->Tell(
      fmt::format("{}: {} of {} points dropped, largest error {}", table, points.size() - kept.size(), points.size(),
                  allowed.relative ? fmt::format("{:.3g} %", 100.0 * largest) : fmt::format("{} nits", largest)));
  return kept;
}

/// The averaged readings of a table, before points are dropped.
Points PointsOf(const TableReadings& measured, const char* table, const ImportOptions& options, Story* story) {
  std::vector<LevelReadings> readings = ByLevel(measured, options.averaging);
  story->Tell(fmt::format("{}: {} from {}", table, Counted(readings.size(), "level"), NameOfFile(measured.from.path)));
  TellRepeated(readings, measured, table, options.averaging.mean, story);
  if (options.monotone) {
    MakeMonotone(&readings, table, story);
  }
  Points points;
  points.reserve(readings.size());
  for (const LevelReadings& reading : readings) {
    points.push_back({reading.level, reading.nits});
  }
  return points;
}

std::vector<GivenFile> GivenFiles(const ImportOptions& options) {
  std::vector<GivenFile> files;
  for (const MeasuredTable* const table : TablesAsRead()) {
    files.push_back({options.tables.at(table->param), OptionOf(*table), table});
  }
  files.push_back({options.readings, "--readings", nullptr});
  files.erase(std::remove_if(files.begin(), files.end(), [](const GivenFile& file) { return file.path.empty(); }),
              files.end());
  return files;
}

ReadingsByTable ReadFiles(const ImportOptions& options, Story* story) {
  ReadingsByTable measured;
  for (const GivenFile& given : GivenFiles(options)) {
    const ReadingsFile file = ReadReadings(given.path, options.reading);
    for (const std::string& note : file.notes) {
      story->Tell(fmt::format("{}: {}", NameOfFile(given.path), note));
    }
    AddToTables(given, file, &measured);
  }
  if (measured.count(format::kStandard100.param) == 0) {
    throw Failure(fmt::format("{}: found no readings of it, expected {} FILE or --readings FILE",
                              FindTable(100, false)->name, OptionOf(*FindTable(100, false))));
  }
  return measured;
}

/// The table that replaces an unmeasured `table`: the full screen of the same operation if measured, otherwise the
/// standard table of the same window.
const MeasuredTable& Instead(const MeasuredTable& table, const ReadingsByTable& measured) {
  const MeasuredTable& full = *FindTable(100, table.hdr);
  return table.hdr && measured.count(full.param) == 0 ? *FindTable(table.coverage, false) : full;
}

using Tables = std::map<zarn::BLNitsParams, Points>;

/// What the file gets from the measurements.
struct Calibration {
  double gamma;
  std::optional<GammaFit> fit;  ///< Empty: gamma is given.
  LinearPairs linear;
  std::optional<DerivedTable> derived;  ///< Empty: the linear table is given or an identity.
  Tables tables;
};

void CopyUnmeasured(const ReadingsByTable& measured, Tables* tables, Story* story) {
  for (const MeasuredTable* const table : TablesAsRead()) {
    if (measured.count(table->param) == 0) {
      const MeasuredTable& instead = Instead(*table, measured);
      story->Tell(fmt::format("{}: not measured, copied from {}", table->name, instead.name));
      (*tables)[table->param] = (*tables)[instead.param];
    }
  }
}

/// The place of the first reading of a level, for messages: "full.csv:3".
std::string PlaceOf(uint32_t level, const TableReadings& measured) {
  const auto reading = std::find_if(measured.readings.begin(), measured.readings.end(),
                                    [level](const RawReading& each) { return each.level == level; });
  return fmt::format("{}:{}", measured.from.path, reading->line);
}

/// \throws Failure if no linear table can be derived from the points of a table.
void CheckDerivable(const Points& points, const TableReadings& measured, const ImportOptions& options) {
  if (options.max_os_bl == 0 || options.max_bl == 0 || options.max_bl > format::kLastLinearizedLevel) {
    throw Failure(fmt::format(
        "--linear derive: found max_bl {} and max_os_bl {}, expected max_bl from 1 to {} and max_os_bl from 1 on",
        options.max_bl, options.max_os_bl, format::kLastLinearizedLevel));
  }
  for (size_t i = 1; i < points.size(); ++i) {
    if (points[i].nits < points[i - 1].nits) {
      throw Failure(fmt::format(
          "{}: found {} nits at level {} after {} nits at level {}, expected luminance that never falls for "
          "--linear derive; --monotone repairs it",
          PlaceOf(points[i].bl, measured), points[i].nits, points[i].bl, points[i - 1].nits, points[i - 1].bl));
    }
  }
  const double darkest = points.front().bl == 0 ? points.front().nits : 0.0;
  const auto brighter =
      std::find_if(points.begin(), points.end(), [&](const auto& each) { return each.nits > darkest; });
  const bool rises =
      brighter == points.begin() || (brighter != points.end() && std::prev(brighter)->bl < options.max_os_bl);
  if (!rises || darkest < 0.0) {
    throw Failure(
        fmt::format("{}: found no luminance that rises from level 0 to max_os_bl, {}, expected one for "
                    "--linear derive",
                    measured.from.path, options.max_os_bl));
  }
}

DerivedTable DeriveTable(const Points& points, const TableReadings& measured, const ImportOptions& options,
                         Story* story) {
  CheckDerivable(points, measured, options);
  DerivedTable table = DeriveLinearTable(points, options.max_os_bl, options.max_bl);
  story->Tell(
      fmt::format("linear table: {} derived from {}: luminance is proportional to the linearized level; a panel "
                  "level is a client level times {}/{}",
                  Counted(table.pairs.size(), "pair"), FindTable(100, false)->name, options.max_bl, options.max_os_bl));
  story->Tell(fmt::format("linear table: panel levels are rounded by at most {:.3f}, luminance by at most {:.3g} nits",
                          table.rounding_panel_levels, table.rounding_nits));
  if (points.back().bl < options.max_os_bl) {
    story->Tell(fmt::format("linear table: the last linearized level is client level {}, the last one with readings",
                            points.back().bl));
  }
  if (table.too_dark > 0) {
    story->Tell(fmt::format("linear table: {} would be darker than level 0, which has {} nits",
                            Counted(table.too_dark, "linearized level"), points.front().nits));
  }
  return table;
}

void SetLinearTable(const Points& points, const TableReadings& measured, const ImportOptions& options, Story* story,
                    Calibration* made) {
  if (options.linear.empty()) {
    story->Tell("linear table: an identity: it is neither given nor derived");
    made->linear = {{0, 0}, {options.max_bl, options.max_bl}};
  } else if (options.linear == "derive") {
    made->derived = DeriveTable(points, measured, options, story);
    made->linear = made->derived->pairs;
  } else {
    made->linear = ReadLevelPairs(options.linear);
    story->Tell(
        fmt::format("linear table: {} from {}", Counted(made->linear.size(), "pair"), NameOfFile(options.linear)));
  }
}

void SetGamma(const Points& points, const ImportOptions& options, Story* story, Calibration* made) {
  if (options.gamma != "fit") {
    story->Tell(fmt::format("gamma: {}, as given", options.gamma));
    made->gamma = std::strtod(options.gamma.c_str(), nullptr);
    return;
  }
  const auto fit = FitGamma(points);
  if (!fit || fit->gamma < 0.0) {
    throw Failure(fmt::format("--gamma fit: found {}, expected rising luminances above 0 at two levels or more above 0",
                              fit ? fmt::format("a gamma of {:.4f}", fit->gamma) : "too few points"));
  }
  made->fit = fit;
  made->gamma = std::round(fit->gamma * 1e4) / 1e4;  // The rest depends on the processor's logarithm.
  story->Tell(
      fmt::format("gamma: {}, fitted to {} of {} by least squares over log luminance; root mean square of the "
                  "residuals: {:.2f} %",
                  made->gamma, Counted(fit->points, "point"), FindTable(100, false)->name, fit->residual_percent));
}

Calibration Measured(const ImportOptions& options, Story* story) {
  const ReadingsByTable measured = ReadFiles(options, story);
  Calibration made = {};
  for (const MeasuredTable* const table : TablesAsRead()) {
    const auto found = measured.find(table->param);
    if (found != measured.end()) {
      made.tables[table->param] = PointsOf(found->second, table->name, options, story);
    }
  }
  const Points full = made.tables.at(format::kStandard100.param);
  if (!options.tolerance.empty()) {
    for (const MeasuredTable* const table : TablesAsRead()) {
      if (measured.count(table->param) > 0) {
        Points& points = made.tables[table->param];
        points = Thin(points, options.tolerance, table->name, story);
      }
    }
  }
  CopyUnmeasured(measured, &made.tables, story);
  SetGamma(full, options, story, &made);
  SetLinearTable(full, measured.at(format::kStandard100.param), options, story, &made);
  return made;
}

void WriteComment(const ImportOptions& options, const Story& story, std::ostream& file) {
  file << "<!--\n  Made by blnits import from measurements";
  file << InXmlComment(options.date.empty() ? "" : " of " + options.date) << ".\n";
  for (const std::string& line : story.Kept()) {
    file << "  " << InXmlComment(line) << "\n";
  }
  file << "-->\n";
}

template <class Row, class Number>
void WriteList(const char* name, const std::vector<Row>& rows, Number Row::*number, const std::string& indent,
               std::ostream& file) {
  constexpr size_t kValuesInLine = 5;
  file << indent << "<" << name << ">";
  for (size_t i = 0; i < rows.size(); ++i) {
    file << (i % kValuesInLine == 0 ? "\n  " + indent : " ") << fmt::format("<value>{}</value>", rows[i].*number);
  }
  file << "\n" << indent << "</" << name << ">\n";
}

void WriteTable(const MeasuredTable& table, const Points& points, std::ostream& file) {
  file << fmt::format("      <{}>\n", table.element);
  WriteList(format::kPoints.first, points, &zarn::BlNitsPoint::bl, "        ", file);
  WriteList(format::kPoints.second, points, &zarn::BlNitsPoint::nits, "        ", file);
  file << fmt::format("      </{}>\n", table.element);
}

void WriteGroup(const char* group, const Tables& tables, std::ostream& file) {
  file << fmt::format("    <{}>\n", group);
  for (const MeasuredTable* const table : TablesAsRead()) {
    if (std::string_view(table->group) == group) {
      WriteTable(*table, tables.at(table->param), file);
    }
  }
  file << fmt::format("    </{}>\n", group);
}

template <class Number>
std::string Attribute(const char* name, Number number) {
  return fmt::format(R"( {}="{}")", name, number);
}

void Write(const ImportOptions& options, const Calibration& made, Story* story, std::ostream& file) {
  if (options.monotone) {
    story->Keep("option: monotone");
  }
  if (!options.tolerance.empty()) {
    story->Keep(
        fmt::format("option: tolerance {}{}", options.tolerance, options.tolerance.back() == '%' ? "" : " nits"));
  }
  file << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
  WriteComment(options, *story, file);
  file << "<" << format::kRoot << Attribute(format::kGamma.name, made.gamma)
       << Attribute(format::kMinimumBl.name, options.minimum_bl) << Attribute(format::kMaxBl.name, options.max_bl)
       << Attribute(format::kMaxOsBl.name, options.max_os_bl)
       << (options.pcc_thresh ? Attribute(format::kPccThresh.name, *options.pcc_thresh) : "") << ">\n";
  using Pair = std::pair<uint32_t, uint32_t>;
  WriteList(format::kLinearTable.first, made.linear, &Pair::first, "  ", file);
  WriteList(format::kLinearTable.second, made.linear, &Pair::second, "  ", file);
  file << fmt::format("  <{}>\n", format::kMeasurements);
  for (const char* const group : {format::kStandard, format::kHighBrightness}) {
    WriteGroup(group, made.tables, file);
  }
  file << fmt::format("  </{}>\n</{}>\n", format::kMeasurements, format::kRoot);
}

void CheckOutput(const ImportOptions& options) {
  std::vector<std::string> inputs = {options.linear == "derive" ? "" : options.linear, options.readings,
                                     options.reading.levels};
  for (const auto& [table, file] : options.tables) {
    inputs.push_back(file);
  }
  KeepInputs(inputs, options.output);
}

// Never writes a file that the device would refuse for its size. A file below that limit has fewer nodes than the
// device's limit.
std::string TextOf(const ImportOptions& options, const Calibration& made, Story* story) {
  std::ostringstream file;
  Write(options, made, story, file);
  std::string text = file.str();
  if (text.size() > format::kMaxFileBytes) {
    throw Failure(
        fmt::format("{}: not written: it would have {} bytes, the device loads at most {}; drop points with "
                    "--tolerance",
                    options.output, text.size(), format::kMaxFileBytes));
  }
  return text;
}

/// Checks the text itself, for output that cannot be read again. The file name is none that the device looks for.
CheckReport CheckCopy(const std::string& text, CapturedLog* log, StatusLine* status) {
  return Check(MemoryFile(text).Path(), {"file-name"}, kUsualLimit, log, status);
}

nlohmann::ordered_json ReportOf(const ImportOptions& options, const Calibration& made, const Story& story,
                                const CheckReport& check) {
  using Json = nlohmann::ordered_json;
  auto report = JsonReport("import");
  report["file"] = options.output;
  report["passes"] = check.Count(Severity::kError) == 0;
  report["gamma"] = made.gamma;
  report["gamma_residual_percent"] = made.fit ? Json(SixDecimals(made.fit->residual_percent)) : Json();
  const auto& derived = made.derived;
  report["linear_table"] = {
      {"source", options.linear.empty() ? "identity"
                 : derived              ? "derived"
                                        : "file"},
      {"pairs", made.linear.size()},
      {"rounding_panel_levels", derived ? Json(SixDecimals(derived->rounding_panel_levels)) : Json()},
      {"rounding_nits", derived ? Json(SixDecimals(derived->rounding_nits)) : Json()}};
  report["actions"] = story.Lines();
  report["check"] = ToJson(options.output, check);
  return report;
}

void Run(const ImportOptions& options, CapturedLog* log) {
  CheckOutput(options);
  std::FILE* const told = options.output == "-" ? stderr : stdout;
  const bool readable = IsRegularOutput(options.output);
  const bool json = options.format == "json";
  Story story(json ? nullptr : told);
  const Calibration made = Measured(options, &story);
  const std::string text = TextOf(options, made, &story);
  WriteWhole(options.output, [&](std::ostream& file) { file << text; });
  StatusLine status;
  const CheckReport report =
      readable ? Check(options.output, {}, kUsualLimit, log, &status) : CheckCopy(text, log, &status);
  status.Erase();
  if (json) {
    fmt::print(told, "{}\n", JsonLine(ReportOf(options, made, story, report)));
  } else {
    PrintReport(options.output == "-" ? "standard output" : options.output, report, told);
  }
  if (report.Count(Severity::kError) > 0) {
    throw Negative();
  }
}

}  // namespace

void AddImportCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "import", "Make a calibration file from measurements, and check it");
  auto options = std::make_shared<ImportOptions>();
  for (const MeasuredTable* const table : TablesAsRead()) {
    command
        .Add(OptionOf(*table), &options->tables[table->param],
             fmt::format("File of readings: {}{}", table->name,
                         table->param == format::kStandard100.param ? "; needed unless --readings has it"
                                                                    : "; default: a copy of another table"))
        .Takes("FILE");
  }
  command
      .Add("--readings", &options->readings,
           "File of readings of several tables, told apart by its columns coverage and mode")
      .Takes("FILE");
  AddReadingsOptions(command, &options->reading);
  command
      .Add(
          "--linear", &options->linear,
          "CSV file, linearized level,panel level; or derive: make luminance proportional to the linearized level, by\n"
          "the standard readings of the full screen. Default: an identity")
      .Takes("FILE|derive");
  command.Add("--minimum-bl", &options->minimum_bl, "Lowest panel level")
      .Required()
      .Between(0, INT32_MAX)
      .Takes("LEVEL");
  command.Add("--max-bl", &options->max_bl, "Highest panel level").Required().Between(0, INT32_MAX).Takes("LEVEL");
  command.Add("--max-os-bl", &options->max_os_bl, "Highest client level")
      .Required()
      .Between(0, INT32_MAX)
      .Takes("LEVEL");
  command
      .Add("--gamma", &options->gamma,
           "Gamma of the panel; or fit: by least squares over the log of the standard full-screen readings")
      .Required()
      .Check([](const std::string& text) { return text == "fit" ? std::string() : WhatIsWrong(text, false); })
      .Takes("NUMBER|fit");
  command.Add("--average", &options->average, "What several readings of one level become: median or mean")
      .OneOf({"median", "mean"})
      .Takes("AVERAGE")
      .ShowDefault();
  command
      .Add("--max-spread", &options->max_spread,
           "Refuse levels whose readings spread by more than this share of their median: 5%")
      .Check([](const std::string& text) { return WhatIsWrong(WithoutPercent(text), false); })
      .Takes("PERCENT");
  command.Add("--pcc-thresh", &options->pcc_thresh, "Threshold of the colour-correction attenuation")
      .NotNegative()
      .Takes("FACTOR");
  command.Add("--date", &options->date, "Date of the measurement, for the comment in the file").Takes("TEXT");
  command.AddFlag("--monotone", &options->monotone,
                  "Repair falling readings by the smallest change, and report every change");
  command
      .Add("--tolerance", &options->tolerance,
           "Drop points that interpolation between the others reproduces within this many nits or, with a %\n"
           "after the number, within this share of their luminance: 0.2%")
      .Check([](const std::string& text) { return WhatIsWrong(WithoutPercent(text), false); })
      .Takes("NITS|PERCENT");
  command
      .Add("-o,--output", &options->output,
           "The calibration file, backlight_calib_<panel>.xml; -: standard output, and the report goes to "
           "standard error")
      .Required()
      .Takes("FILE");
  AddFormatOption(command, &options->format);
  command.Footer(
      HelpOnReadingKinds() +
      "A reading is called an outlier if its modified z-score among the readings of its level is above 3.5 and it "
      "differs\n"
      "from their median by more than 1 %.\n"
      "Example: blnits import --standard-100 full.csv --standard-10 window.csv --minimum-bl 1 --max-bl 4095\n"
      "           --max-os-bl 255 --gamma 2.2 --date 2026-11-23 --monotone -o backlight_calib_mine.xml");
  command.Action([options, log] {
    options->reading.top_level = options->max_os_bl;
    options->averaging.mean = options->average == "mean";
    if (!options->max_spread.empty()) {
      options->averaging.max_spread_percent = std::strtod(options->max_spread.c_str(), nullptr);
    }
    Run(*options, log);
  });
}

}  // namespace blnits
