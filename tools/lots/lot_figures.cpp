#include "lots/lot_figures.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "figures/gsdf.h"
#include "figures/transfer_curve.h"
#include "panel/calibration_text.h"

namespace blnits {
namespace {

double JndOf(double nits) { return RoughJndIndexOfNits(nits).value_or(std::nan("")); }

double NearestJndOf(double nits) { return JndOf(std::clamp(nits, kLeastGsdfNits, kMostGsdfNits)); }

Distribution NitsOf(const LevelFigures& level) {
  Distribution nits = {level.nits.Count(), level.nits.Mean(), level.nits.Deviation(), level.least, level.greatest, {}};
  std::transform(kShares.begin(), kShares.end(), nits.percentiles.begin(),
                 [&](double share) { return level.Percentile(share); });
  return nits;
}

// The index rises with the luminance, so percentiles of one are those of the other.
Distribution JndOf(const LevelFigures& level, const Distribution& nits) {
  Distribution jnd = {level.jnd.Count(), level.jnd.Mean(),     level.jnd.Deviation(),
                      JndOf(nits.least), JndOf(nits.greatest), {}};
  std::transform(nits.percentiles.begin(), nits.percentiles.end(), jnd.percentiles.begin(),
                 [](double percentile) { return JndOf(percentile); });
  return jnd;
}

}  // namespace

LevelReport ReportOn(const LotSummary& lot, size_t table, size_t place, const LotLimits& limits) {
  const LevelFigures& level = lot.tables[table][place];
  LevelReport report = {};
  report.level = lot.shape.levels[table][place];
  report.nits = NitsOf(level);
  report.jnd = JndOf(level, report.nits);
  const double of_mean = JndOf(report.nits.mean);
  const double offset = report.jnd.mean - of_mean;  // NaN without a JND index.
  const auto units = static_cast<double>(std::max<uint64_t>(1, level.jnd.Count()));
  report.mean_curve_rms = std::sqrt(level.jnd.Squares() / units + offset * offset);
  report.mean_curve_largest =
      std::max(std::abs(NearestJndOf(level.greatest) - of_mean), std::abs(NearestJndOf(level.least) - of_mean));
  report.lower = limits.lower.At(table, report.level);
  report.upper = limits.upper.At(table, report.level);
  report.capability = CapabilityOf(report.nits.mean, report.nits.deviation, report.lower, report.upper);
  return report;
}

std::string MeanCalibrationOf(const LotSummary& lot) {
  CalibrationContents contents = {lot.gamma.Mean(lot.units), lot.shape.range, lot.pcc_thresh.Mean(lot.units), {}, {}};
  std::vector<zarn::BlNitsPoint> panel_levels;
  for (size_t i = 0; i < lot.panel_levels.size(); ++i) {
    const double mean = static_cast<double>(lot.panel_levels[i]) / static_cast<double>(lot.units);
    panel_levels.push_back({static_cast<uint32_t>(i), std::round(mean)});
  }
  contents.linear = LinearPairsOf(panel_levels);
  for (size_t i = 0; i < kMeasuredTables.size(); ++i) {
    auto& points = contents.tables[kMeasuredTables[i].param];
    for (size_t j = 0; j < lot.tables[i].size(); ++j) {
      points.push_back({lot.shape.levels[i][j], lot.tables[i][j].nits.Mean()});
    }
  }
  return CalibrationTextOf({fmt::format("Made by blnits lot: the mean of {} units.", lot.units)}, contents);
}

}  // namespace blnits
