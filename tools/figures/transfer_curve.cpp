#include "figures/transfer_curve.h"

#include <algorithm>
#include <cmath>

#include "support/fitting.h"

namespace blnits {
namespace {

struct Knot {
  double level;
  double nits;
};

double LevelOn(const Knot& a, const Knot& b, double nits) {
  return b.nits > a.nits ? a.level + (nits - a.nits) / (b.nits - a.nits) * (b.level - a.level) : a.level;
}

double NitsOn(const Knot& a, const Knot& b, double level) {
  return a.nits + (level - a.level) / (b.level - a.level) * (b.nits - a.nits);
}

/// The device's luminance from level 0 to max_os_bl.
std::vector<Knot> KnotsOf(const std::vector<zarn::BlNitsPoint>& points, double top) {
  std::vector<Knot> knots;
  if (points.front().bl > 0) {
    knots.push_back({0.0, 0.0});
  }
  for (const auto& [level, nits] : points) {
    if (level > top) {
      const Knot before = knots.back();
      knots.push_back({top, NitsOn(before, {static_cast<double>(level), nits}, top)});
      return knots;
    }
    knots.push_back({static_cast<double>(level), nits});
  }
  if (const Knot last = knots.back(); last.level > 0.0 && last.level < top) {
    knots.push_back({top, last.nits * top / last.level});
  }
  return knots;
}

}  // namespace

LinearPairs DerivedLinearTable(const std::vector<zarn::BlNitsPoint>& points, uint32_t max_os_bl, uint32_t max_bl) {
  // The engine rounds to whole levels: a line that is nearer than half a level gives the level itself.
  constexpr Tolerance kLessThanHalf = {0.49, false};
  const std::vector<Knot> knots = KnotsOf(points, max_os_bl);
  std::vector<zarn::BlNitsPoint> panel_levels;
  panel_levels.reserve(size_t{max_bl} + 1);
  size_t i = 1;
  for (uint32_t linear = 0; linear <= max_bl; ++linear) {
    const double nits = knots.back().nits * linear / max_bl;
    while (i + 1 < knots.size() && knots[i].nits < nits) {
      ++i;
    }
    const double level = knots.size() > 1 ? std::max(knots[i - 1].level, LevelOn(knots[i - 1], knots[i], nits)) : 0.0;
    panel_levels.push_back({linear, std::round(level * max_bl / max_os_bl)});
  }
  double largest = 0.0;
  LinearPairs pairs;
  for (const auto& [linear, panel_level] : Thinned(panel_levels, kLessThanHalf, &largest)) {
    pairs.emplace_back(linear, static_cast<uint32_t>(panel_level));
  }
  return pairs;
}

std::optional<GammaFit> FitGamma(const std::vector<zarn::BlNitsPoint>& points) {
  std::vector<Knot> logs;
  for (const auto& [level, nits] : points) {
    if (level > 0 && nits > 0.0) {
      logs.push_back({std::log(level), std::log(nits)});
    }
  }
  const auto count = static_cast<double>(logs.size());
  Knot mean = {0.0, 0.0};
  for (const Knot& each : logs) {
    mean.level += each.level / count;
    mean.nits += each.nits / count;
  }
  double both = 0.0;
  double levels = 0.0;
  for (const Knot& each : logs) {
    both += (each.level - mean.level) * (each.nits - mean.nits);
    levels += (each.level - mean.level) * (each.level - mean.level);
  }
  if (!(levels > 0.0)) {
    return std::nullopt;
  }
  const double gamma = both / levels;
  double squares = 0.0;
  for (const Knot& each : logs) {
    const double residual = each.nits - mean.nits - gamma * (each.level - mean.level);
    squares += residual * residual;
  }
  return GammaFit{gamma, 100.0 * std::expm1(std::sqrt(squares / count)), logs.size()};
}

}  // namespace blnits
