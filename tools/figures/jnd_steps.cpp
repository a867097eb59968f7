#include "figures/jnd_steps.h"

#include <algorithm>
#include <cmath>

#include "figures/gsdf.h"

namespace blnits {
namespace {

using Indices = std::vector<std::optional<double>>;

struct Step {
  double jnd;
  uint32_t from;
};

std::vector<Step> StepsOf(const Indices& indices) {
  std::vector<Step> steps;
  for (size_t i = 0; i + 1 < indices.size(); ++i) {
    if (indices[i] && indices[i + 1]) {
      steps.push_back({*indices[i + 1] - *indices[i], static_cast<uint32_t>(i)});
    }
  }
  return steps;
}

double DeviationOf(const std::vector<Step>& steps) {
  double mean = 0.0;
  for (const Step& step : steps) {
    mean += step.jnd / static_cast<double>(steps.size());
  }
  double variance = 0.0;
  for (const Step& step : steps) {
    variance += (step.jnd - mean) * (step.jnd - mean) / static_cast<double>(steps.size());
  }
  return std::sqrt(variance);
}

uint64_t DistinctSteps(const Indices& indices) {
  std::vector<double> ascending;
  for (const auto& index : indices) {
    if (index) {
      ascending.push_back(*index);
    }
  }
  std::sort(ascending.begin(), ascending.end());
  uint64_t count = 0;
  double last = ascending.front();
  for (const double index : ascending) {
    if (index - last >= 1.0) {
      ++count;
      last = index;
    }
  }
  return count;
}

bool IsHidden(const Indices& indices, size_t level) {
  const auto near = [&](size_t other) {
    return other >= indices.size() || !indices[other] || std::abs(*indices[other] - *indices[level]) < 1.0;
  };
  return near(level - 1) && near(level + 1);  // below level 0 there is none either
}

}  // namespace

std::optional<JndSteps> JndStepsOf(const std::vector<double>& nits) {
  Indices indices;
  for (const double each : nits) {
    indices.push_back(JndIndexOfNits(each));
  }
  const std::vector<Step> steps = StepsOf(indices);
  if (steps.empty()) {
    return std::nullopt;
  }
  const auto [smallest, largest] =
      std::minmax_element(steps.begin(), steps.end(), [](const Step& a, const Step& b) { return a.jnd < b.jnd; });
  uint64_t with_index = 0;
  uint64_t hidden = 0;
  for (size_t level = 0; level < indices.size(); ++level) {
    with_index += indices[level] ? 1 : 0;
    hidden += indices[level] && IsHidden(indices, level) ? 1 : 0;
  }
  return JndSteps{smallest->jnd,
                  smallest->from,
                  largest->jnd,
                  largest->from,
                  DeviationOf(steps),
                  DistinctSteps(indices),
                  100.0 * static_cast<double>(hidden) / static_cast<double>(with_index),
                  indices.size() - with_index};
}

}  // namespace blnits
