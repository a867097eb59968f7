#pragma once

// The two ways in which both conversions go from measurements to values: along one table, and between two coverages.

#include <cerrno>
#include <vector>

#include "backlight_nits_imp.h"

namespace zarn {

/// Walks `table` in file order, sorted or not, up to the first point whose X is `wanted` (its Y is the value) or
/// greater (the value lies on the line from the point before). A table that begins above `wanted` is continued to the
/// origin; above its last point follows the line through the origin and that point. `*value` is 0.0 on failure.
template <auto X, auto Y, class Value>
int BackLightNitsImp::ValueOnTable(const BackLightToNitsTable& table, Value wanted, double* value) {
  const BlNitsPoint* below = nullptr;
  const BlNitsPoint* above = nullptr;
  for (const BlNitsPoint& point : table.points) {
    if (point.*X == wanted) {
      *value = static_cast<double>(point.*Y);
      return 0;
    }
    if (point.*X > wanted) {
      above = &point;
      break;
    }
    below = &point;
  }
  const auto coordinates = [](const BlNitsPoint* point) {
    return point != nullptr ? BackLightCordinates{static_cast<double>(point->*X), static_cast<double>(point->*Y)}
                            : BackLightCordinates{};
  };
  BackLightCordinates on_line{static_cast<double>(wanted), 0.0};
  const int ret = InterPolate(coordinates(below), coordinates(above), &on_line);
  *value = on_line.y;
  return ret;
}

/// The value at a valid coverage: what `at_10` gives up to 10 %, what `at_100` gives at 100 %, and between them the
/// straight line through both. `*value` is unspecified on failure.
/// \param at_10, at_100 called with a pointer to double to fill; a result other than 0 ends it.
template <class At10, class At100>
int BackLightNitsImp::ValueAtCoverage(uint32_t percentage, At10 at_10, At100 at_100, double* value) {
  if (percentage <= 10) {
    return at_10(value);
  }
  if (percentage == 100) {
    return at_100(value);
  }
  BackLightCordinates p10{10.0, 0.0};
  BackLightCordinates p100{100.0, 0.0};
  int ret = at_10(&p10.y);
  if (ret != 0) {
    return ret;
  }
  ret = at_100(&p100.y);
  if (ret != 0) {
    return ret;
  }
  BackLightCordinates on_line{static_cast<double>(percentage), 0.0};
  ret = InterPolate(p10, p100, &on_line);
  *value = on_line.y;
  return ret;
}

}  // namespace zarn
