#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "calibration_format.h"

namespace blnits {

/// A measured table with a name for readers.
struct MeasuredTable : zarn::format::MeasuredTable {
  const char* name;  ///< For instance "standard, full screen".
};

/// In the order of every report.
inline constexpr std::array kMeasuredTables = {
    MeasuredTable{zarn::format::kStandard10, "standard, 10 % of the screen"},
    MeasuredTable{zarn::format::kStandard100, "standard, full screen"},
    MeasuredTable{zarn::format::kHdr10, "high brightness, 10 %"},
    MeasuredTable{zarn::format::kHdr100, "high brightness, full screen"},
};
static_assert(kMeasuredTables.size() == zarn::format::kMeasuredTables.size());

/// The table that was measured at this coverage; null if none was. Any thread.
const MeasuredTable* FindTable(uint32_t coverage, bool hdr);

/// The tables in the order in which the library reads them. Any thread.
std::vector<const MeasuredTable*> TablesAsRead();

}  // namespace blnits
