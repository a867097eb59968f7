#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "backlight_nits_records.h"
#include "named_tables.h"
#include "panel/panel.h"

namespace blnits {

/// Something for each measured table, in the order of kMeasuredTables.
template <class Value>
using ForEachTable = std::array<Value, kMeasuredTables.size()>;

/// What all units of a lot have in common.
struct LotShape {
  /// A level list that is chosen by default has at most this many levels.
  static constexpr size_t kUsualLevels = 256;

  zarn::BLRange range;
  size_t linear_levels = 0;                    ///< Entries of the dense linear table.
  ForEachTable<std::vector<uint32_t>> levels;  ///< The client levels at which units are compared; they rise.
};

/// What differs between two shapes, in words; null if nothing does. Any thread.
const char* DifferenceOf(const LotShape& a, const LotShape& b);

/// What a lot needs to know of one unit.
struct Unit {
  std::string name;  ///< Foreign text: the path of its file.
  double gamma = 0.0;
  double pcc_thresh = 0.0;
  std::vector<uint32_t> panel_levels;      ///< The dense linear table.
  ForEachTable<std::vector<double>> nits;  ///< At the levels of the shape.
  ForEachTable<std::vector<double>> jnd;   ///< JND indices; NaN outside the luminances that have one.
};

/// The shape of a lot like this panel. \param levels for all tables; empty: those that the panel was measured at, thinned
/// to kUsualLevels. \throws Failure if the device refuses the linear table, or if a level is above max_os_bl.
LotShape ShapeOf(Panel* panel, const std::vector<uint32_t>& levels);

/// Reads a unit. Several threads may read units at the same time.
/// \throws Failure with the reason, printable and with the file's name, if the file does not load or does not fit the
/// shape.
Unit ReadUnit(const std::string& path, const LotShape& shape, CapturedLog* log);

}  // namespace blnits
