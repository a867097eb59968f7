#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "panel/panel.h"

namespace blnits {

/// One of the four measured tables of a calibration.
struct MeasuredTable {
  const char* name;          ///< For readers: "standard, full screen".
  zarn::BLNitsParams param;  ///< Which parameter holds it.
  uint32_t coverage;         ///< Screen coverage of the measurement in per cent: 10 or 100.
  bool hdr;                  ///< True: high brightness; false: standard operation.
  const char* group;         ///< Name of its group's element in the file.
  const char* element;       ///< Name of its own element in that group.
};

/// In the order in which tables are told everywhere.
constexpr std::array<MeasuredTable, 4> kMeasuredTables = {{
    {"standard, 10 % of the screen", zarn::kBLNitsMapping10Percent, 10, false, "standard", "nits_10"},
    {"standard, full screen", zarn::kBLNitsMapping100Percent, 100, false, "standard", "nits_100"},
    {"high brightness, 10 %", zarn::kBLHdrNitsMapping10Percent, 10, true, "hbm", "nits_10"},
    {"high brightness, full screen", zarn::kBLHdrNitsMapping100Percent, 100, true, "hbm", "nits_100"},
}};

/// The points of one table, in the order of the file. \throws Failure.
std::vector<zarn::BlNitsPoint> PointsOf(Panel* panel, const MeasuredTable& table);

/// The highest level among `points`, in whatever order they are; 0 when there are none.
uint32_t HighestLevel(const std::vector<zarn::BlNitsPoint>& points);

/// The client levels at which a panel is looked at: all, 0 to max_os_bl. Where that would take too long, as many as are
/// quick, spread evenly, both ends among them: never fewer than 256, and all up to 4096 of any sensible panel.
/// \throws Failure.
std::vector<uint32_t> SurveyLevels(Panel* panel);

/// What clients get at the surveyed levels.
struct Curve {
  uint32_t coverage;  ///< In per cent.
  bool hdr;
  std::vector<double> nits;  ///< One for each level; not a number where the device refuses.
};

/// The table that was measured at the curve's coverage; null between the coverages.
const MeasuredTable* TableOf(const Curve& curve);

/// "standard, full screen", "high brightness, 55 %".
std::string NameOf(const Curve& curve);

/// A curve for each of `coverages` in standard operation, then the same for high brightness. Never throws Failure.
std::vector<Curve> SurveyCurves(Panel* panel, const std::vector<uint32_t>& coverages,
                                const std::vector<uint32_t>& levels);

/// Which of `levels` no table of the curve has measured: below its first point or beyond all, where the device follows
/// a line through the origin. Level 0 is dark by definition. \throws Failure.
std::vector<bool> Extrapolated(Panel* panel, const Curve& curve, const std::vector<uint32_t>& levels);

/// Below this level a step of a tenth and more cannot be avoided, and is no jump.
constexpr uint32_t kFirstJumpLevel = 10;

/// Calls `found` with the first and last place of each run of places below `count` for which `holds` holds.
void ForEachRun(size_t count, const std::function<bool(size_t)>& holds,
                const std::function<void(size_t, size_t)>& found);

}  // namespace blnits
