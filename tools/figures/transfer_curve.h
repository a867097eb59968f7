#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "backlight_nits_records.h"

namespace blnits {

/// Pairs of a linearized level and its panel level, as a calibration file has them.
using LinearPairs = std::vector<std::pair<uint32_t, uint32_t>>;

/// The linear table that makes luminance proportional to the linearized level, from 0 to max_bl. Each linearized level
/// gets the nearest panel level. A panel level is a client level times max_bl / max_os_bl. The luminance between and
/// beyond the points is the device's: straight lines, and a line from the origin below the first and above the last
/// point.
/// \param points levels rise strictly, luminance never falls and is above 0 at the last one.
/// \param max_os_bl above 0. Time and memory grow with `max_bl`. Any thread.
LinearPairs DerivedLinearTable(const std::vector<zarn::BlNitsPoint>& points, uint32_t max_os_bl, uint32_t max_bl);

/// The power law nearest to measured points.
struct GammaFit {
  double gamma;
  double residual_percent;  ///< Root mean square of the residuals of log luminance, as a share of the luminance.
  size_t points;            ///< How many were used.
};

/// Fits luminance = factor * level^gamma by least squares over log luminance. Uses the points above level 0 and above 0
/// nits. \return empty if they are at fewer than two levels. Any thread.
std::optional<GammaFit> FitGamma(const std::vector<zarn::BlNitsPoint>& points);

}  // namespace blnits
