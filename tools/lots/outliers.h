#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "lots/summary.h"

namespace blnits {

/// A unit that differs from the lot.
struct Outlier {
  std::string unit;  ///< Foreign text.
  size_t table;      ///< Index in kMeasuredTables of the luminance with the greatest score.
  size_t place;      ///< Index of its level in the shape.
  double nits;
  double score;  ///< Robust z-score: distance from the median / robust deviation. Below 0: darker.
};

struct Outliers {
  std::vector<Outlier> units;  ///< The greatest magnitude of a score first.
  bool complete = true;        ///< False: more units may be out, because a list of extremes has no other unit.
};

/// The units with a score whose magnitude is above `threshold`, each with its greatest one over all tables and levels.
/// A level at which the median unit is black has no scores. Any thread.
Outliers OutliersOf(const LotSummary& lot, double threshold);

}  // namespace blnits
