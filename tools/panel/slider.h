#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "panel/panel.h"

namespace blnits {

/// The metrics of a slider: gsdf, pq, lstar, linear.
const std::vector<std::string>& SliderMetrics();

/// The unit of one of them, for people.
const char* UnitOf(const std::string& metric);

/// A range of luminance, divided into equal steps on a metric.
struct Slider {
  uint32_t coverage = 100;  ///< In per cent, 1 to 100.
  bool hdr = false;
  uint32_t count = 20;             ///< Number of positions, 2 or more.
  std::string metric = "gsdf";     ///< One of SliderMetrics().
  std::optional<double> min_nits;  ///< Empty: the darkest level that the metric covers.
  std::optional<double> max_nits;  ///< Empty: the brightest one.
};

/// One position of a slider.
struct SliderStep {
  double ideal_nits;
  uint32_t level;  ///< The client level that is nearest on the metric.
  double nits;
  double residual;  ///< From the ideal to the level, in the metric's unit.
};

/// The positions, from dark to bright. \throws Failure if the range is not within the panel's, or if the panel has too
/// many levels.
std::vector<SliderStep> StepsOf(Panel* panel, const Slider& slider);

/// How many positions have the level of the position before.
size_t CountRepeated(const std::vector<SliderStep>& steps);

}  // namespace blnits
