#include "lots/summary.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "support/failure.h"

namespace blnits {

void LevelFigures::Add(double its_nits, double its_jnd, const std::string& unit) {
  nits.Add(its_nits);
  if (!std::isnan(its_jnd)) {
    jnd.Add(its_jnd);
  }
  least = std::min(least, its_nits);
  greatest = std::max(greatest, its_nits);
  sketch.Add(its_nits);
  darkest.Add(its_nits, unit);
  brightest.Add(its_nits, unit);
}

void LevelFigures::Merge(const LevelFigures& other) {
  nits.Merge(other.nits);
  jnd.Merge(other.jnd);
  least = std::min(least, other.least);
  greatest = std::max(greatest, other.greatest);
  sketch.Merge(other.sketch);
  darkest.Merge(other.darkest);
  brightest.Merge(other.brightest);
}

double LevelFigures::Percentile(double share) const {
  const double middle = sketch.Percentile(share);
  return std::isnan(middle) ? middle : std::clamp(middle, least, greatest);
}

double LevelFigures::RobustDeviation() const {
  constexpr double kNormal = 1.4826;  // Of a normal distribution: standard deviation / median absolute deviation.
  const double median = Percentile(0.5);
  return std::max(kNormal * sketch.MedianDistance(median), median * Sketch::kError);
}

void Rejections::Add(const std::string& file, const std::string& reason) {
  ++count;
  first.emplace(file, reason);
  if (first.size() > kMostTold) {
    first.erase(std::prev(first.end()));
  }
}

void Rejections::Merge(const Rejections& other) {
  const uint64_t both = count + other.count;
  for (const auto& [file, reason] : other.first) {
    Add(file, reason);
  }
  count = both;
}

LotSummary::LotSummary(LotShape its_shape) : shape(std::move(its_shape)), panel_levels(shape.linear_levels, 0) {
  for (size_t i = 0; i < tables.size(); ++i) {
    tables[i].resize(shape.levels[i].size());
  }
}

void LotSummary::Add(const Unit& unit) {
  ++units;
  gamma.Add(unit.gamma);
  pcc_thresh.Add(unit.pcc_thresh);
  for (size_t i = 0; i < panel_levels.size(); ++i) {
    panel_levels[i] += unit.panel_levels[i];
  }
  for (size_t i = 0; i < tables.size(); ++i) {
    for (size_t j = 0; j < tables[i].size(); ++j) {
      tables[i][j].Add(unit.nits[i][j], unit.jnd[i][j], unit.name);
    }
  }
}

void LotSummary::Merge(const LotSummary& other) {
  if (const char* const what = DifferenceOf(shape, other.shape)) {
    throw Failure(fmt::format("found a lot with other {}", what));
  }
  units += other.units;
  rejected.Merge(other.rejected);
  gamma.Add(other.gamma);
  pcc_thresh.Add(other.pcc_thresh);
  for (size_t i = 0; i < panel_levels.size(); ++i) {
    panel_levels[i] += other.panel_levels[i];
  }
  for (size_t i = 0; i < tables.size(); ++i) {
    for (size_t j = 0; j < tables[i].size(); ++j) {
      tables[i][j].Merge(other.tables[i][j]);
    }
  }
}

}  // namespace blnits
