#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "gauging/anova.h"

namespace blnits {

/// The readings of a gauge study: the same parts, operators and trials at each level.
struct GaugeStudy {
  CrossedDesign design;
  std::map<uint32_t, std::vector<double>> readings;  ///< In nits, at each level; in the order of AnovaOf().
};

/// Reads a CSV file with the columns part, operator, trial, nits and maybe level (level 0 without it). Parts, operators
/// and trials are texts. Any thread.
/// \throws Failure that tells all faults of the file: what is no number, what is there twice, what is missing.
GaugeStudy ReadGaugeStudy(const std::string& path);

}  // namespace blnits
