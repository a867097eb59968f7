#include <fmt/format.h>

#include <algorithm>

#include "foreign_text.h"
#include "readings/csv_table.h"
#include "readings/readings.h"
#include "support/numbers.h"
#include "support/troubles.h"

namespace blnits {
namespace {

class LevelPairs {
 public:
  explicit LevelPairs(const std::string& path)
      : troubles_(path),
        lines_(path),
        table_(&lines_,
               {{"the linearized level", {"linearized level", "linearized bl", "linearized"}},
                {"the panel level", {"panel level", "panel bl", "panel"}}},
               [this](size_t line, const std::string& text) { troubles_.Add(line, text); }) {}

  std::vector<std::pair<uint32_t, uint32_t>> Read() {
    std::vector<std::pair<uint32_t, uint32_t>> pairs;
    while (table_.Next()) {
      std::pair<uint32_t, uint32_t> pair;
      const bool first = Take(0, "a linearized level", &pair.first);
      const bool second = Take(1, "a panel level", &pair.second);
      if (first && second) {
        pairs.push_back(pair);
      }
    }
    troubles_.Check();
    std::sort(pairs.begin(), pairs.end());
    return pairs;
  }

 private:
  bool Take(size_t column, const char* what, uint32_t* level) {
    const std::string& field = table_.Field(column);
    const bool number = ParseNumber(field, level);
    if (!number) {
      troubles_.Add(table_.Line(), fmt::format("found \"{}\", expected {}", Shown(field), what));
    } else if (*level > INT32_MAX) {
      troubles_.Add(table_.Line(), fmt::format("found level {}, expected at most {}", *level, INT32_MAX));
    }
    return number && *level <= INT32_MAX;
  }

  Troubles troubles_;
  LineReader lines_;
  CsvTable table_;
};

}  // namespace

std::vector<std::pair<uint32_t, uint32_t>> ReadLevelPairs(const std::string& path) { return LevelPairs(path).Read(); }

}  // namespace blnits
