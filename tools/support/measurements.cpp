#include "support/measurements.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>

#include "foreign_text.h"
#include "support/failure.h"
#include "support/numbers.h"

namespace blnits {
namespace {

/// A column of a file: a description, and the names that a header may use, in upper or lower case.
struct Column {
  const char* holds;
  std::vector<std::string> names;
};

// The index of the first of the two columns: 0 or 1.
size_t FirstColumn(const std::string& path, size_t line, const std::vector<std::string>& fields,
                   const std::array<Column, 2>& columns) {
  const auto place = [&](std::string name) {
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const size_t i : {0U, 1U}) {
      const auto& names = columns[i].names;
      if (std::find(names.begin(), names.end(), name) != names.end()) {
        return i;
      }
    }
    throw Failure(fmt::format("{}:{}: found a column \"{}\", expected {} and {}", path, line, Shown(name),
                              columns[0].names.front(), columns[1].names.front()));
  };
  const size_t first = place(fields.front());
  if (fields.size() != 2 || place(fields.back()) == first) {
    throw Failure(fmt::format("{}:{}: found {} columns, expected {} and {}", path, line, fields.size(),
                              columns[0].names.front(), columns[1].names.front()));
  }
  return first;
}

/// The rows of a file with two columns. The header gives their order; without a header it is that of `columns`.
template <class Second>
std::vector<std::pair<uint32_t, Second>> ReadRows(const std::string& path, const std::array<Column, 2>& columns) {
  std::vector<std::pair<uint32_t, Second>> rows;
  size_t first = 0;
  const std::string expected = columns[0].names.front() + "," + columns[1].names.front();
  const auto read = [&](size_t line, const std::vector<std::string>& fields) {
    if (fields.size() != 2) {
      throw Failure(fmt::format("{}:{}: found {} fields, expected {}", path, line, fields.size(), expected));
    }
    const auto level = NumberIn<uint32_t>(fields[first], path, line, columns[0].holds);
    if (level > INT32_MAX) {
      throw Failure(fmt::format("{}:{}: found level {}, expected at most {}", path, line, level, INT32_MAX));
    }
    rows.emplace_back(level, NumberIn<Second>(fields[1 - first], path, line, columns[1].holds));
  };
  ForEachRow(path, read, [&](size_t line, const std::vector<std::string>& fields) {
    first = FirstColumn(path, line, fields, columns);
  });
  if (rows.empty()) {
    throw Failure(fmt::format("{}: found no rows, expected {}", path, expected));
  }
  return rows;
}

}  // namespace

std::vector<Reading> ReadMeasurements(const std::string& path) {
  const std::array<Column, 2> columns = {
      Column{"a level", {"level", "client level", "backlight level", "bl", "brightness"}},
      Column{"a luminance in nits", {"nits", "luminance", "lv", "y", "cd/m2", "cd/m²"}}};
  std::map<uint32_t, std::vector<double>> levels;
  for (const auto& [level, nits] : ReadRows<double>(path, columns)) {
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
  const std::array<Column, 2> columns = {
      Column{"a linearized level", {"linearized level", "linearized_bl", "linearized"}},
      Column{"a panel level", {"panel level", "panel_bl", "panel"}}};
  auto pairs = ReadRows<uint32_t>(path, columns);
  std::sort(pairs.begin(), pairs.end());
  return pairs;
}

}  // namespace blnits
