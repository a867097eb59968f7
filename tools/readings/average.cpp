#include "readings/average.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>

#include "support/troubles.h"

namespace blnits {
namespace {

using Numbers = std::vector<double>;

double MedianOf(Numbers numbers) {
  const auto middle = numbers.begin() + static_cast<Numbers::difference_type>(numbers.size() / 2);
  std::nth_element(numbers.begin(), middle, numbers.end());
  if (numbers.size() % 2 == 1) {
    return *middle;
  }
  const double below = *std::max_element(numbers.begin(), middle);
  return below + (*middle - below) / 2.0;
}

/// The readings of one level, in the order of the file.
class OneLevel {
 public:
  using Iterator = std::vector<RawReading>::const_iterator;

  OneLevel(Iterator first, Iterator last) : first_(first), last_(last) {
    nits_.reserve(static_cast<size_t>(last - first));
    std::transform(first, last, std::back_inserter(nits_), [](const RawReading& reading) { return reading.nits; });
  }

  LevelReadings Averaged(bool mean) const {
    const auto [least, most] = std::minmax_element(nits_.begin(), nits_.end());
    const double median = MedianOf(nits_);
    const double sum = std::accumulate(nits_.begin(), nits_.end(), 0.0);
    return {
        first_->level,   mean ? sum / static_cast<double>(nits_.size()) : median, nits_.size(), *least, *most, median,
        Outliers(median)};
  }

  /// Adds each reading to the troubles. \param spread in per cent of the median.
  void Refuse(double spread, double max_spread, Troubles* troubles) const {
    std::for_each(first_, last_, [&](const RawReading& reading) {
      troubles->Add(reading.line,
                    fmt::format("found {} nits at level {}, whose {} readings spread by {:.4g} % of their median, "
                                "expected at most {} %",
                                reading.nits, reading.level, nits_.size(), spread, max_spread));
    });
  }

 private:
  // Readings that agree to a meter's last digits have a tiny median deviation. Without the 1 % each other reading would be
  // an outlier.
  std::vector<RawReading> Outliers(double median) const {
    constexpr double kZScore = 3.5;
    constexpr double kDeviationsInMad = 0.6745;  // Of a normal distribution.
    constexpr double kLeast = 0.01;
    std::vector<RawReading> outliers;
    if (nits_.size() < 3) {
      return outliers;
    }
    Numbers deviations;
    deviations.reserve(nits_.size());
    std::transform(nits_.begin(), nits_.end(), std::back_inserter(deviations),
                   [&](double nits) { return std::abs(nits - median); });
    const double limit = std::max(kZScore / kDeviationsInMad * MedianOf(deviations), kLeast * std::abs(median));
    std::copy_if(first_, last_, std::back_inserter(outliers),
                 [&](const RawReading& reading) { return std::abs(reading.nits - median) > limit; });
    return outliers;
  }

  Iterator first_;
  Iterator last_;
  Numbers nits_;
};

double SpreadPercent(const LevelReadings& readings) {
  if (readings.most == readings.least) {
    return 0.0;
  }
  const double median = std::abs(readings.median);
  return median > 0.0 ? 100.0 * (readings.most - readings.least) / median : std::numeric_limits<double>::infinity();
}

}  // namespace

std::vector<LevelReadings> ByLevel(const TableReadings& measured, const Averaging& averaging) {
  std::vector<RawReading> raw = measured.readings;
  std::stable_sort(raw.begin(), raw.end(), [](const RawReading& a, const RawReading& b) { return a.level < b.level; });
  std::vector<LevelReadings> levels;
  Troubles troubles(measured.from.path);
  constexpr double kRounding = 1e-9;  // 1 and 1.05 spread by 5 %, and a little more in binary.
  for (auto first = raw.cbegin(); first != raw.cend();) {
    const auto last =
        std::find_if(first, raw.cend(), [&](const RawReading& each) { return each.level != first->level; });
    const OneLevel level(first, last);
    levels.push_back(level.Averaged(averaging.mean));
    const double spread = SpreadPercent(levels.back());
    if (spread > averaging.max_spread_percent.value_or(spread) * (1.0 + kRounding)) {
      level.Refuse(spread, *averaging.max_spread_percent, &troubles);
    }
    first = last;
  }
  troubles.Check();
  return levels;
}

}  // namespace blnits
