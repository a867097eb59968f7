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

/// Few pairs from which the device interpolates a dense table. \param panel_levels the whole panel level of each
/// linearized level from 0 on. Any thread.
LinearPairs LinearPairsOf(const std::vector<zarn::BlNitsPoint>& panel_levels);

/// A linear table that makes luminance proportional to the linearized level, and how far from that it is.
struct DerivedTable {
  LinearPairs pairs;
  double rounding_panel_levels = 0.0;  ///< The largest distance of a panel level from the exact one: at most 0.5.
  double rounding_nits = 0.0;          ///< The largest error of luminance by this rounding, in nits.
  uint32_t too_dark = 0;               ///< How many linearized levels would be darker than level 0 is.
};

/// Derives the linear table for linearized levels from 0 to max_bl, of which the last one has the luminance at max_os_bl or
/// at the last point below it. Each linearized level gets the nearest panel level. A panel level is a client level times
/// max_bl / max_os_bl. The luminance between the points is the device's: straight lines, and a line from the origin
/// below the first point.
/// \param points levels rise strictly, luminance never falls, and the last one up to max_os_bl is brighter than level 0.
/// \param max_os_bl above 0. \param max_bl above 0. Time and memory grow with `max_bl`. Any thread.
DerivedTable DeriveLinearTable(const std::vector<zarn::BlNitsPoint>& points, uint32_t max_os_bl, uint32_t max_bl);

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
