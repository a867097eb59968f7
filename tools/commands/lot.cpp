#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <ostream>
#include <sstream>
#include <utility>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/lot_picture.h"
#include "commands/lot_report.h"
#include "foreign_text.h"
#include "lots/lot_reader.h"
#include "lots/partial_result.h"
#include "readings/levels.h"
#include "support/json.h"
#include "support/output_file.h"
#include "support/status_line.h"

namespace blnits {
namespace {

struct LotOptions {
  std::vector<std::string> inputs;
  std::string levels;  ///< Empty: those that most units were measured at.
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

void WriteText(const std::string& path, const std::string& text) {
  WriteWhole(path, [&](std::ostream& stream) { stream << text; });
}

void WritePicture(const LotReport& report, const LotOptions& options) {
  const auto table = std::find_if(kMeasuredTables.begin(), kMeasuredTables.end(), [&](const MeasuredTable& each) {
    return each.hdr == options.hdr && each.coverage == options.coverage;
  });
  const Plot picture = PictureOf(report, static_cast<size_t>(table - kMeasuredTables.begin()));
  WriteText(options.output, Drawn(picture, PictureFormatOf(options.output, "")));
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
