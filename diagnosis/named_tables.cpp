#include "named_tables.h"

#include <algorithm>

namespace blnits {

const MeasuredTable* FindTable(uint32_t coverage, bool hdr) {
  const auto* const table =
      std::find_if(kMeasuredTables.begin(), kMeasuredTables.end(),
                   [&](const MeasuredTable& each) { return each.coverage == coverage && each.hdr == hdr; });
  return table != kMeasuredTables.end() ? table : nullptr;
}

std::vector<const MeasuredTable*> TablesAsRead() {
  std::vector<const MeasuredTable*> tables;
  tables.reserve(zarn::format::kMeasuredTables.size());
  for (const auto& table : zarn::format::kMeasuredTables) {
    tables.push_back(FindTable(table.coverage, table.hdr));
  }
  return tables;
}

}  // namespace blnits
