#pragma once

#include <string>
#include <vector>

#include "calibration_source.h"

namespace blnits {

/// A reason why the library does not load a file, with advice for the user.
struct LoadTrouble {
  int line;          ///< From 1; 0: the whole file.
  std::string text;  ///< The fault and what to do. Printable.
};

/// Every reason why the library refuses the file, in the order in which the library finds them; the library stops at
/// the first. There is at least one for a file that the library refuses. Do not call this for a file that it loads.
std::vector<LoadTrouble> LoadTroubles(const CalibrationSource& source);

}  // namespace blnits
