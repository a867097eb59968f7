#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace blnits {

/// The reading of one level, or the mean of several.
struct Reading {
  uint32_t level;
  double nits;   ///< The mean.
  size_t count;  ///< How many readings the mean has.
  double least;  ///< The smallest reading, in nits.
  double most;
};

/// The rows "level,nits" of a CSV file, sorted by level; readings of one level are averaged. ForEachRow gives the
/// format. A header names the columns and gives their order.
/// \throws Failure if the file cannot be read, has no readings, or has a malformed row.
std::vector<Reading> ReadMeasurements(const std::string& path);

/// The rows "linearized level,panel level" of a CSV file, sorted by linearized level. \throws as above.
std::vector<std::pair<uint32_t, uint32_t>> ReadLevelPairs(const std::string& path);

}  // namespace blnits
