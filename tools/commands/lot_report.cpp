#include "commands/lot_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "foreign_text.h"
#include "lots/partial_result.h"
#include "support/json.h"
#include "support/numbers.h"

namespace blnits {
namespace {

using Json = nlohmann::ordered_json;

/// At most this many places of `count`, spread evenly, with the first and the last one.
std::vector<size_t> ShownPlaces(size_t count) {
  constexpr size_t kMost = 10;
  std::vector<size_t> places;
  for (size_t i = 0; i < std::min(count, kMost); ++i) {
    places.push_back(count <= kMost ? i : i * (count - 1) / (kMost - 1));
  }
  return places;
}

void PrintTable(const LotReport& report, size_t table, bool limits) {
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
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
    fmt::print("{:>8}{:>11}{:>8}{:>11}{:>11}{:>11}{:>11}{:>11}{:>9}{:>9}{:>9}", level.level, Fixed(nits.mean, 4),
               Fixed(PercentOf(nits.mean, nits.deviation), 3), Fixed(nits.least, 4), Fixed(nits.percentiles.front(), 4),
               Fixed(nits.percentiles[kMedian], 4), Fixed(nits.percentiles.back(), 4), Fixed(nits.greatest, 4),
               Fixed(level.jnd.deviation, 3), Fixed(level.mean_curve_rms, 3), Fixed(level.mean_curve_largest, 3));
    fmt::print("{}\n", limits ? fmt::format("{:>8}{:>8}", Fixed(level.capability.cp.value_or(kNone), 3),
                                            Fixed(level.capability.cpk.value_or(kNone), 3))
                              : "");
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

}  // namespace

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

Json ReportOf(const LotReport& report) {
  const LotSummary& lot = report.lot;
  Json object = JsonReport("lot");
  object["units"] = lot.units;
  object["rejected"] = ToJson(lot.rejected);
  object["range"] = ToJson(lot.shape.range);
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

}  // namespace blnits
