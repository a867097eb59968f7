#pragma once

#include <optional>
#include <vector>

#include "readings/by_table.h"

namespace blnits {

/// What several readings of one level become.
struct Averaging {
  bool mean = false;  ///< False: their median.
  /// The largest allowed spread: largest minus smallest, in per cent of the median.
  std::optional<double> max_spread_percent;
};

/// All readings of one level.
struct LevelReadings {
  uint32_t level;
  double nits;   ///< Their average.
  size_t count;  ///< How many there are.
  double least;  ///< In nits.
  double most;
  double median;
  /// Readings far from the median: modified z-score above 3.5 (of three readings or more), and more than 1 % away.
  std::vector<RawReading> outliers;
};

/// The readings of a table by rising level. The time is that of sorting them. \throws Failure with each reading of each
/// level that has a larger spread than allowed, up to the limit of Troubles. Any thread.
std::vector<LevelReadings> ByLevel(const TableReadings& measured, const Averaging& averaging);

}  // namespace blnits
