#include "panel/plan.h"

#include <algorithm>
#include <cmath>
#include <queue>
#include <tuple>

#include "figures/gsdf.h"
#include "support/fitting.h"

namespace blnits {
namespace {

using Levels = std::vector<uint32_t>;
using Points = std::vector<zarn::BlNitsPoint>;

size_t IndexOf(const Points& curve, uint32_t level) {
  const auto at = std::lower_bound(curve.begin(), curve.end(), level,
                                   [](const zarn::BlNitsPoint& point, uint32_t wanted) { return point.bl < wanted; });
  return static_cast<size_t>(at - curve.begin());
}

/// A gap between two planned levels. The one with the largest ratio of luminance is the first in a queue.
struct Gap {
  double ratio;
  size_t first;  ///< Index in the curve.
  size_t last;

  bool operator<(const Gap& other) const { return ratio < other.ratio; }
};

double RatioOf(double nits, double other) {
  const auto [least, most] = std::minmax(nits, other);
  return least > 0.0 ? most / least : HUGE_VAL;
}

// The index between two others whose luminance is nearest to the middle on a logarithmic scale.
size_t MiddleOf(const Points& curve, const Gap& gap) {
  const double middle = std::sqrt(std::max(0.0, curve[gap.first].nits * curve[gap.last].nits));
  const auto first = curve.begin() + static_cast<Points::difference_type>(gap.first);
  const auto last = curve.begin() + static_cast<Points::difference_type>(gap.last);
  const auto at = std::lower_bound(first, last, middle,
                                   [](const zarn::BlNitsPoint& point, double wanted) { return point.nits < wanted; });
  return std::clamp(static_cast<size_t>(at - curve.begin()), gap.first + 1, gap.last - 1);
}

/// Adds levels in the middle of the gaps with the largest ratios of luminance.
void Fill(const Points& curve, size_t count, Levels* levels) {
  std::priority_queue<Gap> gaps;
  const auto add = [&](size_t first, size_t last) {
    if (last - first > 1) {
      gaps.push({RatioOf(curve[first].nits, curve[last].nits), first, last});
    }
  };
  for (size_t i = 1; i < levels->size(); ++i) {
    add(IndexOf(curve, (*levels)[i - 1]), IndexOf(curve, (*levels)[i]));
  }
  while (levels->size() < count && !gaps.empty()) {
    const Gap gap = gaps.top();
    gaps.pop();
    const size_t middle = MiddleOf(curve, gap);
    levels->push_back(curve[middle].bl);
    add(gap.first, middle);
    add(middle, gap.last);
  }
  std::sort(levels->begin(), levels->end());
}

/// At most `count` points of the curve, at the smallest tolerance that needs no more.
Levels Nearest(const Points& curve, size_t count) {
  constexpr int kHalvings = 40;
  double least = 1e-9;  // Shares of the luminance.
  double most = 1e3;
  double largest = 0.0;
  Points nearest = {curve.front(), curve.back()};
  for (int i = 0; i < kHalvings; ++i) {
    const double middle = std::sqrt(least * most);
    Points kept = Thinned(curve, {middle, true}, &largest);
    const bool enough = kept.size() <= count;
    (enough ? most : least) = middle;
    if (enough) {
      nearest = std::move(kept);
    }
  }
  Levels levels;
  levels.reserve(nearest.size());
  for (const auto& point : nearest) {
    levels.push_back(point.bl);
  }
  return levels;
}

void Keep(double error, uint32_t level, PlanError* largest) {
  constexpr double kRounding = 1e-9;
  if (error > std::max(largest->error, kRounding)) {
    *largest = {error, level};
  }
}

void JudgeLine(const Points& curve, size_t from, size_t to, Plan* plan) {
  for (size_t i = from; i <= to; ++i) {
    const auto& [level, nits] = curve[i];
    const double share =
        to == from ? 0.0 : static_cast<double>(level - curve[from].bl) / (curve[to].bl - curve[from].bl);
    const double line = curve[from].nits + share * (curve[to].nits - curve[from].nits);
    if (nits > 0.0) {
      Keep(100.0 * std::abs(line / nits - 1.0), level, &plan->percent);
    }
    const auto jnd = JndIndexOfNits(nits);
    const auto jnd_of_line = JndIndexOfNits(line);
    if (jnd && jnd_of_line) {
      plan->jnd = plan->jnd.value_or(PlanError());
      Keep(std::abs(*jnd_of_line - *jnd), level, &*plan->jnd);
    }
  }
}

}  // namespace

std::vector<uint32_t> PlannedLevels(uint32_t first, uint32_t last, size_t count, uint32_t step) {
  Levels levels = {first};
  const uint32_t steps = (last - first) / step;
  for (uint32_t at = 0; levels.size() < count && at < steps;) {
    const double level = std::max(levels.back(), 1U);
    const double factor = std::pow(last / level, 1.0 / static_cast<double>(count - levels.size()));
    const auto next = static_cast<uint32_t>(std::lround(std::max(0.0, level * factor - first) / step));
    at = std::clamp(next, at + 1, steps);
    levels.push_back(first + at * step);
  }
  return levels;
}

Plan PlanFor(const std::vector<zarn::BlNitsPoint>& curve, size_t count) {
  Plan plan = {Nearest(curve, count), {}, {}};
  Fill(curve, count, &plan.levels);
  size_t from = 0;
  for (const uint32_t level : plan.levels) {
    const size_t to = IndexOf(curve, level);
    JudgeLine(curve, from, to, &plan);
    from = to;
  }
  return plan;
}

}  // namespace blnits
