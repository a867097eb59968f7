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

double NitsOn(const Knot& a, const Knot& b, double level) {
  return a.nits + (level - a.level) / (b.level - a.level) * (b.nits - a.nits);
}

/// The device's luminance from level 0 to the last point or `top`, whichever is lower. Two knots or more.
std::vector<Knot> KnotsOf(const std::vector<zarn::BlNitsPoint>& points, double top) {
  std::vector<Knot> knots;
  if (points.front().bl > 0) {
    knots.push_back({0.0, 0.0});
  }
  for (const auto& [level, nits] : points) {
    if (level > top) {
      const Knot before = knots.back();
      if (before.level < top) {
        knots.push_back({top, NitsOn(before, {static_cast<double>(level), nits}, top)});
      }
      break;
    }
    knots.push_back({static_cast<double>(level), nits});
  }
  return knots;
}

/// The end of the straight line that has the value of a coordinate: the first knot that is not below it.
const Knot* EndOfLine(const std::vector<Knot>& knots, double Knot::*coordinate, double value) {
  return &*std::lower_bound(knots.begin() + 1, knots.end() - 1, value,
                            [=](const Knot& knot, double wanted) { return knot.*coordinate < wanted; });
}

/// The lowest level with the luminance; level 0 if that is brighter.
double LevelAt(const std::vector<Knot>& knots, double nits) {
  const Knot* const b = EndOfLine(knots, &Knot::nits, nits);
  const Knot* const a = b - 1;
  return nits > a->nits ? a->level + (nits - a->nits) / (b->nits - a->nits) * (b->level - a->level) : a->level;
}

double NitsAt(const std::vector<Knot>& knots, double level) {
  const Knot* const b = EndOfLine(knots, &Knot::level, level);
  return NitsOn(*(b - 1), *b, level);
}

}  // namespace

// The device rounds to whole levels: a line that is nearer than half a level gives the level itself.
LinearPairs LinearPairsOf(const std::vector<zarn::BlNitsPoint>& panel_levels) {
  constexpr Tolerance kLessThanHalf = {0.49, false};
  double largest = 0.0;
  LinearPairs pairs;
  for (const auto& [linear, panel_level] : Thinned(panel_levels, kLessThanHalf, &largest)) {
    pairs.emplace_back(linear, static_cast<uint32_t>(panel_level));
  }
  return pairs;
}

DerivedTable DeriveLinearTable(const std::vector<zarn::BlNitsPoint>& points, uint32_t max_os_bl, uint32_t max_bl) {
  const std::vector<Knot> knots = KnotsOf(points, max_os_bl);
  DerivedTable table;
  std::vector<zarn::BlNitsPoint> panel_levels;
  panel_levels.reserve(size_t{max_bl} + 1);
  for (uint32_t linear = 0; linear <= max_bl; ++linear) {
    const double nits = knots.back().nits * linear / max_bl;
    const double exact = LevelAt(knots, nits) * max_bl / max_os_bl;
    const double whole = std::round(exact);
    panel_levels.push_back({linear, whole});
    const double reachable = std::max(nits, knots.front().nits);
    const double rounded = NitsAt(knots, std::min(whole * max_os_bl / max_bl, knots.back().level));
    table.rounding_panel_levels = std::max(table.rounding_panel_levels, std::abs(whole - exact));
    table.rounding_nits = std::max(table.rounding_nits, std::abs(rounded - reachable));
    table.too_dark += nits < reachable ? 1 : 0;
  }
  table.pairs = LinearPairsOf(panel_levels);
  return table;
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
