#include "panel/slider.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <utility>

#include "backlight_nits_curve.h"
#include "figures/gsdf.h"
#include "figures/lightness.h"
#include "figures/pq.h"

namespace blnits {
namespace {

/// A scale on which equal distances look equal.
struct Metric {
  const char* unit;
  double least;  ///< The luminances in nits that it covers.
  double most;
  std::function<double(double)> of_nits;
  std::function<double(double)> to_nits;
};

/// \param white the brightest luminance of the panel, in nits.
Metric MetricOf(const std::string& name, double white) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (name == "gsdf") {
    return {"JND", kLeastGsdfNits, kMostGsdfNits, [](double nits) { return *JndIndexOfNits(nits); }, NitsOfJndIndex};
  }
  if (name == "pq") {
    return {"PQ", 0.0, kMostPqNits, PqOfNits, NitsOfPq};
  }
  if (name == "lstar") {
    return {"L*", 0.0, kInfinity, [white](double nits) { return LightnessOf(nits / white); },
            [white](double lightness) { return white * RelativeOfLightness(lightness); }};
  }
  return {"nits", 0.0, kInfinity, [](double nits) { return nits; }, [](double nits) { return nits; }};
}

std::vector<double> LuminancesOf(Panel* panel, const Slider& slider) {
  const uint32_t last = panel->Get(zarn::format::kMaxOsBl);
  if (last > zarn::format::kLastLinearizedLevel) {
    throw Failure(fmt::format("{}: max_os_bl is {}, expected at most {} for steps", panel->File(), last,
                              zarn::format::kLastLinearizedLevel));
  }
  std::vector<double> nits;
  nits.reserve(size_t{last} + 1);
  for (uint32_t level = 0; level <= last; ++level) {
    nits.push_back(panel->ToNits(level, slider.coverage, slider.hdr));
  }
  return nits;
}

bool Covers(const Metric& metric, double nits) { return nits >= metric.least && nits <= metric.most; }

/// The ends of the slider, in nits. Without an option: the darkest and the brightest level that the metric covers.
std::pair<double, double> EndsOf(const Panel& panel, const std::vector<double>& nits, const Metric& metric,
                                 const Slider& slider) {
  std::vector<double> covered;
  std::copy_if(nits.begin(), nits.end(), std::back_inserter(covered),
               [&](double each) { return Covers(metric, each); });
  if (covered.empty()) {
    throw Failure(fmt::format("{}: no level has a luminance from {} to {} nits, where metric {} is defined",
                              panel.File(), metric.least, metric.most, slider.metric));
  }
  const auto [darkest, brightest] = std::minmax_element(covered.begin(), covered.end());
  const std::pair<double, double> ends = {slider.min_nits.value_or(*darkest), slider.max_nits.value_or(*brightest)};
  if (!(*darkest <= ends.first && ends.first < ends.second && ends.second <= *brightest)) {
    throw Failure(
        fmt::format("{}: found a slider from {} to {} nits, expected one that rises within {} to {} nits: the "
                    "panel's levels where metric {} is defined",
                    panel.File(), ends.first, ends.second, *darkest, *brightest, slider.metric));
  }
  return ends;
}

// The nearest level on the metric is at most half a step between two levels away.
std::vector<SliderStep> StepsOn(const std::vector<double>& nits, const std::pair<double, double>& ends,
                                const Metric& metric, uint32_t count) {
  std::vector<double> on_metric(nits.size());
  std::transform(nits.begin(), nits.end(), on_metric.begin(),
                 [&](double each) { return Covers(metric, each) ? metric.of_nits(each) : std::nan(""); });
  const zarn::client::Curve curve(on_metric);
  const double first = metric.of_nits(ends.first);
  const double last = metric.of_nits(ends.second);
  std::vector<SliderStep> steps;
  steps.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    const double ideal = first + (last - first) * i / (count - 1);
    const uint32_t level = curve.Level(ideal);
    steps.push_back({metric.to_nits(ideal), level, nits[level], curve.Nits(level) - ideal});
  }
  return steps;
}

}  // namespace

const std::vector<std::string>& SliderMetrics() {
  static const std::vector<std::string> metrics = {"gsdf", "pq", "lstar", "linear"};
  return metrics;
}

const char* UnitOf(const std::string& metric) { return MetricOf(metric, 1.0).unit; }

std::vector<SliderStep> StepsOf(Panel* panel, const Slider& slider) {
  const std::vector<double> nits = LuminancesOf(panel, slider);
  const Metric metric = MetricOf(slider.metric, *std::max_element(nits.begin(), nits.end()));
  return StepsOn(nits, EndsOf(*panel, nits, metric, slider), metric, slider.count);
}

size_t CountRepeated(const std::vector<SliderStep>& steps) {
  size_t repeated = 0;
  for (size_t i = 1; i < steps.size(); ++i) {
    repeated += steps[i].level == steps[i - 1].level ? 1 : 0;
  }
  return repeated;
}

}  // namespace blnits
