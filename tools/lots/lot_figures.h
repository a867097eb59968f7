#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "lots/limits.h"
#include "lots/summary.h"

namespace blnits {

/// The shares whose percentiles reports have.
inline constexpr std::array kShares = {0.01, 0.05, 0.5, 0.95, 0.99};

/// The distribution of one quantity over the units of a lot. NaN: not defined.
struct Distribution {
  uint64_t units;
  double mean;
  double deviation;  ///< Standard deviation; NaN for one unit.
  double least;
  double greatest;
  std::array<double, kShares.size()> percentiles;
};

/// What a report says about one level of one table.
struct LevelReport {
  uint32_t level;
  Distribution nits;
  Distribution jnd;  ///< JND indices.
  // The error if each unit had the mean's luminance, in JND; NaN if the mean has no JND index.
  double mean_curve_rms;
  double mean_curve_largest;
  std::optional<double> lower;  ///< In nits.
  std::optional<double> upper;
  Capability capability;
};

/// Limits of both sides.
struct LotLimits {
  Limits lower;
  Limits upper;
};

/// \param table index in kMeasuredTables. \param place index of a level of that table. \param lot has a unit. Any thread.
LevelReport ReportOn(const LotSummary& lot, size_t table, size_t place, const LotLimits& limits);

/// The calibration file of a unit with the mean of everything. \param lot has a unit, and levels in each table. Any thread.
std::string MeanCalibrationOf(const LotSummary& lot);

}  // namespace blnits
