#include <memory>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/reports.h"
#include "commands/slider_options.h"
#include "foreign_text.h"
#include "panel/slider.h"
#include "support/failure.h"
#include "support/json.h"
#include "support/output_file.h"
#include "support/plot.h"

namespace blnits {
namespace {

struct StepsOptions : Slider {
  std::string panel;
  std::string format = "text";
  std::string output;
};

/// The key of a residual in the metric's unit.
const char* ResidualKeyOf(const std::string& metric) {
  return metric == "gsdf"    ? "residual_jnd"
         : metric == "pq"    ? "residual_pq"
         : metric == "lstar" ? "residual_lstar"
                             : "residual_nits";
}

void PrintText(const std::vector<SliderStep>& steps, const char* unit) {
  fmt::print("{:>6}{:>10}{:>14}{:>14}{:>14}\n", "step", "level", "nits", "ideal nits",
             fmt::format("residual {}", unit));
  for (size_t i = 0; i < steps.size(); ++i) {
    fmt::print("{:>6}{:>10}{:>14.4f}{:>14.4f}{:>14.4f}\n", i, steps[i].level, steps[i].nits, steps[i].ideal_nits,
               steps[i].residual);
  }
  const size_t repeated = CountRepeated(steps);
  if (repeated > 0) {
    fmt::print("{} of the steps have the level of the step before: the panel has too few levels there\n", repeated);
  }
}

nlohmann::ordered_json ReportOf(const Panel& panel, const std::vector<SliderStep>& steps, const Slider& options) {
  auto report = JsonReportOn(panel, "steps");
  report.update(JsonTable(options.hdr, options.coverage));
  report["metric"] = options.metric;
  report["repeated_steps"] = CountRepeated(steps);
  for (const SliderStep& step : steps) {
    report["steps"].push_back({{"level", step.level},
                               {"nits", step.nits},
                               {"ideal_nits", SixDecimals(step.ideal_nits)},
                               {ResidualKeyOf(options.metric), SixDecimals(step.residual)}});
  }
  return report;
}

PlotLine LineOf(const char* name, const char* colour, const std::vector<SliderStep>& steps, double SliderStep::*value) {
  PlotPoints points;
  for (size_t i = 0; i < steps.size(); ++i) {
    points.emplace_back(static_cast<double>(i), steps[i].*value);
  }
  const std::vector<bool> solid(points.size(), false);
  return {name, colour, false, points, solid, points};
}

Plot PlotOf(const Panel& panel, const std::vector<SliderStep>& steps, const StepsOptions& options) {
  constexpr const char* kDark = "#08306b";
  return {Shown(panel.Name(), 40),
          "position of the slider",
          {{"luminance", "nits", steps.front().nits > 0.0, {LineOf("level", kDark, steps, &SliderStep::nits)}},
           {"residual", UnitOf(options.metric), false, {LineOf("level - ideal", kDark, steps, &SliderStep::residual)}}},
          false};
}

void Draw(const Panel& panel, const std::vector<SliderStep>& steps, const StepsOptions& options) {
  if (!options.output.empty()) {
    const std::string picture = Drawn(PlotOf(panel, steps, options), PictureFormatOf(options.output, ""));
    WriteWhole(options.output, [&](std::ostream& stream) { stream << picture; });
  }
}

void Run(const StepsOptions& options, CapturedLog* log) {
  if (options.output == "-") {
    throw Failure("--output: found -, expected a file's name: the levels go to standard output");
  }
  Panel panel(options.panel, log);
  const auto steps = StepsOf(&panel, options);
  Draw(panel, steps, options);
  if (options.format == "json") {
    fmt::print("{}\n", JsonLine(ReportOf(panel, steps, options)));
  } else {
    PrintText(steps, UnitOf(options.metric));
  }
}

}  // namespace

nlohmann::ordered_json StepsReportOn(Panel* panel, const Slider& slider) {
  return ReportOf(*panel, StepsOf(panel, slider), slider);
}

void AddStepsCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "steps", "Choose the levels of a slider whose steps look equal");
  auto options = std::make_shared<StepsOptions>();
  AddPanelArgument(command, &options->panel);
  AddSliderOptions(command, options.get());
  command.Add("--max-nits", &options->max_nits, "Luminance of the last position; default: the brightest level")
      .NotNegative()
      .Takes("NITS");
  AddFormatOption(command, &options->format);
  command
      .Add("-o,--output", &options->output,
           "Picture of the luminances and the residuals: a name that ends with .svg or .png")
      .Takes("FILE");
  command.Footer(
      "Each position gets the level that is nearest to the ideal one on the scale: the residual is at most half a "
      "step\n"
      "between two levels. Metric gsdf is defined from 0.05 to 4,000 nits: without --min-nits, darker levels are left\n"
      "out. Metric lstar takes the brightest level for white.\n"
      "Example: blnits steps samples/backlight_calib_oled_phone.xml --count 10 --min-nits 3");
  command.Action([options, log] { Run(*options, log); });
}

}  // namespace blnits
