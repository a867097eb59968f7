#include "check/report.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <ostream>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/reports.h"
#include "foreign_text.h"
#include "reporting/digest.h"
#include "reporting/inline_svg.h"
#include "reporting/page.h"
#include "support/failure.h"
#include "support/json.h"
#include "support/output_file.h"
#include "support/plot.h"
#include "support/status_line.h"

namespace blnits {
namespace {

using Json = nlohmann::ordered_json;

constexpr size_t kMostReadings = 1000;      ///< In the page. Its summary covers all.
constexpr size_t kMostLinearLevels = 4096;  ///< The same for the linear table.

struct ReportOptions {
  std::vector<std::string> panels;
  std::string output;
  std::string title;
  std::string date;
  VerifyRules rules;
  std::optional<double> max_diff_nits;
  std::optional<double> max_diff_percent;
  std::string format = "text";
};

/// A panel of the report. If the device refuses its file, there is only the path.
struct Subject {
  std::string file;
  std::optional<Panel> panel;

  const std::string& Name() const { return panel ? panel->Name() : file; }
};

/// What the page shows, and the verdict.
struct Contents {
  Json figures = Json::object();
  std::map<std::string, std::string> pictures;
  bool passes = true;

  /// Adds a test to the verdict. \param result empty if nothing was judged.
  void Judge(const std::string& test, std::optional<bool> result, const std::string& reason) {
    passes = passes && result.value_or(true);
    figures["verdict"]["items"].push_back({{"test", test},
                                           {"passes", result == true},
                                           {"fails", result == false},
                                           {"unjudged", !result},
                                           {"reason", reason}});
  }
};

bool HasVerifyLimit(const VerifyRules& rules) { return rules.max_nits || rules.max_percent || rules.max_jnd; }
bool HasDiffLimit(const ReportOptions& options) { return options.max_diff_nits || options.max_diff_percent; }

void CheckUsage(const ReportOptions& options) {
  if (options.panels.size() > 2) {
    throw Failure(fmt::format("report: found {} panels, expected one, or two to compare", options.panels.size()));
  }
  if (options.rules.file.empty() && HasVerifyLimit(options.rules)) {
    throw Failure("report: the limits --max-nits, --max-percent and --max-jnd are for readings; --readings is missing");
  }
  if (options.panels.size() < 2 && HasDiffLimit(options)) {
    throw Failure("report: the limits --max-diff-nits and --max-diff-percent need a second panel");
  }
}

// The library does not tell the path of a refused file that it found by a panel's name.
Subject Open(const std::string& argument, CapturedLog* log) {
  try {
    Panel panel(argument, log);
    const std::string file = panel.File();
    return {file, std::move(panel)};
  } catch (const LoadFailure&) {
    if (!std::filesystem::is_regular_file(argument)) {
      throw;
    }
    return {argument, std::nullopt};
  }
}

/// The members of an object as an array. Members that are no objects become the field "value".
Json Rows(const Json& object) {
  Json rows = Json::array();
  for (const auto& [name, member] : object.items()) {
    Json row = {{"name", name}};
    row.update(member.is_object() ? member : Json{{"value", member}});
    rows.push_back(row);
  }
  return rows;
}

/// Says under `key` what `make` returns, or under "no_KEY" why the device or the subcommand refuses it.
template <class Make>
void AddOrReason(const std::string& key, Make make, Json* figures) {
  try {
    (*figures)[key] = make();
  } catch (const Failure& failure) {
    (*figures)["no_" + key] = {{"reason", failure.what()}};
  }
}

Json ShowFigures(Panel* panel) {
  Json show = ShowReportOn(panel);
  show["attributes"] = Rows(show["attributes"]);
  show["tables"] = Rows(show["tables"]);
  return show;
}

Json QualityFigures(Panel* panel) {
  Json quality = QualityReportOn(panel);
  quality["curves"] = Rows(quality["curves"]);
  quality["seams_any"] = !quality["seams"].empty();
  return quality;
}

Json StepsFigures(Panel* panel) {
  Json steps = StepsReportOn(panel, Slider());
  size_t count = 0;
  for (Json& step : steps["steps"]) {
    step["step"] = count++;
  }
  return steps;
}

/// The table in rows of sixteen levels. Leaves out levels at regular intervals if there are too many.
Json GridOf(const Json& levels) {
  constexpr size_t kColumns = 16;
  const size_t interval = (levels.size() - 2) / kMostLinearLevels + 1;
  Json grid = {{"thinned", interval > 1 ? Json(interval) : Json()}};
  for (size_t i = 0; i < kColumns; ++i) {
    grid["columns"].push_back(i * interval);
  }
  for (size_t i = 0; i < levels.size(); i += interval) {
    if (i / interval % kColumns == 0) {
      grid["rows"].push_back({{"from", i}, {"levels", Json::array()}});
    }
    grid["rows"].back()["levels"].push_back(levels[i]);
  }
  return grid;
}

Json LinearFigures(Panel* panel) {
  const Json linear = LinearReportOn(panel);
  const Json& levels = linear["panel_levels"];
  const bool identity = linear["linearized_levels"] == levels;
  return {{"last", linear["linearized_levels"].back()},
          {"identity", identity},
          {"grid", identity ? Json() : GridOf(levels)}};
}

void AddPanel(Subject* subject, size_t number, CapturedLog* log, Contents* contents) {
  StatusLine status;
  const CheckReport report = Check(subject->file, {}, kUsualLimit, log, &status);
  status.Erase();
  const size_t errors = report.Count(Severity::kError);
  contents->Judge("Check of " + subject->file, errors == 0,
                  fmt::format("{}; errors: {}, warnings: {}, notes: {}",
                              report.loads ? "the device loads the file" : "the device refuses the file", errors,
                              report.Count(Severity::kWarning), report.Count(Severity::kNote)));
  Json panel = {{"number", number}, {"name", subject->Name()}, {"file", subject->file}};
  panel["check"] = ToJson(subject->file, report);
  panel["check"]["findings_any"] = !report.findings.empty();
  if (subject->panel) {
    Panel* const engine = &*subject->panel;
    panel["show"] = ShowFigures(engine);
    panel["quality"] = QualityFigures(engine);
    AddOrReason(
        "steps", [&] { return StepsFigures(engine); }, &panel);
    AddOrReason(
        "linear", [&] { return LinearFigures(engine); }, &panel);
  }
  contents->figures["panels"].push_back(panel);
}

/// One row for each unit and group of readings.
Json SummariesOf(const Json& verify) {
  constexpr const char* kUnits[][3] = {
      {"nits", "error_nits", "max_nits"}, {"%", "error_percent", "max_percent"}, {"JND", "error_jnd", "max_jnd"}};
  Json summaries = Json::array();
  for (const auto& [unit, error, limit] : kUnits) {
    for (const char* const group : {"all", "between"}) {
      Json row = {{"unit", unit}, {"readings_of", group}, {"error", verify[group][error]}};
      if (!verify["limits"][limit].is_null()) {
        row["limit"] = verify["limits"][limit];
      }
      summaries.push_back(row);
    }
  }
  return summaries;
}

/// Keeps the readings that a page can show: those beyond a limit first, in the order of the file.
void ShortenReadings(Json* verify) {
  auto& readings = (*verify)["readings"].get_ref<Json::array_t&>();
  const size_t count = readings.size();
  (*verify)["left_out"] = Json();
  if (count > kMostReadings) {
    std::stable_partition(readings.begin(), readings.end(),
                          [](const Json& reading) { return reading["beyond_limit"].get<bool>(); });
    readings.resize(kMostReadings);
    (*verify)["left_out"] = {{"shown", kMostReadings}, {"count", count - kMostReadings}};
  }
}

std::string LargestOf(const Json& verify) {
  const Json& percent = verify["all"]["error_percent"];
  return percent.is_null() ? "" : fmt::format("; largest error {:.3f} %", percent["largest"].get<double>());
}

void AddPicture(const char* variable, const Plot& plot, const PictureTexts& texts, Contents* contents) {
  std::string origin;
  contents->pictures[variable] = InlineSvg(Drawn(plot, PictureFormat::kSvg), texts, &origin);
  const std::string known = "Produced by ";
  contents->figures["drawn_by"] = origin.substr(origin.rfind(known, 0) == 0 ? known.size() : 0);
}

void AddReadings(const ReportOptions& options, Subject* subject, Contents* contents) {
  const std::string test = "Readings of " + options.rules.file;
  if (!subject->panel) {
    contents->Judge(test, false, "the device refuses " + subject->file);
    return;
  }
  Plot plot;
  Json verify = VerifyReportOn(&*subject->panel, options.rules, &plot);
  const auto beyond = verify["readings_beyond_limit"].get<size_t>();
  const size_t count = verify["readings"].size();
  const std::string largest = LargestOf(verify);
  const bool limited = HasVerifyLimit(options.rules);
  contents->Judge(test, limited ? std::optional(beyond == 0) : std::nullopt,
                  (limited ? fmt::format("{} of {} readings beyond a limit", beyond, count)
                           : fmt::format("no limit is given; {} readings", count)) +
                      largest);
  verify["limited"] = limited;
  verify["summaries"] = SummariesOf(verify);
  ShortenReadings(&verify);
  for (const char* const summarized : {"all", "between", "limits"}) {
    verify.erase(summarized);
  }
  contents->figures["verify"] = std::move(verify);
  AddPicture("ERRORS", plot,
             {"errors", "Errors of the readings over the client level",
              fmt::format("Reading minus calibration of panel {} for {} readings{}. The table below gives each.",
                          Printable(subject->Name()), count, largest)},
             contents);
}

void AddComparison(const ReportOptions& options, std::vector<Subject>* subjects, Contents* contents) {
  if (subjects->size() < 2) {
    return;
  }
  Subject& a = subjects->front();
  Subject& b = subjects->back();
  const std::string test = "Comparison of " + b.file + " with " + a.file;
  if (!a.panel || !b.panel) {
    contents->Judge(test, false, "the device refuses one of the two");
    return;
  }
  DiffLimits limits;
  limits.max_nits = options.max_diff_nits.value_or(limits.max_nits);
  limits.max_percent = options.max_diff_percent.value_or(limits.max_percent);
  Json diff = DiffReportOn(&*a.panel, &*b.panel, limits);
  const auto beyond = std::count_if(diff["tables"].begin(), diff["tables"].end(),
                                    [](const Json& table) { return !table["passes"].get<bool>(); });
  contents->Judge(test, HasDiffLimit(options) ? std::optional(beyond == 0) : std::nullopt,
                  HasDiffLimit(options) ? fmt::format("{} of {} curves beyond a limit", beyond, diff["tables"].size())
                                        : "no limit is given");
  diff.erase("limits");
  diff["attributes_any"] = !diff["attributes"].empty();
  diff["attributes"] = Rows(diff["attributes"]);
  diff["tables"] = Rows(diff["tables"]);
  contents->figures["diff"] = std::move(diff);
}

/// What the picture of the curves shows, for those who do not see it.
std::string CurvesInWords(const Json& panels) {
  std::string words;
  for (const Json& panel : panels) {
    if (!panel.contains("show")) {
      continue;
    }
    words += fmt::format("{}Measured points of panel {}:", words.empty() ? "" : " ",
                         Printable(panel["name"].get<std::string>()));
    const char* comma = "";
    for (const Json& table : panel["show"]["tables"]) {
      if (table["points"] > 0) {
        words += fmt::format("{} {} {} %, {} to {} nits at levels {} to {}", comma, table["mode"].get<std::string>(),
                             table["coverage"].get<uint32_t>(), table["lowest_nits"].get<double>(),
                             table["highest_nits"].get<double>(), table["lowest_level"].get<uint32_t>(),
                             table["highest_level"].get<uint32_t>());
        comma = ";";
      }
    }
    words += ".";
  }
  return words;
}

void AddCurves(const std::vector<Subject>& subjects, CapturedLog* log, Contents* contents) {
  std::vector<std::string> files;
  for (const Subject& subject : subjects) {
    if (subject.panel) {
      files.push_back(subject.file);
    }
  }
  if (files.empty()) {
    contents->figures["no_curves"] = {{"reason", "the device refuses the file"}};
    return;
  }
  std::optional<Plot> plot;
  try {
    plot = CurvePicture(files, log);
  } catch (const Failure& nothing_to_draw) {
    contents->figures["no_curves"] = {{"reason", nothing_to_draw.what()}};
    return;
  }
  AddPicture("CURVES", *plot, {"curves", "Luminance over the client level", CurvesInWords(contents->figures["panels"])},
             contents);
}

/// The files that the report is made from, and what each holds.
std::vector<std::pair<std::string, std::string>> InputsOf(const ReportOptions& options,
                                                          const std::vector<Subject>& subjects) {
  std::vector<std::pair<std::string, std::string>> inputs;
  inputs.reserve(subjects.size() + 2);
  for (const Subject& subject : subjects) {
    inputs.emplace_back(subject.file, "the calibration of panel " + subject.Name());
  }
  if (!options.rules.file.empty()) {
    inputs.emplace_back(options.rules.file, "the readings");
  }
  std::error_code error;
  if (std::filesystem::exists(options.rules.readings.levels, error)) {
    inputs.emplace_back(options.rules.readings.levels, "the levels of the readings");
  }
  return inputs;
}

void AddProvenance(const ReportOptions& options, const std::vector<Subject>& subjects, Contents* contents) {
  std::string title = "Calibration of panel " + subjects.front().Name();
  if (subjects.size() > 1) {
    title = fmt::format("Calibrations of panels {} and {}", subjects.front().Name(), subjects.back().Name());
  }
  Json& figures = contents->figures;
  figures["title"] = options.title.empty() ? title : options.title;
  figures["date"] = options.date;
  figures["has_date"] = !options.date.empty();
  figures["version"] = BLNITS_VERSION;
  for (const auto& [file, holds] : InputsOf(options, subjects)) {
    figures["files"].push_back({{"file", file}, {"holds", holds}, {"sha256", Sha256Of(file)}});
  }
}

void PrintVerdict(const ReportOptions& options, const Contents& contents) {
  fmt::print("{}: {}\n", Printable(options.output), contents.passes ? "pass" : "fail");
  for (const Json& item : contents.figures["verdict"]["items"]) {
    const char* const result = item["passes"] == true ? "pass" : item["fails"] == true ? "fail" : "not judged";
    fmt::print("{}: {}: {}\n", Printable(item["test"].get<std::string>()), result,
               Printable(item["reason"].get<std::string>()));
  }
}

Json VerdictReport(const ReportOptions& options, const Contents& contents) {
  Json report = JsonReport("report");
  report["file"] = options.output;
  report["passes"] = contents.passes;
  for (const Json& item : contents.figures["verdict"]["items"]) {
    const bool judged = item["passes"] == true || item["fails"] == true;
    report["tests"].push_back(
        {{"test", item["test"]}, {"passes", judged ? item["passes"] : Json()}, {"reason", item["reason"]}});
  }
  return report;
}

void Run(const ReportOptions& options, CapturedLog* log) {
  CheckUsage(options);
  std::vector<Subject> subjects;
  for (const std::string& panel : options.panels) {
    subjects.push_back(Open(panel, log));
  }
  for (const auto& [file, holds] : InputsOf(options, subjects)) {
    KeepInputs({file}, options.output);
  }
  Contents contents;
  AddProvenance(options, subjects, &contents);
  for (size_t i = 0; i < subjects.size(); ++i) {
    AddPanel(&subjects[i], i + 1, log, &contents);
  }
  if (!options.rules.file.empty()) {
    AddReadings(options, &subjects.front(), &contents);
  }
  AddComparison(options, &subjects, &contents);
  AddCurves(subjects, log, &contents);
  contents.figures["verdict"]["passes"] = contents.passes;
  const std::string page = FilledPage(contents.figures, contents.pictures);
  WriteWhole(options.output, [&](std::ostream& file) { file << page; });
  if (options.format == "json") {
    fmt::print(options.output == "-" ? stderr : stdout, "{}\n", JsonLine(VerdictReport(options, contents)));
  } else if (options.output != "-") {
    PrintVerdict(options, contents);
  }
  if (!contents.passes) {
    throw Negative();
  }
}

}  // namespace

void AddReportCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "report", "Write what is known of a calibration into one HTML file, for customers");
  auto options = std::make_shared<ReportOptions>();
  command.Add("PANEL", &options->panels, "Panel's name, or path to its file; a second one is compared with the first")
      .Required();
  command.Add("-o,--output", &options->output, "The report's file; -: standard output").Required().Takes("FILE");
  command.Add("--title", &options->title, "Title of the report; default: the panels' names").Takes("TEXT");
  command.Add("--date", &options->date, "Date of the report, as given").Takes("TEXT");
  command.Add("--readings", &options->rules.file, "File of readings to compare with the first panel").Takes("FILE");
  AddVerifyOptions(command, &options->rules);
  command.Add("--max-diff-nits", &options->max_diff_nits, "The verdict is a fail if the panels differ by more nits")
      .NotNegative()
      .Takes("NITS");
  command
      .Add("--max-diff-percent", &options->max_diff_percent,
           "The verdict is a fail if the panels differ by more per cent, at levels where the first is not dark")
      .NotNegative()
      .Takes("PERCENT");
  AddFormatOption(command, &options->format);
  command.Footer(
      "The page has the verdict, the SHA-256 of each file, the picture of the curves, and the figures of check, show,\n"
      "quality, steps and linear, of verify with --readings, and of diff with two panels. It needs no network, no "
      "other\n"
      "file and no script; a browser prints it on A4 or Letter. The same input makes the same bytes. The verdict is a\n"
      "fail, with exit status 1, if check finds an error in a file or a limit is exceeded; the page is written, too.\n"
      "Needs gnuplot (Debian's package gnuplot-nox).\n"
      "Example: blnits report samples/backlight_calib_oled_phone.xml --readings fresh.csv --max-percent 3 -o "
      "report.html");
  command.Action([options, log] { Run(*options, log); });
}

}  // namespace blnits
