#include "panel/survey.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>

#include "interpolation.h"

namespace blnits {

bool IsRead(const MeasuredTable& table, uint32_t coverage, bool hdr) {
  return table.hdr == hdr && (table.coverage == 10 ? coverage < 100 : coverage > 10);
}

uint32_t HighestLevel(const std::vector<zarn::BlNitsPoint>& points) {
  uint32_t highest = 0;
  for (const auto& point : points) {
    highest = std::max(highest, point.bl);
  }
  return highest;
}

namespace {

using Levels = std::vector<uint32_t>;

uint32_t LastLevel(Panel* panel) { return panel->Get(zarn::format::kMaxOsBl); }

void Sort(Levels* levels) {
  if (!std::is_sorted(levels->begin(), levels->end())) {  // Most tables are.
    std::sort(levels->begin(), levels->end());
  }
}

// Adds the levels of a table to `centres`, which ascend.
void AddLevels(const std::vector<zarn::BlNitsPoint>& points, Levels* centres) {
  Levels added;
  added.reserve(points.size());
  for (const auto& point : points) {
    added.push_back(point.bl);
  }
  Sort(&added);
  Levels merged;
  merged.reserve(centres->size() + added.size());
  std::merge(centres->begin(), centres->end(), added.begin(), added.end(), std::back_inserter(merged));
  centres->swap(merged);
}

// Every level below kEveryLevelBelow; above it, the `centres` and the levels next to them; all of them up to `last`.
Levels LevelsAround(Levels centres, uint32_t last) {
  Levels levels(size_t{std::min(last, kEveryLevelBelow - 1)} + 1);
  std::iota(levels.begin(), levels.end(), 0);
  Sort(&centres);
  for (const uint32_t centre : centres) {
    for (const uint32_t level : {centre - std::min(centre, 1U), centre, centre + std::min(UINT32_MAX - centre, 1U)}) {
      if (level > levels.back() && level <= last) {
        levels.push_back(level);
      }
    }
  }
  return levels;
}

// The sign of a luminance; 2 if it is not finite.
int KindOf(double nits) { return !std::isfinite(nits) ? 2 : nits < 0.0 ? -1 : nits > 0.0 ? 1 : 0; }

// Adds the levels on both sides of each place between `below` and `above` at which `kind` changes. The curve is straight
// there, so no kind occurs twice and bisection finds every change.
void AddChanges(const std::function<int(uint32_t)>& kind, uint32_t below, uint32_t above, Levels* changes) {
  if (kind(below) == kind(above)) {
    return;
  }
  if (above - below == 1) {
    changes->insert(changes->end(), {below, above});
    return;
  }
  const uint32_t middle = below + (above - below) / 2;
  AddChanges(kind, below, middle, changes);
  AddChanges(kind, middle, above, changes);
}

// Pairs of neighbours above kEveryLevelBelow between which, or beside which, a level is missing. A large table has few.
Levels PairsAtGaps(const Levels& levels) {
  Levels pairs;
  for (size_t i = levels.size() - 1; i > 0 && levels[i] >= kEveryLevelBelow; --i) {
    const bool has_neighbours = i > 1 && i + 1 < levels.size() && levels[i + 1] - levels[i - 2] == 3;
    if (!has_neighbours) {
      pairs.insert(pairs.end(), {levels[i], levels[i - 1]});
    }
  }
  std::reverse(pairs.begin(), pairs.end());
  return pairs;
}

void AddChanges(Panel* panel, uint32_t coverage, bool hdr, const Levels& pairs, Levels* changes) {
  const std::vector<double> nits = panel->TryToNits(pairs, coverage, hdr);
  const auto kind = [=](uint32_t level) {
    return KindOf(panel->TryToNits(level, coverage, hdr).value_or(std::numeric_limits<double>::quiet_NaN()));
  };
  for (size_t i = 0; i < pairs.size(); i += 2) {
    if (KindOf(nits[i]) != KindOf(nits[i + 1])) {
      AddChanges(kind, pairs[i], pairs[i + 1], changes);
    }
  }
}

}  // namespace

Levels SurveyLevels(const std::vector<Panel*>& panels, const std::vector<uint32_t>& coverages) {
  Levels centres;
  for (Panel* const panel : panels) {
    centres.push_back(LastLevel(panel));
  }
  Sort(&centres);
  const uint32_t last = centres.back();
  for (Panel* const panel : panels) {
    for (const MeasuredTable& table : kMeasuredTables) {
      AddLevels(panel->PointsOf(table), &centres);
    }
  }
  Levels levels = LevelsAround(centres, last);
  if (last < kEveryLevelBelow) {
    return levels;
  }
  const size_t measured = centres.size();
  const Levels pairs = PairsAtGaps(levels);
  for (Panel* const panel : panels) {
    for (const uint32_t coverage : coverages) {
      for (const bool hdr : {false, true}) {
        AddChanges(panel, coverage, hdr, pairs, &centres);
      }
    }
  }
  return centres.size() == measured ? levels : LevelsAround(std::move(centres), last);
}

Levels SurveyLevels(Panel* panel) { return SurveyLevels({panel}, {10, 55, 100}); }

bool AreAll(const Levels& levels) { return levels.size() == uint64_t{levels.back()} + 1; }

std::string LeftOut(const Levels& levels) {
  return AreAll(levels) ? ""
                        : fmt::format(
                              "not examined: {} levels above {}, between measured points, where the curves are "
                              "straight",
                              uint64_t{levels.back()} + 1 - levels.size(), kEveryLevelBelow - 1);
}

uint64_t CountLevels(const Levels& levels, const std::function<bool(size_t)>& holds) {
  uint64_t count = 0;
  bool before = false;
  for (size_t i = 0; i < levels.size(); ++i) {
    const bool now = holds(i);
    count += now ? 1 : 0;
    count += now && before ? levels[i] - levels[i - 1] - 1 : 0;
    before = now;
  }
  return count;
}

std::string NameOf(const Curve& curve) {
  const MeasuredTable* const table = FindTable(curve.coverage, curve.hdr);
  return table != nullptr ? table->name
                          : fmt::format("{}, {} %", curve.hdr ? "high brightness" : "standard", curve.coverage);
}

std::vector<Curve> SurveyCurves(Panel* panel, const std::vector<uint32_t>& coverages,
                                const std::vector<uint32_t>& levels) {
  std::vector<Curve> curves;
  for (const bool hdr : {false, true}) {
    for (const uint32_t coverage : coverages) {
      curves.push_back({coverage, hdr, panel->TryToNits(levels, coverage, hdr)});
    }
  }
  return curves;
}

Curve CurveBetween(const Curve& at_10, const Curve& at_100, uint32_t coverage) {
  Curve between = {coverage, at_10.hdr, {}};
  between.nits.reserve(at_10.nits.size());
  for (size_t i = 0; i < at_10.nits.size(); ++i) {
    between.nits.push_back(zarn::ValueAtCoverage(coverage, at_10.nits[i], at_100.nits[i]));
  }
  return between;
}

std::vector<bool> Extrapolated(Panel* panel, const Curve& curve, const std::vector<uint32_t>& levels) {
  std::vector<bool> extrapolated(levels.size(), false);
  for (const MeasuredTable& table : kMeasuredTables) {
    const auto& points = panel->PointsOf(table);
    if (!IsRead(table, curve.coverage, curve.hdr) || points.empty()) {
      continue;
    }
    const uint32_t last = HighestLevel(points);
    for (size_t i = 0; i < levels.size(); ++i) {
      const bool outside = levels[i] < points.front().bl || levels[i] > last;
      extrapolated[i] = extrapolated[i] || (levels[i] > 0 && outside);
    }
  }
  return extrapolated;
}

bool IsSame(double nits, double other) {
  constexpr double kRounding = 1e-12;
  return nits == other || std::abs(nits - other) < kRounding * std::min(std::abs(nits), std::abs(other));
}

}  // namespace blnits
