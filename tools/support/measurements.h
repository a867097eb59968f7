#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace blnits {

/// What was read of one level, once or several times.
struct Reading {
  uint32_t level;
  double nits;   ///< The mean.
  size_t count;  ///< How many readings it is the mean of.
  double least;  ///< In nits.
  double most;
};

/// The rows "level,nits" of a CSV file (as ForEachRow reads it), by level; readings of one level are averaged. A header
/// names the columns and decides their order.
/// \throws Failure if the file cannot be read, has no readings, or has a malformed row.
std::vector<Reading> ReadMeasurements(const std::string& path);

/// The rows "linearized level,panel level" of a CSV file, by linearized level. \throws as above.
std::vector<std::pair<uint32_t, uint32_t>> ReadLevelPairs(const std::string& path);

}  // namespace blnits
