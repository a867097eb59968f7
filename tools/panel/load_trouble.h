#pragma once

#include <string>
#include <vector>

#include "panel/calibration_source.h"
#include "support/captured_log.h"

namespace blnits {

/// Why the library does not load a file, in the user's words.
struct LoadTrouble {
  int line;          ///< From 1; 0: the file as a whole.
  std::string text;  ///< What is wrong and what to do. As it may be printed.
};

/// Everything for which the library refuses the file, in the order in which it finds it: it stops at the first. Never
/// empty for a file that it refuses; of no meaning for one that it loads.
std::vector<LoadTrouble> LoadTroubles(const CalibrationSource& source);

/// What the library said of the refusal: its first Error, else its first Warning. As it may be printed, without the
/// addresses that change from run to run.
std::string WordsOfRefusal(const std::vector<LogLine>& log);

/// The message for a file that is needed and not loaded: place, first trouble, the library's words.
std::string TellRefusal(const std::string& file, const std::vector<LogLine>& log);

}  // namespace blnits
