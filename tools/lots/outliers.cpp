#include "lots/outliers.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace blnits {

Outliers OutliersOf(const LotSummary& lot, double threshold) {
  Outliers found;
  std::map<std::string, Outlier> worst;
  for (size_t table = 0; table < lot.tables.size(); ++table) {
    for (size_t place = 0; place < lot.tables[table].size(); ++place) {
      const LevelFigures& level = lot.tables[table][place];
      const double median = level.Percentile(0.5);
      const double deviation = level.RobustDeviation();
      for (const Extremes* const extremes : {&level.darkest, &level.brightest}) {
        size_t out = 0;
        for (const auto& [nits, unit] : extremes->All()) {
          const double score = deviation > 0.0 ? (nits - median) / deviation : 0.0;
          if (!(std::abs(score) > threshold)) {
            break;  // The next ones are nearer to the median.
          }
          ++out;
          const auto [place_of_unit, is_new] = worst.try_emplace(unit, Outlier{unit, table, place, nits, score});
          if (!is_new && std::abs(score) > std::abs(place_of_unit->second.score)) {
            place_of_unit->second = {unit, table, place, nits, score};
          }
        }
        found.complete = found.complete && out < Extremes::kMost;
      }
    }
  }
  for (const auto& [unit, outlier] : worst) {
    found.units.push_back(outlier);
  }
  std::stable_sort(found.units.begin(), found.units.end(),
                   [](const Outlier& a, const Outlier& b) { return std::abs(a.score) > std::abs(b.score); });
  return found;
}

}  // namespace blnits
