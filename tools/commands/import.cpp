#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
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
#include "foreign_text.h"
#include "panel/survey.h"
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
  std::string linear;
  double gamma = 0.0;
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

/// The reading of one level, or the mean of several.
struct Reading {
  uint32_t level;
  double nits;   ///< The mean.
  size_t count;  ///< How many readings the mean has.
  double least;  ///< The smallest reading, in nits.
  double most;
};

std::string OptionOf(const MeasuredTable& table) { return fmt::format("--{}-{}", table.group, table.coverage); }

std::string NameOfFile(const std::string& path) { return std::filesystem::path(path).filename().string(); }

std::string Counted(size_t count, const char* what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

/// The readings by level; several readings of one level are averaged.
std::vector<Reading> Averaged(std::vector<RawReading> raw) {
  std::stable_sort(raw.begin(), raw.end(), [](const RawReading& a, const RawReading& b) { return a.level < b.level; });
  std::vector<Reading> readings;
  for (const RawReading& each : raw) {
    if (readings.empty() || readings.back().level != each.level) {
      readings.push_back({each.level, 0.0, 0, each.nits, each.nits});
    }
    Reading& reading = readings.back();
    reading.nits += each.nits;  // The sum, until all are added.
    ++reading.count;
    reading.least = std::min(reading.least, each.nits);
    reading.most = std::max(reading.most, each.nits);
  }
  for (Reading& reading : readings) {
    reading.nits /= static_cast<double>(reading.count);
  }
  return readings;
}

void TellRepeated(const std::vector<Reading>& readings, const char* table, Story* story) {
  size_t repeated = 0;
  for (const Reading& reading : readings) {
    if (reading.count > 1) {
      ++repeated;
      story->Detail(fmt::format("{}: level {} is the mean of {} readings, {} to {} nits", table, reading.level,
                                reading.count, reading.least, reading.most));
    }
  }
  if (repeated > 0) {
    story->Keep(fmt::format("{}: {} with several readings, averaged", table, Counted(repeated, "level")));
  }
}

void MakeMonotone(std::vector<Reading>* readings, const char* table, Story* story) {
  std::vector<double> nits;
  std::vector<double> weights;
  for (const Reading& reading : *readings) {
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

Points MakeTable(const TableReadings& measured, const char* table, const ImportOptions& options, Story* story) {
  std::vector<Reading> readings = Averaged(measured.readings);
  story->Tell(fmt::format("{}: {} from {}", table, Counted(readings.size(), "level"), NameOfFile(measured.from.path)));
  TellRepeated(readings, table, story);
  if (options.monotone) {
    MakeMonotone(&readings, table, story);
  }
  Points points;
  for (const Reading& reading : readings) {
    points.push_back({reading.level, reading.nits});
  }
  return options.tolerance.empty() ? points : Thin(points, options.tolerance, table, story);
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

Tables ReadTables(const ImportOptions& options, Story* story) {
  const ReadingsByTable measured = ReadFiles(options, story);
  Tables tables;
  for (const MeasuredTable* const table : TablesAsRead()) {
    const auto found = measured.find(table->param);
    if (found == measured.end()) {
      const MeasuredTable& instead = Instead(*table, measured);
      story->Tell(fmt::format("{}: not measured, copied from {}", table->name, instead.name));
      tables[table->param] = tables[instead.param];
    } else {
      tables[table->param] = MakeTable(found->second, table->name, options, story);
    }
  }
  return tables;
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

void Write(const ImportOptions& options, Story* story, std::ostream& file) {
  const auto tables = ReadTables(options, story);
  std::vector<std::pair<uint32_t, uint32_t>> pairs = {{0, 0}, {options.max_bl, options.max_bl}};
  if (options.linear.empty()) {
    story->Tell("linear table: not measured, a straight line");
  } else {
    pairs = ReadLevelPairs(options.linear);
    story->Tell(fmt::format("linear table: {} from {}", Counted(pairs.size(), "pair"), NameOfFile(options.linear)));
  }
  if (options.monotone) {
    story->Keep("option: monotone");
  }
  if (!options.tolerance.empty()) {
    story->Keep(
        fmt::format("option: tolerance {}{}", options.tolerance, options.tolerance.back() == '%' ? "" : " nits"));
  }
  file << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
  WriteComment(options, *story, file);
  file << "<" << format::kRoot << Attribute(format::kGamma.name, options.gamma)
       << Attribute(format::kMinimumBl.name, options.minimum_bl) << Attribute(format::kMaxBl.name, options.max_bl)
       << Attribute(format::kMaxOsBl.name, options.max_os_bl)
       << (options.pcc_thresh ? Attribute(format::kPccThresh.name, *options.pcc_thresh) : "") << ">\n";
  using Pair = std::pair<uint32_t, uint32_t>;
  WriteList(format::kLinearTable.first, pairs, &Pair::first, "  ", file);
  WriteList(format::kLinearTable.second, pairs, &Pair::second, "  ", file);
  file << fmt::format("  <{}>\n", format::kMeasurements);
  for (const char* const group : {format::kStandard, format::kHighBrightness}) {
    WriteGroup(group, tables, file);
  }
  file << fmt::format("  </{}>\n</{}>\n", format::kMeasurements, format::kRoot);
}

void CheckOutput(const ImportOptions& options) {
  std::vector<std::string> inputs = {options.linear, options.readings, options.reading.levels};
  for (const auto& [table, file] : options.tables) {
    inputs.push_back(file);
  }
  KeepInputs(inputs, options.output);
}

// Never writes a file that the device would refuse for its size. A file below that limit has fewer nodes than the
// device's limit.
std::string TextOf(const ImportOptions& options, Story* story) {
  std::ostringstream file;
  Write(options, story, file);
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
CheckReport CheckCopy(const std::string& text, CapturedLog* log) {
  return Check(MemoryFile(text).Path(), {"file-name"}, kUsualLimit, log);
}

nlohmann::ordered_json ReportOf(const ImportOptions& options, const Story& story, const CheckReport& check) {
  auto report = JsonReport("import");
  report["file"] = options.output;
  report["passes"] = check.Count(Severity::kError) == 0;
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
  const std::string text = TextOf(options, &story);
  WriteWhole(options.output, [&](std::ostream& file) { file << text; });
  const CheckReport report = readable ? Check(options.output, {}, kUsualLimit, log) : CheckCopy(text, log);
  if (json) {
    fmt::print(told, "{}\n", JsonLine(ReportOf(options, story, report)));
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
  command.Add("--linear", &options->linear, "CSV file, linearized level,panel level; default: a straight line")
      .Takes("FILE");
  command.Add("--minimum-bl", &options->minimum_bl, "Lowest panel level")
      .Required()
      .Between(0, INT32_MAX)
      .Takes("LEVEL");
  command.Add("--max-bl", &options->max_bl, "Highest panel level").Required().Between(0, INT32_MAX).Takes("LEVEL");
  command.Add("--max-os-bl", &options->max_os_bl, "Highest client level")
      .Required()
      .Between(0, INT32_MAX)
      .Takes("LEVEL");
  command.Add("--gamma", &options->gamma, "Gamma of the panel").Required().NotNegative().Takes("NUMBER");
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
      .Check([](const std::string& text) {
        return WhatIsWrong(text.substr(0, text.size() - (!text.empty() && text.back() == '%' ? 1 : 0)), false);
      })
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
      "Readings of the same level are averaged.\n"
      "Example: blnits import --standard-100 full.csv --standard-10 window.csv --minimum-bl 1 --max-bl 4095\n"
      "           --max-os-bl 255 --gamma 2.2 --date 2026-11-23 --monotone -o backlight_calib_mine.xml");
  command.Action([options, log] {
    options->reading.top_level = options->max_os_bl;
    Run(*options, log);
  });
}

}  // namespace blnits
