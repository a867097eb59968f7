#include "measuring/plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <random>

#include "support/failure.h"

namespace blnits {
namespace {

// std::shuffle gives another order in each standard library.
void Shuffle(uint64_t seed, std::vector<uint32_t>* levels) {
  std::mt19937_64 random(seed);
  for (size_t left = levels->size(); left > 1; --left) {
    std::swap((*levels)[left - 1], (*levels)[random() % left]);
  }
}

std::vector<uint32_t> InOrder(const MeasurementPlan& plan) {
  std::vector<uint32_t> levels = plan.levels;
  std::stable_sort(levels.begin(), levels.end());
  if (plan.order == "down") {
    std::reverse(levels.begin(), levels.end());
  } else if (plan.order == "shuffled") {
    Shuffle(plan.seed, &levels);
  }
  return levels;
}

// FNV-1a of the levels in ascending order.
uint64_t DigestOf(std::vector<uint32_t> levels) {
  std::sort(levels.begin(), levels.end());
  uint64_t digest = 0xcbf29ce484222325;
  for (const uint32_t level : levels) {
    for (int shift = 0; shift < 32; shift += 8) {
      digest = (digest ^ (level >> shift & 0xff)) * 0x100000001b3;
    }
  }
  return digest;
}

std::string Joined(const std::vector<uint32_t>& numbers) { return fmt::format("{}", fmt::join(numbers, " ")); }

size_t PerPattern(const MeasurementPlan& plan) { return plan.levels.size() * plan.repeats; }

}  // namespace

std::vector<Step> StepsOf(const MeasurementPlan& plan) {
  if (plan.repeats > MeasurementPlan::kMostReadings ||
      PerPattern(plan) > MeasurementPlan::kMostReadings / plan.coverages.size()) {
    throw Failure(
        fmt::format("found a plan of more than {} readings, expected at most that", MeasurementPlan::kMostReadings));
  }
  std::vector<Step> steps;
  const std::vector<uint32_t> levels = InOrder(plan);
  steps.reserve(PerPattern(plan) * plan.coverages.size());
  for (const uint32_t coverage : plan.coverages) {
    for (const uint32_t level : levels) {
      for (size_t i = 0; i < plan.repeats; ++i) {
        steps.push_back({steps.size() + 1, level, coverage});
      }
    }
  }
  return steps;
}

std::vector<std::pair<std::string, std::string>> WordsOf(const MeasurementPlan& plan) {
  const auto [least, most] = std::minmax_element(plan.levels.begin(), plan.levels.end());
  return {
      {"levels",
       fmt::format("{} from {} to {}, digest {:016x}", plan.levels.size(), *least, *most, DigestOf(plan.levels))},
      {"order", plan.order == "shuffled" ? fmt::format("shuffled, seed {}", plan.seed) : plan.order},
      {"repeats", fmt::format("{}", plan.repeats)},
      {"coverage", Joined(plan.coverages) + " %"},
      {"mode", plan.hbm ? "hbm" : "standard"},
      {"settle", fmt::format("{} s", plan.settle_seconds)},
      {"stable", plan.stable_percent ? fmt::format("{} %", *plan.stable_percent) : "not asked for"},
      {"reference", plan.reference ? fmt::format("level {} every {}", *plan.reference, plan.reference_every) : "none"}};
}

size_t ReferencesIn(const MeasurementPlan& plan) {
  const size_t intervals = (PerPattern(plan) + plan.reference_every - 1) / plan.reference_every;
  return plan.reference ? plan.coverages.size() * (intervals + 1) : 0;
}

double SecondsOf(const MeasurementPlan& plan, double reading_seconds) {
  const size_t references = ReferencesIn(plan);
  const size_t readings = PerPattern(plan) * plan.coverages.size() + references;
  // A reference changes the level twice.
  const size_t changes = plan.levels.size() * plan.coverages.size() + 2 * references;
  return static_cast<double>(readings) * reading_seconds * (plan.stable_percent ? 2.0 : 1.0) +
         static_cast<double>(changes) * plan.settle_seconds;
}

}  // namespace blnits
