#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace blnits {

/// The level in `text`: a whole number or, if levels are scaled, a number that is not negative. Empty for other text.
std::optional<double> LevelIn(const std::string& text, bool scaled);

/// What LevelIn() expects, for a message about `text`.
std::string WhatLevelsAre(const std::string& text, bool scaled);

/// The whole levels `first`, `first` + `step` and so on up to `last`, which is one of them.
struct RangeOfLevels {
  uint32_t first;
  uint32_t last;
  uint32_t step;  ///< Above 0.
  bool falls;     ///< The text has them from the last to the first.
};

/// The range "FIRST..LAST" or "FIRST..LAST:STEP". A range may fall. \throws Failure that names `option` if it is none.
RangeOfLevels RangeOf(const std::string& text, const char* option);

/// The levels of "FIRST..LAST", "FIRST..LAST:STEP" or a file with one level on each line. A range may fall.
/// \throws Failure if there are none or more than `most`, or if one is not a level.
std::vector<double> LevelsOf(const std::string& text, bool scaled, size_t most);

}  // namespace blnits
