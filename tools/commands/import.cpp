#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "calibration_format.h"
#include "check/report.h"
#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/import_calibration.h"
#include "commands/readings_options.h"
#include "panel/calibration_text.h"
#include "support/failure.h"
#include "support/json.h"
#include "support/memory_file.h"
#include "support/output_file.h"

namespace blnits {
namespace {

namespace format = zarn::format;

std::string WithoutPercent(const std::string& text) {
  return text.substr(0, text.size() - (!text.empty() && text.back() == '%' ? 1 : 0));
}

/// Keeps the options in the story, too.
std::vector<std::string> CommentOf(const ImportOptions& options, Story* story) {
  if (options.monotone) {
    story->Keep("option: monotone");
  }
  if (!options.tolerance.empty()) {
    story->Keep(
        fmt::format("option: tolerance {}{}", options.tolerance, options.tolerance.back() == '%' ? "" : " nits"));
  }
  if (!options.max_spread.empty()) {
    story->Keep(fmt::format("option: max spread {}%", WithoutPercent(options.max_spread)));
  }
  std::vector<std::string> lines = {"Made by blnits import from measurements" +
                                    (options.date.empty() ? "" : " of " + options.date) + "."};
  lines.insert(lines.end(), story->Kept().begin(), story->Kept().end());
  return lines;
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
  const zarn::BLRange range = {sizeof range, options.minimum_bl, options.max_bl, options.max_os_bl};
  std::string text =
      CalibrationTextOf(CommentOf(options, story), {made.gamma, range, options.pcc_thresh, made.linear, made.tables});
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
  const Calibration made = MakeCalibration(options, &story);
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
