#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace blnits {

/// What is measured, and how. The same plan always gives the same steps.
struct MeasurementPlan {
  static constexpr size_t kMostReadings = 1000000;

  std::vector<uint32_t> levels;             ///< At least one.
  std::string order = "up";                 ///< "up", "down" or "shuffled".
  uint64_t seed = 0;                        ///< Of the order "shuffled".
  size_t repeats = 1;                       ///< Readings in a row at each level.
  std::vector<uint32_t> coverages = {100};  ///< Of the test patterns, in per cent; all levels at each of them.
  bool hbm = false;
  double settle_seconds = 0.0;           ///< From a new level to its first reading.
  std::optional<double> stable_percent;  ///< How far two readings in a row may differ; empty: the first one counts.
  std::optional<uint32_t> reference;     ///< The level that shows the drift; empty: drift is not told.
  size_t reference_every = 10;           ///< Readings between two of the reference.
};

/// One reading of the plan.
struct Step {
  size_t number;  ///< From 1.
  uint32_t level;
  uint32_t coverage;  ///< In per cent.
};

/// The readings in their order. \throws Failure if there are more than kMostReadings.
std::vector<Step> StepsOf(const MeasurementPlan& plan);

/// The plan in words: names and values without line feeds. Plans with equal words have equal steps.
std::vector<std::pair<std::string, std::string>> WordsOf(const MeasurementPlan& plan);

/// The seconds that the plan takes if each reading of the meter takes `reading_seconds`, without the time of users.
double SecondsOf(const MeasurementPlan& plan, double reading_seconds);

/// How many readings of the reference the plan has, at least.
size_t ReferencesIn(const MeasurementPlan& plan);

}  // namespace blnits
