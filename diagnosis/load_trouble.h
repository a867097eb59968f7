#pragma once

#include <string>
#include <vector>

#include "calibration_source.h"

namespace blnits {

/// Why the library does not load a file, in the user's words.
struct LoadTrouble {
  int line;          ///< From 1; 0: the file as a whole.
  std::string text;  ///< What is wrong and what to do. As it may be printed.
};

/// Everything for which the library refuses the file, in the order in which it finds it: it stops at the first. Never
/// empty for a file that it refuses; of no meaning for one that it loads.
std::vector<LoadTrouble> LoadTroubles(const CalibrationSource& source);

}  // namespace blnits
