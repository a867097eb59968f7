#pragma once

#include <cmath>

namespace blnits {

/// CIE 1976 lightness L*, 0 to 100 (CIE 15), of a luminance relative to white, 0 to 1. Check values: 0.18: 49.4961;
/// 0.001: 0.9033. Any thread.
inline double LightnessOf(double relative) {
  constexpr double kEpsilon = 216.0 / 24389.0;
  constexpr double kKappa = 24389.0 / 27.0;
  return relative > kEpsilon ? 116.0 * std::cbrt(relative) - 16.0 : kKappa * relative;
}

/// The relative luminance of a lightness from 0 to 100. The inverse of LightnessOf. Any thread.
inline double RelativeOfLightness(double lightness) {
  constexpr double kKappa = 24389.0 / 27.0;
  const double root = (lightness + 16.0) / 116.0;
  return lightness > 8.0 ? root * root * root : lightness / kKappa;
}

}  // namespace blnits
