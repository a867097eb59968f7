#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace blnits {

/// The steps between neighbouring levels of a curve, in JND. Levels whose luminance has no JND index are left out.
struct JndSteps {
  double smallest;         ///< From a level to the next one; below 0 if the luminance falls.
  uint32_t smallest_from;  ///< The first level before a smallest step.
  double largest;
  uint32_t largest_from;
  double deviation;        ///< Standard deviation of all steps.
  uint64_t distinct;       ///< Steps of at least 1 JND from the darkest to the brightest level, as many as there are.
  double hidden_percent;   ///< Share of the levels that differ by less than 1 JND from each neighbour.
  uint64_t without_index;  ///< Number of levels left out.
};

/// \param nits luminance of each level from 0 on. \return empty if no two neighbours have an index. Any thread.
std::optional<JndSteps> JndStepsOf(const std::vector<double>& nits);

}  // namespace blnits
