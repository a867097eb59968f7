#pragma once

// The engine's arithmetic: on a straight line, along one measured table, and between the two coverages. The functions
// read only their arguments, so any thread may call them.

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "backlight_nits_records.h"
#include "log.h"
#include "saturate.h"

namespace zarn {

/// Writes the value of the straight line through `p1` and `p2` at `out->x` to `out->y`. The order of the operations
/// determines the last bit of every result: do not rearrange or fuse them.
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

/// Searches `table` in file order, from the point at `place`, for the first whose level is `bl` or greater. The table
/// may be unsorted.
/// \return the index of that point, or the number of points if there is none.
inline size_t WalkToLevel(const BackLightToNitsTable& table, uint32_t bl, size_t place = 0) {
  const auto& points = table.points;
  while (place < points.size() && points[place].bl < bl) {
    ++place;
  }
  return place;
}

/// The same for the first point whose luminance is `nits` or greater.
inline size_t WalkToNits(const BackLightToNitsTable& table, double nits, size_t place = 0) {
  const auto& points = table.points;
  // !(a >= b) rather than a < b: a comparison with NaN must not end the search.
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

/// The value of a curve at `x`, which is not the `x` of a measured point. It lies on the line through the point at
/// `place` and the point before. Below the first point and above the last one, the origin replaces the missing point.
/// \param place the result of the search for `x`.
/// \param curve NitsOverLevel or LevelOverNits.
/// \return 0, or -EINVAL with an Error if both points have the same `x`; `*y` is then 0.0.
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

/// Luminance at level `bl`: the measured luminance if the level is measured, otherwise ValueBesidePoints.
/// \param place the result of the search for `bl`.
/// \return as ValueBesidePoints.
inline int NitsAt(const BackLightToNitsTable& table, size_t place, uint32_t bl, double* nits) {
  if (place < table.points.size() && table.points[place].bl == bl) {
    *nits = table.points[place].nits;
    return 0;
  }
  return ValueBesidePoints(table, place, NitsOverLevel, static_cast<double>(bl), nits);
}

/// The level at luminance `nits`: the measured level if the luminance is measured, otherwise ValueBesidePoints, rounded
/// to the nearest level (halves away from zero) and at least 0.
/// \param place the result of the search for `nits`.
/// \return as ValueBesidePoints, with `*bl` 0 on failure.
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

/// The value at coverage `percentage`, 1 to 100: `at_10` up to 10 %, `at_100` at 100 %, and interpolated between them.
/// Does not use a value that the coverage does not need.
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

/// The same for two levels. An interpolated level is truncated.
inline uint32_t LevelAtCoverage(uint32_t percentage, uint32_t at_10, uint32_t at_100) {
  return SaturateToU32(ValueAtCoverage(percentage, at_10, at_100));
}

}  // namespace zarn
