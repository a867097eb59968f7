#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "named_tables.h"
#include "panel/panel.h"

namespace blnits {

/// The points of one table, in the order of the file. \throws Failure.
std::vector<zarn::BlNitsPoint> PointsOf(Panel* panel, const MeasuredTable& table);

/// The highest level among `points`, in whatever order they are; 0 when there are none.
uint32_t HighestLevel(const std::vector<zarn::BlNitsPoint>& points);

/// A survey looks at each client level below this.
constexpr uint32_t kEveryLevelBelow = 65536;

/// The client levels at which panels are looked at, ascending, up to the highest that one of them has: each below
/// kEveryLevelBelow, and from there on each measured point of all the panels with the levels next to it, likewise each
/// panel's last level and each level between two points at which a curve of the `coverages` passes through 0 or ceases
/// to have a finite luminance. Between two of these levels every curve is straight, and differences, steps and shares
/// are largest at an end. Dimmed panels have other curves. \throws Failure.
std::vector<uint32_t> SurveyLevels(const std::vector<Panel*>& panels, const std::vector<uint32_t>& coverages);

/// The same for one panel at the coverages of 10, 55 and 100 %.
std::vector<uint32_t> SurveyLevels(Panel* panel);

/// Whether `levels` are all client levels, 0 to the last.
bool AreAll(const std::vector<uint32_t>& levels);

/// Says which client levels up to the last are not among `levels`; empty when they are all.
std::string LeftOut(const std::vector<uint32_t>& levels);

/// How many client levels have a property that `holds` at these places of surveyed levels; exact for one that changes at
/// surveyed levels only.
uint64_t CountLevels(const std::vector<uint32_t>& levels, const std::function<bool(size_t)>& holds);

/// What clients get at the surveyed levels.
struct Curve {
  uint32_t coverage;  ///< In per cent.
  bool hdr;
  std::vector<double> nits;  ///< One for each level; not a number where the device refuses.
};

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

/// Whether two levels show the same luminance: it differs by no more than the arithmetic rounds.
bool IsSame(double nits, double other);

/// Calls `found` with the first and last place of each run of places below `count` for which `holds` holds.
void ForEachRun(size_t count, const std::function<bool(size_t)>& holds,
                const std::function<void(size_t, size_t)>& found);

}  // namespace blnits
