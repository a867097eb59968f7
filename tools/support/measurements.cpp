#include "support/measurements.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "support/failure.h"
#include "support/numbers.h"

namespace blnits {
namespace {

/// The rows of a file with two columns. \param columns names them.
template <class Second>
std::vector<std::pair<uint32_t, Second>> ReadRows(const std::string& path, const char* columns, const char* second) {
  std::vector<std::pair<uint32_t, Second>> rows;
  ForEachRow(path, [&](size_t line, const std::vector<std::string>& fields) {
    if (fields.size() != 2) {
      throw Failure(fmt::format("{}:{}: found {} fields, expected {}", path, line, fields.size(), columns));
    }
    const auto level = NumberIn<uint32_t>(fields[0], path, line, "a level");
    if (level > INT32_MAX) {
      throw Failure(fmt::format("{}:{}: found level {}, expected at most {}", path, line, level, INT32_MAX));
    }
    rows.emplace_back(level, NumberIn<Second>(fields[1], path, line, second));
  });
  if (rows.empty()) {
    throw Failure(fmt::format("{}: found no rows, expected {}", path, columns));
  }
  return rows;
}

}  // namespace

std::vector<Reading> ReadMeasurements(const std::string& path) {
  std::map<uint32_t, std::vector<double>> levels;
  for (const auto& [level, nits] : ReadRows<double>(path, "level,nits", "a luminance in nits")) {
    levels[level].push_back(nits);
  }
  std::vector<Reading> readings;
  for (const auto& [level, nits] : levels) {
    double sum = 0.0;
    for (const double each : nits) {
      sum += each;
    }
    const auto [least, most] = std::minmax_element(nits.begin(), nits.end());
    readings.push_back({level, sum / static_cast<double>(nits.size()), nits.size(), *least, *most});
  }
  return readings;
}

std::vector<std::pair<uint32_t, uint32_t>> ReadLevelPairs(const std::string& path) {
  auto pairs = ReadRows<uint32_t>(path, "linearized level,panel level", "a panel level");
  std::sort(pairs.begin(), pairs.end());
  return pairs;
}

}  // namespace blnits
