#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace blnits {

/// The level in `text`: a whole number or, if levels are scaled, a number that is not negative. Empty for other text.
std::optional<double> LevelIn(const std::string& text, bool scaled);

/// What LevelIn() expects, for a message about `text`.
std::string WhatLevelsAre(const std::string& text, bool scaled);

/// The levels of "FIRST..LAST", "FIRST..LAST:STEP" or a file with one level on each line. A range may fall.
/// \throws Failure if there are none or more than `most`, or if one is not a level.
std::vector<double> LevelsOf(const std::string& text, bool scaled, size_t most);

}  // namespace blnits
