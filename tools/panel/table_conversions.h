#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "backlight_nits_records.h"

namespace blnits {

/// One measured table, prepared for many conversions. A binary search finds the point at which the engine's linear
/// search ends, also in an unsorted table. Constant after construction: any thread.
class SearchedTable {
 public:
  explicit SearchedTable(zarn::BackLightToNitsTable table);

  /// The points, in the order of the file.
  const std::vector<zarn::BlNitsPoint>& Points() const { return table_.points; }

  /// The result of the engine's GetNitsValue for a level, with the same return value and log lines.
  /// \param place where the search begins and ends: 0, or the place of a level that is not far below.
  int Nits(uint32_t level, double* nits, size_t* place) const;

  /// The result of the engine's GetBlValue for a luminance, with the same return value and log lines.
  int Level(double nits, uint32_t* level) const;

 private:
  zarn::BackLightToNitsTable table_;
  // Indices of the points above all earlier points, in level or in luminance. The engine's search ends only at such a
  // point.
  std::vector<size_t> rising_levels_;
  std::vector<size_t> rising_nits_;
};

/// The conversions of the engine from the two measured tables of one operation, with the engine's own arithmetic and so
/// the same bits. The engine copies both tables for each conversion and searches them from the start; this class copies
/// them once. Constant after construction: any thread.
class TableConversions {
 public:
  /// Where the search for a level ended in each table. Makes the search for the next higher level short.
  struct Place {
    size_t in_10 = 0;
    size_t in_100 = 0;
  };

  TableConversions(zarn::BackLightToNitsTable table_10, zarn::BackLightToNitsTable table_100);

  /// The points of the table of 10 or 100 per cent.
  const std::vector<zarn::BlNitsPoint>& PointsOf(uint32_t coverage) const {
    return (coverage == 10 ? table_10_ : table_100_).Points();
  }

  /// Luminance of a client level at a coverage of 1 to 100 per cent. The caller checks the upper bound of the level.
  /// \return 0; or -EINVAL, with an Error in the log and `*nits` unchanged, if the table does not allow interpolation.
  /// \param place of the last conversion; any place is correct.
  int ToNits(uint32_t level, uint32_t coverage, double* nits, Place* place) const;

  /// Client level for a luminance, with the same results.
  int ToLevel(double nits, uint32_t coverage, uint32_t* level) const;

 private:
  SearchedTable table_10_;
  SearchedTable table_100_;
};

}  // namespace blnits
