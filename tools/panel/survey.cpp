#include "panel/survey.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace blnits {

std::vector<zarn::BlNitsPoint> PointsOf(Panel* panel, const MeasuredTable& table) {
  return panel->Get<zarn::BackLightToNitsTable>(table.param).points;
}

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

void AddWithNeighbours(uint32_t level, Levels* levels) {
  levels->insert(levels->end(), {level, level - std::min(level, 1U), level + std::min(UINT32_MAX - level, 1U)});
}

// Sorts the levels and removes duplicates and levels above `last`.
void Tidy(uint32_t last, Levels* levels) {
  std::sort(levels->begin(), levels->end());
  levels->erase(std::unique(levels->begin(), levels->end()), levels->end());
  levels->erase(std::upper_bound(levels->begin(), levels->end(), last), levels->end());
}

// Adds the levels around each place between `below` and `above` at which `kind` changes. The curve is straight there,
// so no kind occurs twice and bisection finds every change.
void AddChanges(const std::function<int(uint32_t)>& kind, uint32_t below, uint32_t above, Levels* levels) {
  if (kind(below) == kind(above)) {
    return;
  }
  if (above - below == 1) {
    AddWithNeighbours(below, levels);
    AddWithNeighbours(above, levels);
    return;
  }
  const uint32_t middle = below + (above - below) / 2;
  AddChanges(kind, below, middle, levels);
  AddChanges(kind, middle, above, levels);
}

void AddChanges(Panel* panel, uint32_t coverage, bool hdr, Levels* levels) {
  const auto kind = [=](uint32_t level) {
    const double nits = panel->TryToNits(level, coverage, hdr).value_or(std::numeric_limits<double>::quiet_NaN());
    return !std::isfinite(nits) ? 2 : nits < 0.0 ? -1 : nits > 0.0 ? 1 : 0;
  };
  for (size_t i = levels->size() - 1; i > 0 && (*levels)[i] >= kEveryLevelBelow; --i) {
    AddChanges(kind, (*levels)[i - 1], (*levels)[i], levels);
  }
}

}  // namespace

Levels SurveyLevels(const std::vector<Panel*>& panels, const std::vector<uint32_t>& coverages) {
  uint32_t last = 0;
  for (Panel* const panel : panels) {
    last = std::max(last, LastLevel(panel));
  }
  Levels levels(size_t{std::min(last, kEveryLevelBelow - 1)} + 1);
  std::iota(levels.begin(), levels.end(), 0);
  if (last < kEveryLevelBelow) {
    return levels;
  }
  for (Panel* const panel : panels) {
    AddWithNeighbours(LastLevel(panel), &levels);
    for (const MeasuredTable& table : kMeasuredTables) {
      for (const auto& point : PointsOf(panel, table)) {
        AddWithNeighbours(point.bl, &levels);
      }
    }
  }
  Tidy(last, &levels);
  for (Panel* const panel : panels) {
    for (const uint32_t coverage : coverages) {
      for (const bool hdr : {false, true}) {
        AddChanges(panel, coverage, hdr, &levels);
        Tidy(last, &levels);
      }
    }
  }
  return levels;
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
      Curve curve = {coverage, hdr, {}};
      for (const uint32_t level : levels) {
        const auto nits = panel->TryToNits(level, coverage, hdr);
        curve.nits.push_back(nits.value_or(std::numeric_limits<double>::quiet_NaN()));
      }
      curves.push_back(std::move(curve));
    }
  }
  return curves;
}

std::vector<bool> Extrapolated(Panel* panel, const Curve& curve, const std::vector<uint32_t>& levels) {
  std::vector<bool> extrapolated(levels.size(), false);
  for (const MeasuredTable& table : kMeasuredTables) {
    const auto points = PointsOf(panel, table);
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

void ForEachRun(size_t count, const std::function<bool(size_t)>& holds,
                const std::function<void(size_t, size_t)>& found) {
  for (size_t i = 0; i < count; ++i) {
    const size_t first = i;
    while (i < count && holds(i)) {
      ++i;
    }
    if (i > first) {
      found(first, i - 1);
    }
  }
}

}  // namespace blnits
