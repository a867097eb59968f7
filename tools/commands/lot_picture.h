#pragma once

#include <cstddef>

#include "commands/lot_report.h"
#include "support/plot.h"

namespace blnits {

/// Bands of the percentiles of one table with the units that are out: the luminances, and the deviations from the median.
/// \param table index in kMeasuredTables. \throws Failure if the lot has no level of it. Any thread.
Plot PictureOf(const LotReport& report, size_t table);

}  // namespace blnits
