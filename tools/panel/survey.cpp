#include "panel/survey.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

namespace blnits {

std::vector<zarn::BlNitsPoint> PointsOf(Panel* panel, const MeasuredTable& table) {
  return panel->Get<zarn::BackLightToNitsTable>(table.param).points;
}

uint32_t HighestLevel(const std::vector<zarn::BlNitsPoint>& points) {
  uint32_t highest = 0;
  for (const auto& point : points) {
    highest = std::max(highest, point.bl);
  }
  return highest;
}

// A conversion copies and walks its tables: its time grows with their points.
std::vector<uint32_t> SurveyLevels(Panel* panel) {
  uint64_t points = 1;
  for (const MeasuredTable& table : kMeasuredTables) {
    points += PointsOf(panel, table).size();
  }
  const uint64_t last = panel->Get<zarn::BLRange>(zarn::kBLRange).max_os_bl;
  const uint64_t quick = std::clamp<uint64_t>(100'000'000 / points, 256, 65536);
  const uint64_t steps = std::min(last, quick - 1);
  std::vector<uint32_t> levels(steps + 1);
  for (uint64_t i = 1; i <= steps; ++i) {
    levels[i] = static_cast<uint32_t>(last * i / steps);
  }
  return levels;
}

const MeasuredTable* TableOf(const Curve& curve) {
  const auto* const table = std::find_if(
      kMeasuredTables.begin(), kMeasuredTables.end(),
      [&](const MeasuredTable& measured) { return measured.coverage == curve.coverage && measured.hdr == curve.hdr; });
  return table != kMeasuredTables.end() ? table : nullptr;
}

std::string NameOf(const Curve& curve) {
  const MeasuredTable* const table = TableOf(curve);
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
    const bool read = table.coverage == 10 ? curve.coverage < 100 : curve.coverage > 10;
    const auto points = PointsOf(panel, table);
    if (table.hdr != curve.hdr || !read || points.empty()) {
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
