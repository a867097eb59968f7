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
inline constexpr size_t kMedian = 2;  ///< The index of the median among them.

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
  Distribution jnd;             ///< JND indices.
  double mean_curve_rms;        ///< The error if each unit had the mean's luminance, in JND,
  double mean_curve_largest;    ///< and the largest one; both NaN if the mean has no JND index.
  std::optional<double> lower;  ///< In nits.
  std::optional<double> upper;
  Capability capability;
};

/// Limits of both sides.
struct LotLimits {
  Limits lower;
  Limits upper;
};

/// \param lot has a unit. \param table index in kMeasuredTables. \param place index of a level of that table.
/// Any thread.
LevelReport ReportOn(const LotSummary& lot, size_t table, size_t place, const LotLimits& limits);

/// The text of the calibration file of the mean. \param lot has a unit. Any thread.
std::string MeanCalibrationOf(const LotSummary& lot);

}  // namespace blnits
