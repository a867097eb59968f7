#pragma once

#include <cstddef>
#include <vector>

#include "backlight_nits_records.h"

namespace blnits {

/// The row that never falls and is nearest to `values`, by the sum of weighted squares (pool adjacent violators).
/// \param weights as many as values, each above 0.
std::vector<double> NeverFalling(const std::vector<double>& values, const std::vector<double>& weights);

/// How far a line may miss a point: by so much in nits, or by that share of the point's luminance.
struct Tolerance {
  double amount;
  bool relative;  ///< `amount` is a share: 0.002 is 0.2 %.
};

/// The points of a rising table that are needed for the straight lines between them to give back every other point
/// within a tolerance. First and last stay; from each point that stays, the line is drawn out as long as it fits. The
/// time grows with the number of points.
/// \param points levels rise strictly.
/// \param[out] largest the largest error, in nits or as a share, as the tolerance is.
std::vector<zarn::BlNitsPoint> Thinned(const std::vector<zarn::BlNitsPoint>& points, const Tolerance& tolerance,
                                       double* largest);

}  // namespace blnits
