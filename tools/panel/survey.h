#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "named_tables.h"
#include "panel/panel.h"

namespace blnits {

/// Whether the device reads the table to convert at a coverage in per cent. Any thread.
bool IsRead(const MeasuredTable& table, uint32_t coverage, bool hdr);

/// The highest level of `points`, in any order; 0 if there are none.
uint32_t HighestLevel(const std::vector<zarn::BlNitsPoint>& points);

/// A survey examines each client level below this.
constexpr uint32_t kEveryLevelBelow = 65536;

/// The client levels to examine, ascending, up to the highest of all panels (at least one):
/// - each level below kEveryLevelBelow;
/// - above it, each measured point of each panel, the levels next to it, and each panel's last level;
/// - above it, each level at which a curve of the `coverages` passes through 0 or ceases to be finite.
/// Between two of these levels every curve is straight, so differences, steps and shares are largest at one of the two.
/// This does not hold for dimmed panels. \throws Failure.
std::vector<uint32_t> SurveyLevels(const std::vector<Panel*>& panels, const std::vector<uint32_t>& coverages);

/// The same for one panel at the coverages of 10, 55 and 100 %.
std::vector<uint32_t> SurveyLevels(Panel* panel);

/// Whether `levels` has every client level from 0 to its last one.
bool AreAll(const std::vector<uint32_t>& levels);

/// A text that says which client levels are not among `levels`; empty if none is missing.
std::string LeftOut(const std::vector<uint32_t>& levels);

/// The number of client levels that have a property. `holds` gives the property at an index of `levels`. The result is
/// exact if the property changes at surveyed levels only.
uint64_t CountLevels(const std::vector<uint32_t>& levels, const std::function<bool(size_t)>& holds);

/// The luminances of one operation and coverage at the surveyed levels.
struct Curve {
  uint32_t coverage;  ///< In per cent.
  bool hdr;
  std::vector<double> nits;  ///< One for each level; NaN if the device refuses the level.
};

/// "standard, full screen", "high brightness, 55 %".
std::string NameOf(const Curve& curve);

/// A curve for each of `coverages` in standard operation, then the same for high brightness. Does not throw Failure.
std::vector<Curve> SurveyCurves(Panel* panel, const std::vector<uint32_t>& coverages,
                                const std::vector<uint32_t>& levels);

/// The curve at a coverage above 10 and below 100 %, with the same bits as SurveyCurves. Both curves belong to one
/// operation of a panel that is not dimmed.
Curve CurveBetween(const Curve& at_10, const Curve& at_100, uint32_t coverage);

/// Whether each of `levels` lies below the first or above all measured points of the curve's tables, where the device
/// follows a line through the origin. Level 0 counts as measured: it is dark by definition. \throws Failure.
std::vector<bool> Extrapolated(Panel* panel, const Curve& curve, const std::vector<uint32_t>& levels);

/// Below this level, steps of a tenth or more cannot be avoided and are no jumps.
constexpr uint32_t kFirstJumpLevel = 10;

/// Whether two luminances are the same but for rounding.
bool IsSame(double nits, double other);

/// Calls `found` with the first and last index of each run of indices below `count` for which `holds` is true.
template <class Holds, class Found>
void ForEachRun(size_t count, const Holds& holds, const Found& found) {
  for (size_t i = 0; i < count; ++i) {
    const size_t first = i;
    while (i < count && holds(i)) {
      ++i;
    }
    if (i > first) {
      found(first, i - 1);
    }
  }
}

}  // namespace blnits
