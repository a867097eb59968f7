#include "commands/import_calibration.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iterator>

#include "calibration_format.h"
#include "readings/by_table.h"
#include "support/failure.h"
#include "support/fitting.h"

namespace blnits {

std::string OptionOf(const MeasuredTable& table) { return fmt::format("--{}-{}", table.group, table.coverage); }

namespace {

namespace format = zarn::format;

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

}  // namespace

Calibration MakeCalibration(const ImportOptions& options, Story* story) {
  const ReadingsByTable measured = ReadFiles(options, story);
  Calibration made = {};
  for (const MeasuredTable* const table : TablesAsRead()) {
    const auto found = measured.find(table->param);
    if (found != measured.end()) {
      made.tables[table->param] = PointsOf(found->second, table->name, options, story);
    }
  }
  const Points full = made.tables.at(zarn::format::kStandard100.param);
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
  SetLinearTable(full, measured.at(zarn::format::kStandard100.param), options, story, &made);
  return made;
}

}  // namespace blnits
