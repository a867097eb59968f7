#include "survey.h"

#include <algorithm>
#include <limits>

namespace blnits {

std::vector<zarn::BlNitsPoint> PointsOf(Panel* panel, const MeasuredTable& table) {
  return panel->Get<zarn::BackLightToNitsTable>(table.param).points;
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

std::vector<double> NitsAt(Panel* panel, const std::vector<uint32_t>& levels, uint32_t coverage, bool hdr) {
  std::vector<double> nits;
  nits.reserve(levels.size());
  for (const uint32_t level : levels) {
    nits.push_back(panel->TryToNits(level, coverage, hdr).value_or(std::numeric_limits<double>::quiet_NaN()));
  }
  return nits;
}

}  // namespace blnits
