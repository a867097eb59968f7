#pragma once

#include <cstddef>
#include <vector>

#include "backlight_nits_records.h"

namespace blnits {

/// The row that never falls and is nearest to `values`, by the sum of weighted squares (pool adjacent violators).
/// \param weights as many as values, each above 0.
std::vector<double> NeverFalling(const std::vector<double>& values, const std::vector<double>& weights);

/// The points of a rising table that are needed for the straight lines between them to give back every other point
/// within a tolerance. First and last stay; from each point that stays, the line is drawn out as long as it fits.
/// \param points levels rise strictly. \param tolerance in nits. \param[out] largest the largest error, in nits.
std::vector<zarn::BlNitsPoint> Thinned(const std::vector<zarn::BlNitsPoint>& points, double tolerance, double* largest);

}  // namespace blnits
