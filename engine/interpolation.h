#pragma once

// The engine's arithmetic: on a straight line, along one measured table, and between the two coverages. The functions
// read their arguments only: any thread.

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "backlight_nits_records.h"
#include "log.h"
#include "saturate.h"

namespace zarn {

/// The straight line through `p1` and `p2` at `out->x`, into `out->y`. The order of its operations is part of every
/// result: none of them may be rearranged or fused.
/// \return 0, or -EINVAL with an Error: `out` is null, or both points have the same `x`.
inline int InterPolate(const BackLightCordinates& p1, const BackLightCordinates& p2, BackLightCordinates* out) {
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

/// Walks `table` in file order, sorted or not, from the point at `place` to the first whose level is `bl` or greater.
/// \return that point's place, or the number of points when there is none.
inline size_t WalkToLevel(const BackLightToNitsTable& table, uint32_t bl, size_t place = 0) {
  const auto& points = table.points;
  while (place < points.size() && points[place].bl < bl) {
    ++place;
  }
  return place;
}

/// The same to the first point whose luminance is `nits` or greater.
inline size_t WalkToNits(const BackLightToNitsTable& table, double nits, size_t place = 0) {
  const auto& points = table.points;
  // Not "less": what is compared with NaN never ends the walk.
  while (place < points.size() && !(points[place].nits >= nits)) {
    ++place;
  }
  return place;
}

/// A measured point on a curve of luminance over level.
inline BackLightCordinates NitsOverLevel(const BlNitsPoint& point) {
  return {static_cast<double>(point.bl), point.nits};
}

/// The same point on a curve of level over luminance.
inline BackLightCordinates LevelOverNits(const BlNitsPoint& point) {
  return {point.nits, static_cast<double>(point.bl)};
}

/// The value of a curve at `x`, which no point has, where the walk to `x` has ended at `place`: on the line through that
/// point and the one before. A table that begins above `x` is continued to the origin; above its last point follows the
/// line through the origin and that point.
/// \param curve NitsOverLevel or LevelOverNits.
/// \return 0, or -EINVAL with an Error: there is no straight line, `*y` is then 0.0.
inline int ValueBesidePoints(const BackLightToNitsTable& table, size_t place,
                             BackLightCordinates (&curve)(const BlNitsPoint&), double x, double* y) {
  const auto& points = table.points;
  const BackLightCordinates below = place > 0 ? curve(points[place - 1]) : BackLightCordinates{};
  const BackLightCordinates above = place < points.size() ? curve(points[place]) : BackLightCordinates{};
  BackLightCordinates on_line{x, 0.0};
  const int ret = InterPolate(below, above, &on_line);
  *y = on_line.y;
  return ret;
}

/// Luminance at level `bl`, where the walk to it has ended at `place`: a measured one as it stands.
/// \return as ValueBesidePoints.
inline int NitsAt(const BackLightToNitsTable& table, size_t place, uint32_t bl, double* nits) {
  if (place < table.points.size() && table.points[place].bl == bl) {
    *nits = table.points[place].nits;
    return 0;
  }
  return ValueBesidePoints(table, place, NitsOverLevel, static_cast<double>(bl), nits);
}

/// The level at luminance `nits`, where the walk to it has ended at `place`: a measured one as it stands, else rounded to
/// the nearest, halves away from zero, and never below 0. \return as ValueBesidePoints, with 0 for 0.0.
inline int LevelAt(const BackLightToNitsTable& table, size_t place, double nits, uint32_t* bl) {
  if (place < table.points.size() && table.points[place].nits == nits) {
    *bl = table.points[place].bl;
    return 0;
  }
  double level = 0.0;
  const int ret = ValueBesidePoints(table, place, LevelOverNits, nits, &level);
  *bl = RoundToU32(level);
  return ret;
}

/// Whether a value at coverage `percentage`, 1 to 100, needs the measurement of one tenth of the screen.
inline bool NeedsTenth(uint32_t percentage) { return percentage < 100; }

/// Whether it needs the measurement of the full screen.
inline bool NeedsFull(uint32_t percentage) { return percentage > 10; }

/// The value at coverage `percentage`, 1 to 100: `at_10` up to 10 %, `at_100` at 100 %, and between them the straight
/// line through both. A value that is not needed is not read.
inline double ValueAtCoverage(uint32_t percentage, double at_10, double at_100) {
  if (!NeedsFull(percentage)) {
    return at_10;
  }
  if (!NeedsTenth(percentage)) {
    return at_100;
  }
  BackLightCordinates on_line{static_cast<double>(percentage), 0.0};
  InterPolate({10.0, at_10}, {100.0, at_100}, &on_line);
  return on_line.y;
}

/// The same for two levels: what lies between them is truncated.
inline uint32_t LevelAtCoverage(uint32_t percentage, uint32_t at_10, uint32_t at_100) {
  return SaturateToU32(ValueAtCoverage(percentage, at_10, at_100));
}

}  // namespace zarn
