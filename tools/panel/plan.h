#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "backlight_nits_records.h"

namespace blnits {

/// Levels to measure, dense at the dark end: each is the same factor above the one before, where levels are dense enough
/// for that. \param last `first` or above it by a multiple of `step`. \param count 2 or more. \param step above 0.
/// \return `count` of the levels `first`, `first` + `step` and so on, from `first` to `last`, or all if there are fewer.
/// Any thread.
std::vector<uint32_t> PlannedLevels(uint32_t first, uint32_t last, size_t count, uint32_t step = 1);

/// The largest error of straight lines between the planned levels.
struct PlanError {
  double error = 0.0;
  uint32_t level = 0;  ///< The first level that has it.
};

/// Levels to measure on a panel whose curve is known.
struct Plan {
  std::vector<uint32_t> levels;
  PlanError percent;             ///< In per cent of the luminance, at levels that are not dark.
  std::optional<PlanError> jnd;  ///< Empty if no luminance has a JND index.
};

/// Levels whose straight lines are near a curve: the largest error in per cent is the smallest for which lines drawn as
/// far as they fit need no more levels. Levels beyond those needed for an error of 0 divide the largest ratios of luminance.
/// \param curve levels rise strictly. \param count 2 or more. Any thread.
Plan PlanFor(const std::vector<zarn::BlNitsPoint>& curve, size_t count);

}  // namespace blnits
