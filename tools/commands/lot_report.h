#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <nlohmann/json_fwd.hpp>

#include "lots/lot_figures.h"
#include "lots/outliers.h"

namespace blnits {

/// What is reported about a lot.
struct LotReport {
  const LotSummary& lot;
  LotLimits limits;
  Outliers outliers;
  double threshold;

  LevelReport At(size_t table, size_t place) const { return ReportOn(lot, table, place, limits); }
  const MeasuredTable& TableOf(const Outlier& outlier) const { return kMeasuredTables[outlier.table]; }
  uint32_t LevelOf(const Outlier& outlier) const { return lot.shape.levels[outlier.table][outlier.place]; }
};

/// A part in per cent of the whole; NaN of nothing. Any thread.
inline double PercentOf(double whole, double part) { return whole > 0.0 ? 100.0 * part / whole : std::nan(""); }

/// The report for people, on standard output. \param limits whether to show how the lot fits between them.
void PrintText(const LotReport& report, bool limits);

/// A row for each level of each table, on standard output.
void PrintCsv(const LotReport& report);

/// The object of docs/schemas/lot.json. Any thread.
nlohmann::ordered_json ReportOf(const LotReport& report);

/// The files that are not part of the figures, with their reasons; nothing if there are none.
void PrintRejected(const Rejections& rejected, std::FILE* stream);

}  // namespace blnits
