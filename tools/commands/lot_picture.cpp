#include "commands/lot_picture.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "foreign_text.h"
#include "support/failure.h"

namespace blnits {
namespace {

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

}  // namespace

Plot PictureOf(const LotReport& report, size_t table) { return LotPicture(report, table).Draw(); }

}  // namespace blnits
