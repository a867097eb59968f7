#pragma once

// How the engine gets from measurements to values: on a straight line, along one table, and between two coverages.

#include <cerrno>
#include <vector>

#include "backlight_nits_imp.h"
#include "log.h"

namespace zarn {

/// A straight line as the contract defines it; here, to become part of the loops that draw many.
inline int BackLightNitsImp::InterPolate(const BackLightCordinates& p1, const BackLightCordinates& p2,
                                         BackLightCordinates* out) {
  if (out == nullptr) {
    Log().Error("BackLightNitsImp::%s: invalid out params %pK", __func__, static_cast<void*>(out));
    return -EINVAL;
  }
  const double distance = p2.x - p1.x;
  if (distance == 0.0) {
    Log().Error("BackLightNitsImp::%s: Invalid distance of zero", __func__);
    return -EINVAL;
  }
  const double weight1 = (p2.x - out->x) / distance;
  const double weight2 = (out->x - p1.x) / distance;
  out->y = p1.y * weight1 + weight2 * p2.y;
  return 0;
}

/// Walks `table` in file order, sorted or not, from the point at `place` to the first whose X is `wanted` or greater.
/// \return that point's place, or the number of points when there is none.
template <auto X, class Value>
size_t Walk(const BackLightToNitsTable& table, Value wanted, size_t place = 0) {
  const auto& points = table.points;
  // Not "less": what is compared with NaN never ends the walk.
  while (place < points.size() && !(points[place].*X >= wanted)) {
    ++place;
  }
  return place;
}

/// The value at `wanted`, where the walk to it has ended at `place`: the Y of a point that is equal, else on the line
/// from the point before. A table that begins above `wanted` is continued to the origin; above its last point follows
/// the line through the origin and that point. `*value` is 0.0 on failure.
template <auto X, auto Y, class Value>
int BackLightNitsImp::ValueOnTable(const BackLightToNitsTable& table, size_t place, Value wanted, double* value) {
  const auto& points = table.points;
  const bool found = place < points.size();
  if (found && points[place].*X == wanted) {
    *value = static_cast<double>(points[place].*Y);
    return 0;
  }
  const auto coordinates = [](const BlNitsPoint& point) {
    return BackLightCordinates{static_cast<double>(point.*X), static_cast<double>(point.*Y)};
  };
  const BackLightCordinates below = place > 0 ? coordinates(points[place - 1]) : BackLightCordinates{};
  const BackLightCordinates above = found ? coordinates(points[place]) : BackLightCordinates{};
  BackLightCordinates on_line{static_cast<double>(wanted), 0.0};
  const int ret = InterPolate(below, above, &on_line);
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
