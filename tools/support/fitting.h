#pragma once

#include <cstddef>
#include <vector>

#include "backlight_nits_records.h"

namespace blnits {

/// The non-falling sequence nearest to `values` by weighted least squares (pool adjacent violators).
/// \param weights one for each value, above 0.
std::vector<double> NeverFalling(const std::vector<double>& values, const std::vector<double>& weights);

/// The largest allowed distance of a line from a point: in nits, or as a share of the point's luminance.
struct Tolerance {
  double amount;
  bool relative;  ///< `amount` is a share: 0.002 is 0.2 %.
};

/// Drops points of a rising table that linear interpolation between the remaining ones reproduces within a tolerance.
/// Keeps the first and last point. From each kept point, extends the line as far as it fits. The time grows with the
/// number of points.
/// \param points levels must rise strictly.
/// \param[out] largest the largest error, in the unit of the tolerance.
std::vector<zarn::BlNitsPoint> Thinned(const std::vector<zarn::BlNitsPoint>& points, const Tolerance& tolerance,
                                       double* largest);

}  // namespace blnits
