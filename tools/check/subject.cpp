#include <algorithm>

#include "check/rules.h"

namespace blnits {
namespace {

TableInFile Read(const CalibrationSource& source, Panel* panel, const MeasuredTable& table) {
  Path levels = PathOf(table);
  Path luminances = levels;
  levels.push_back(zarn::format::kPoints.first);
  luminances.push_back(zarn::format::kPoints.second);
  return {&table, panel != nullptr ? PointsOf(panel, table) : std::vector<zarn::BlNitsPoint>(), source.Values(levels),
          source.Values(luminances), source.LineOf(levels)};
}

}  // namespace

Subject::Subject(const CalibrationSource& its_source, Panel* its_panel)
    : source(its_source),
      panel(its_panel),
      linear_levels(source.Values({zarn::format::kLinearTable.first})),
      panel_levels(source.Values({zarn::format::kLinearTable.second})) {
  if (panel != nullptr) {
    range = panel->Get<zarn::BLRange>(zarn::kBLRange);
    pairs = panel->SparseLinearTable().entries;
  }
  for (size_t i = 0; i < tables.size(); ++i) {
    tables[i] = Read(source, panel, kMeasuredTables[i]);
  }
  std::stable_sort(tables.begin(), tables.end(), [](const auto& a, const auto& b) { return a.line < b.line; });
}

const TableInFile& Subject::TableOf(bool hdr, uint32_t coverage) const {
  return *std::find_if(tables.begin(), tables.end(), [&](const TableInFile& each) {
    return each.table->hdr == hdr && (each.table->coverage == 10) == (coverage <= 10);
  });
}

}  // namespace blnits
