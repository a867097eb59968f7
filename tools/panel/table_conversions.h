#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "backlight_nits_records.h"

namespace blnits {

/// One measured table, made for many conversions: the engine's walk through the points, in any order, ends where a
/// binary search finds its end. Constant after construction: any thread.
class SearchedTable {
 public:
  explicit SearchedTable(zarn::BackLightToNitsTable table);

  /// What the engine's GetNitsValue gives for a level. \return as there, with its log lines.
  int Nits(uint32_t level, double* nits) const;

  /// What the engine's GetBlValue gives for a luminance. \return as there, with its log lines.
  int Level(double nits, uint32_t* level) const;

 private:
  zarn::BackLightToNitsTable table_;
  // The places of the points that are above all points before them, in level or in luminance: no walk ends elsewhere.
  std::vector<size_t> rising_levels_;
  std::vector<size_t> rising_nits_;
};

/// What the engine answers from the two measured tables of one mode of operation, bit for bit, by its own arithmetic.
/// The engine copies both tables for each conversion and walks them; here they are copied once. Constant after
/// construction: any thread.
class TableConversions {
 public:
  TableConversions(zarn::BackLightToNitsTable table_10, zarn::BackLightToNitsTable table_100);

  /// Luminance of a client level at a coverage of 1 to 100 per cent. The level's upper bound is the caller's to check.
  /// \return 0, or -EINVAL with an Error, `*nits` then being untouched: there is no straight line.
  int ToNits(uint32_t level, uint32_t coverage, double* nits) const;

  /// Client level for a luminance likewise.
  int ToLevel(double nits, uint32_t coverage, uint32_t* level) const;

 private:
  SearchedTable table_10_;
  SearchedTable table_100_;
};

}  // namespace blnits
