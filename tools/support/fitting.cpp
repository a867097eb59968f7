#include "support/fitting.h"

#include <algorithm>
#include <cmath>

namespace blnits {

// A stretch that falls becomes level at its mean, together with what it then falls behind.
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

// The largest error of the line between two points at the points between them.
double ErrorOfLine(const std::vector<zarn::BlNitsPoint>& points, size_t from, size_t to) {
  const auto& [first, first_nits] = points[from];
  const auto& [last, last_nits] = points[to];
  double largest = 0.0;
  for (size_t i = from + 1; i < to; ++i) {
    const double share = static_cast<double>(points[i].bl - first) / (last - first);
    largest = std::max(largest, std::abs(first_nits + share * (last_nits - first_nits) - points[i].nits));
  }
  return largest;
}

}  // namespace

std::vector<zarn::BlNitsPoint> Thinned(const std::vector<zarn::BlNitsPoint>& points, double tolerance,
                                       double* largest) {
  *largest = 0.0;
  std::vector<zarn::BlNitsPoint> kept(points.begin(), points.begin() + (points.empty() ? 0 : 1));
  for (size_t from = 0; from + 1 < points.size();) {
    size_t to = from + 1;
    while (to + 1 < points.size() && ErrorOfLine(points, from, to + 1) <= tolerance) {
      ++to;
    }
    *largest = std::max(*largest, ErrorOfLine(points, from, to));
    kept.push_back(points[to]);
    from = to;
  }
  return kept;
}

}  // namespace blnits
