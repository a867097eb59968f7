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

/// A gap between two planned levels. The widest one is the first in a queue.
struct Gap {
  uint32_t first;
  uint32_t last;

  double Ratio() const { return first == 0 ? HUGE_VAL : static_cast<double>(last) / first; }
  bool operator<(const Gap& other) const { return Ratio() < other.Ratio(); }
};

/// Adds levels in the widest gaps, in the middle of each on a logarithmic scale.
void Fill(size_t count, Levels* levels) {
  std::priority_queue<Gap> gaps;
  const auto add = [&](uint32_t first, uint32_t last) {
    if (last - first > 1) {
      gaps.push({first, last});
    }
  };
  for (size_t i = 1; i < levels->size(); ++i) {
    add((*levels)[i - 1], (*levels)[i]);
  }
  while (levels->size() < count && !gaps.empty()) {
    const Gap gap = gaps.top();
    gaps.pop();
    const auto middle = static_cast<uint32_t>(std::lround(std::sqrt(static_cast<double>(gap.first) * gap.last)));
    const uint32_t level = std::clamp(middle, gap.first + 1, gap.last - 1);
    levels->push_back(level);
    add(gap.first, level);
    add(level, gap.last);
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

std::vector<uint32_t> PlannedLevels(uint32_t first, uint32_t last, size_t count) {
  Levels levels = {first};
  while (levels.size() < count && levels.back() < last) {
    const double level = std::max(levels.back(), 1U);
    const double factor = std::pow(last / level, 1.0 / static_cast<double>(count - levels.size()));
    const auto next = static_cast<uint32_t>(std::lround(level * factor));
    levels.push_back(std::clamp(next, levels.back() + 1, last));
  }
  return levels;
}

Plan PlanFor(const std::vector<zarn::BlNitsPoint>& curve, size_t count) {
  Plan plan = {Nearest(curve, count), {}, {}};
  Fill(std::min(count, curve.size()), &plan.levels);
  size_t from = 0;
  for (const uint32_t level : plan.levels) {
    const auto at = std::lower_bound(curve.begin(), curve.end(), level,
                                     [](const zarn::BlNitsPoint& point, uint32_t wanted) { return point.bl < wanted; });
    const auto to = static_cast<size_t>(at - curve.begin());
    JudgeLine(curve, from, to, &plan);
    from = to;
  }
  return plan;
}

}  // namespace blnits
