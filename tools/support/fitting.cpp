#include "support/fitting.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace blnits {

// A falling stretch takes its mean. If the mean is below the values before it, they join the stretch.
std::vector<double> NeverFalling(const std::vector<double>& values, const std::vector<double>& weights) {
  struct Pool {
    double mean;
    double weight;
    size_t count;
  };
  std::vector<Pool> pools;
  for (size_t i = 0; i < values.size(); ++i) {
    Pool pool{values[i], weights[i], 1};
    while (!pools.empty() && pools.back().mean > pool.mean) {
      const Pool& before = pools.back();
      const double weight = before.weight + pool.weight;
      pool = {(before.mean * before.weight + pool.mean * pool.weight) / weight, weight, before.count + pool.count};
      pools.pop_back();
    }
    pools.push_back(pool);
  }
  std::vector<double> level;
  for (const Pool& pool : pools) {
    level.insert(level.end(), pool.count, pool.mean);
  }
  return level;
}

namespace {

using Point = zarn::BlNitsPoint;

// A little less than the tolerance: slopes are rounded, and the line must still meet the tolerance.
double Allowed(const Point& point, const Tolerance& tolerance) {
  const double nits = std::abs(point.nits);
  const double rounding = 8.0 * std::numeric_limits<double>::epsilon() * nits;
  return std::max(0.0, (tolerance.relative ? tolerance.amount * nits : tolerance.amount) - rounding);
}

double Slope(const Point& from, double level, double nits) { return (nits - from.nits) / (level - from.bl); }

// The largest error of the line from point `from` to point `to` at the points between them.
double ErrorOfLine(const std::vector<Point>& points, size_t from, size_t to, bool relative) {
  const auto& [first, first_nits] = points[from];
  const auto& [last, last_nits] = points[to];
  double largest = 0.0;
  for (size_t i = from + 1; i < to; ++i) {
    const double share = static_cast<double>(points[i].bl - first) / (last - first);
    const double error = std::abs(first_nits + share * (last_nits - first_nits) - points[i].nits);
    const double scale = relative && error > 0.0 ? std::abs(points[i].nits) : 1.0;
    largest = std::max(largest, error / scale);
  }
  return largest;
}

// The last point to which a line from `from` can be drawn. Each point in between narrows the range of allowed slopes.
size_t EndOfLine(const std::vector<Point>& points, size_t from, const Tolerance& tolerance) {
  double least = -std::numeric_limits<double>::infinity();
  double most = std::numeric_limits<double>::infinity();
  size_t to = from + 1;
  for (; to + 1 < points.size(); ++to) {
    const Point& passed = points[to];
    least = std::max(least, Slope(points[from], passed.bl, passed.nits - Allowed(passed, tolerance)));
    most = std::min(most, Slope(points[from], passed.bl, passed.nits + Allowed(passed, tolerance)));
    const double slope = Slope(points[from], points[to + 1].bl, points[to + 1].nits);
    if (!(slope >= least && slope <= most)) {
      break;
    }
  }
  return to;
}

}  // namespace

std::vector<Point> Thinned(const std::vector<Point>& points, const Tolerance& tolerance, double* largest) {
  *largest = 0.0;
  std::vector<Point> kept(points.begin(), points.begin() + (points.empty() ? 0 : 1));
  for (size_t from = 0; from + 1 < points.size();) {
    const size_t to = EndOfLine(points, from, tolerance);
    *largest = std::max(*largest, ErrorOfLine(points, from, to, tolerance.relative));
    kept.push_back(points[to]);
    from = to;
  }
  return kept;
}

}  // namespace blnits
