#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "backlight_nits_curve.h"
#include "commands/commands.h"
#include "commands/conversion.h"
#include "figures/gsdf.h"
#include "figures/lightness.h"
#include "figures/pq.h"
#include "foreign_text.h"
#include "support/failure.h"
#include "support/json.h"

namespace blnits {
namespace {

struct StepsOptions {
  std::string panel;
  uint32_t coverage = 100;
  bool hdr = false;
  uint32_t count = 20;
  std::string metric = "gsdf";
  std::optional<double> min_nits;
  std::optional<double> max_nits;
  std::string format = "text";
};

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

struct SliderStep {
  double ideal_nits;
  uint32_t level;
  double nits;
  double residual;  ///< From the ideal to the level, in the metric's unit.
};

std::vector<double> LuminancesOf(Panel* panel, const StepsOptions& options) {
  const uint32_t last = panel->Get(zarn::format::kMaxOsBl);
  if (last > zarn::format::kLastLinearizedLevel) {
    throw Failure(fmt::format("{}: max_os_bl is {}, expected at most {} for steps", panel->File(), last,
                              zarn::format::kLastLinearizedLevel));
  }
  std::vector<double> nits;
  for (uint32_t level = 0; level <= last; ++level) {
    nits.push_back(panel->ToNits(level, options.coverage, options.hdr));
  }
  return nits;
}

bool Covers(const Metric& metric, double nits) { return nits >= metric.least && nits <= metric.most; }

/// The ends of the slider, in nits. Without an option: the darkest and the brightest level that the metric covers.
std::pair<double, double> EndsOf(const Panel& panel, const std::vector<double>& nits, const Metric& metric,
                                 const StepsOptions& options) {
  std::vector<double> covered;
  std::copy_if(nits.begin(), nits.end(), std::back_inserter(covered),
               [&](double each) { return Covers(metric, each); });
  if (covered.empty()) {
    throw Failure(fmt::format("{}: no level has a luminance from {} to {} nits, where metric {} is defined",
                              panel.File(), metric.least, metric.most, options.metric));
  }
  const auto [darkest, brightest] = std::minmax_element(covered.begin(), covered.end());
  const std::pair<double, double> ends = {options.min_nits.value_or(*darkest), options.max_nits.value_or(*brightest)};
  if (!(*darkest <= ends.first && ends.first < ends.second && ends.second <= *brightest)) {
    throw Failure(
        fmt::format("{}: found a slider from {} to {} nits, expected one that rises within {} to {} nits: the "
                    "panel's levels where metric {} is defined",
                    panel.File(), ends.first, ends.second, *darkest, *brightest, options.metric));
  }
  return ends;
}

// The nearest level on the metric is at most half a step between two levels away.
std::vector<SliderStep> StepsOf(const std::vector<double>& nits, const std::pair<double, double>& ends,
                                const Metric& metric, uint32_t count) {
  std::vector<double> on_metric(nits.size());
  std::transform(nits.begin(), nits.end(), on_metric.begin(),
                 [&](double each) { return Covers(metric, each) ? metric.of_nits(each) : std::nan(""); });
  const zarn::client::Curve curve(on_metric);
  const double first = metric.of_nits(ends.first);
  const double last = metric.of_nits(ends.second);
  std::vector<SliderStep> steps;
  for (uint32_t i = 0; i < count; ++i) {
    const double ideal = first + (last - first) * i / (count - 1);
    const uint32_t level = curve.Level(ideal);
    steps.push_back({metric.to_nits(ideal), level, nits[level], curve.Nits(level) - ideal});
  }
  return steps;
}

size_t CountRepeated(const std::vector<SliderStep>& steps) {
  size_t repeated = 0;
  for (size_t i = 1; i < steps.size(); ++i) {
    repeated += steps[i].level == steps[i - 1].level ? 1 : 0;
  }
  return repeated;
}

void PrintText(const std::vector<SliderStep>& steps, const Metric& metric) {
  fmt::print("{:>6}{:>10}{:>14}{:>14}{:>14}\n", "step", "level", "nits", "ideal nits",
             fmt::format("residual {}", metric.unit));
  for (size_t i = 0; i < steps.size(); ++i) {
    fmt::print("{:>6}{:>10}{:>14.4f}{:>14.4f}{:>14.4f}\n", i, steps[i].level, steps[i].nits, steps[i].ideal_nits,
               steps[i].residual);
  }
  const size_t repeated = CountRepeated(steps);
  if (repeated > 0) {
    fmt::print("{} of the steps have the level of the step before: the panel has too few levels there\n", repeated);
  }
}

void PrintJson(const Panel& panel, const std::vector<SliderStep>& steps, const Metric& metric,
               const StepsOptions& options) {
  nlohmann::ordered_json object = {
      {"panel", panel.Name()},    {"file", panel.File()}, {"coverage", options.coverage},    {"hdr", options.hdr},
      {"metric", options.metric}, {"unit", metric.unit},  {"repeated", CountRepeated(steps)}};
  for (const SliderStep& step : steps) {
    object["steps"].push_back({{"level", step.level},
                               {"nits", step.nits},
                               {"ideal_nits", SixDecimals(step.ideal_nits)},
                               {"residual", SixDecimals(step.residual)}});
  }
  fmt::print("{}\n", JsonLine(object));
}

void Run(const StepsOptions& options, CapturedLog* log) {
  Panel panel(options.panel, log);
  const std::vector<double> nits = LuminancesOf(&panel, options);
  const Metric metric = MetricOf(options.metric, *std::max_element(nits.begin(), nits.end()));
  const auto steps = StepsOf(nits, EndsOf(panel, nits, metric, options), metric, options.count);
  if (options.format == "json") {
    PrintJson(panel, steps, metric, options);
  } else {
    PrintText(steps, metric);
  }
}

}  // namespace

void AddStepsCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "steps", "Choose the levels of a slider whose steps look equal");
  auto options = std::make_shared<StepsOptions>();
  AddPanelArgument(command, &options->panel);
  command.Add("--count", &options->count, "Number of positions, 2 to 65,536")
      .Between(2, 65536)
      .Takes("COUNT")
      .ShowDefault();
  command
      .Add("--metric", &options->metric,
           "Scale on which the steps are equal: gsdf (JND of DICOM), pq (SMPTE ST 2084), lstar (CIE lightness)\n"
           "or linear (nits)")
      .OneOf({"gsdf", "pq", "lstar", "linear"})
      .Takes("METRIC")
      .ShowDefault();
  command.Add("--min-nits", &options->min_nits, "Luminance of the first position; default: the darkest level")
      .NotNegative()
      .Takes("NITS");
  command.Add("--max-nits", &options->max_nits, "Luminance of the last position; default: the brightest level")
      .NotNegative()
      .Takes("NITS");
  command.Add("-c,--coverage", &options->coverage, "Share of the screen that is lit, 1 to 100 per cent")
      .Between(1, 100)
      .Takes("PERCENT")
      .ShowDefault();
  command.AddFlag("--hdr", &options->hdr, "Use the high-brightness curves");
  AddFormatOption(command, &options->format);
  command.Footer(
      "Each position gets the level that is nearest to the ideal one on the scale: the residual is at most half a "
      "step\n"
      "between two levels. Metric gsdf is defined from 0.05 to 4,000 nits: without --min-nits, darker levels are left\n"
      "out. Metric lstar takes the brightest level for white.\n"
      "Example: blnits steps samples/backlight_calib_oled_phone.xml --count 10 --min-nits 2");
  command.Action([options, log] { Run(*options, log); });
}

}  // namespace blnits
