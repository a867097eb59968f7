#include <algorithm>
#include <cstdlib>

#include "check/rules.h"

namespace blnits {
namespace {

TableInFile Read(CalibrationSource* source, Panel* panel, const MeasuredTable& table) {
  Path levels = PathOf(table);
  Path luminances = levels;
  levels.push_back(zarn::format::kPoints.first);
  luminances.push_back(zarn::format::kPoints.second);
  return {&table, panel != nullptr ? panel->PointsOf(table) : std::vector<zarn::BlNitsPoint>(),
          source->TakeValues(levels), source->TakeValues(luminances), source->LineOf(levels)};
}

uint32_t LevelOf(const SourceValue& value) { return static_cast<uint32_t>(std::atoi(value.text)); }

// Only a parser returns the sparse table, and another one would read the whole file again.
decltype(zarn::BLLinearTable::entries) PairsOf(const std::vector<SourceValue>& linear,
                                               const std::vector<SourceValue>& panel) {
  decltype(zarn::BLLinearTable::entries) pairs;
  for (size_t i = 0; i < linear.size(); ++i) {
    pairs.emplace_back(LevelOf(linear[i]), LevelOf(panel[i]));
  }
  return pairs;
}

}  // namespace

Subject::Subject(CalibrationSource* its_source, Panel* its_panel)
    : source(*its_source),
      panel(its_panel),
      linear_levels(its_source->TakeValues({zarn::format::kLinearTable.first})),
      panel_levels(its_source->TakeValues({zarn::format::kLinearTable.second})) {
  if (panel != nullptr) {
    range = panel->Get<zarn::BLRange>(zarn::kBLRange);
    pairs = PairsOf(linear_levels, panel_levels);
  }
  for (size_t i = 0; i < tables.size(); ++i) {
    tables[i] = Read(its_source, panel, kMeasuredTables[i]);
  }
  std::stable_sort(tables.begin(), tables.end(), [](const auto& a, const auto& b) { return a.line < b.line; });
}

const TableInFile& Subject::TableOf(bool hdr, uint32_t coverage) const {
  return *std::find_if(tables.begin(), tables.end(), [&](const TableInFile& each) {
    return each.table->hdr == hdr && (each.table->coverage == 10) == (coverage <= 10);
  });
}

}  // namespace blnits
