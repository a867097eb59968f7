#include <algorithm>
#include <cmath>
#include <memory>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "panel/survey.h"
#include "support/foreign_text.h"
#include "support/plot.h"

namespace blnits {
namespace {

struct CurveOptions {
  std::string panel;
  std::string compared;
  std::vector<uint32_t> coverages = {10, 55, 100};
  std::string output;
  bool logarithmic = false;
  bool csv = false;
};

/// A panel with its curves: standard ones, then those of high brightness.
struct DrawnPanel {
  Panel panel;
  std::vector<uint32_t> levels;
  std::vector<Curve> curves;
};

// A file where the name would not tell them apart.
std::string LabelOf(const Panel& panel, const std::vector<DrawnPanel>& all) {
  const auto same = [&](const DrawnPanel& other) { return other.panel.Name() == panel.Name(); };
  return std::count_if(all.begin(), all.end(), same) > 1 ? panel.File() : panel.Name();
}

std::string InCsv(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    quoted += c == '"' ? "\"\"" : std::string(1, c);
  }
  return quoted + "\"";
}

// A level that a panel does not have, or refuses, leaves its fields empty.
void PrintCsv(const std::vector<uint32_t>& coverages, std::vector<DrawnPanel>* panels) {
  std::vector<Panel*> surveyed;
  for (DrawnPanel& drawn : *panels) {
    surveyed.push_back(&drawn.panel);
  }
  const auto levels = SurveyLevels(surveyed, coverages);
  std::vector<Curve> curves;
  fmt::print("client level");
  for (DrawnPanel& drawn : *panels) {
    for (Curve& curve : SurveyCurves(&drawn.panel, coverages, levels)) {
      fmt::print(",{}", InCsv(fmt::format("{}: {} nits at {} %", Printable(LabelOf(drawn.panel, *panels)),
                                          curve.hdr ? "high-brightness" : "standard", curve.coverage)));
      curves.push_back(std::move(curve));
    }
  }
  fmt::print("\n");
  for (size_t i = 0; i < levels.size(); ++i) {
    fmt::print("{}", levels[i]);
    for (const Curve& curve : curves) {
      fmt::print(",{}", std::isfinite(curve.nits[i]) ? fmt::format("{}", curve.nits[i]) : "");
    }
    fmt::print("\n");
  }
  if (!AreAll(levels)) {
    fmt::print(stderr, "blnits: {}\n", LeftOut(levels));
  }
}

/// One hue for each panel's operation, darker for a smaller coverage.
std::string ColourOf(size_t panel, const Curve& curve, size_t coverage) {
  constexpr const char* kColours[2][2][3] = {{{"#08306b", "#2171b5", "#6baed6"}, {"#7f2704", "#d94801", "#fd8d3c"}},
                                             {{"#00441b", "#238b45", "#74c476"}, {"#3f007d", "#6a51a3", "#9e9ac8"}}};
  return kColours[panel][curve.hdr ? 1 : 0][coverage % 3];
}

/// Short enough for the key of a small picture.
std::string KeyOf(const Curve& curve) {
  return fmt::format("{} {} %", curve.hdr ? "high brightness" : "standard", curve.coverage);
}

// A curve that is the same as one before is not drawn over it.
void AddLines(DrawnPanel* drawn, size_t number, const std::string& label, size_t coverages, Plot* plot) {
  const std::vector<Curve>& curves = drawn->curves;
  std::vector<size_t> drawn_at(curves.size());
  for (size_t i = 0; i < curves.size(); ++i) {
    const MeasuredTable* const table = TableOf(curves[i]);
    const auto measured = table != nullptr ? PointsOf(&drawn->panel, *table) : std::vector<zarn::BlNitsPoint>();
    const auto same =
        std::find_if(curves.begin(), curves.end(), [&](const Curve& curve) { return curve.nits == curves[i].nits; });
    const auto first = static_cast<size_t>(same - curves.begin());
    if (first < i) {
      PlotLine& line = plot->lines[drawn_at[first]];
      line.measured.insert(line.measured.end(), measured.begin(), measured.end());
      const std::string name = fmt::format("{}{} (as {})", label, KeyOf(curves[i]), KeyOf(curves[first]));
      plot->lines.push_back({name, line.colour, line.second_panel, {}, {}, {}, {}});
      continue;
    }
    drawn_at[i] = plot->lines.size();
    plot->lines.push_back({label + KeyOf(curves[i]), ColourOf(number, curves[i], i % coverages), number > 0,
                           drawn->levels, curves[i].nits, Extrapolated(&drawn->panel, curves[i], drawn->levels),
                           measured});
  }
}

// gnuplot has no words for it.
void CheckVisible(const DrawnPanel& drawn) {
  const auto dark = [](const Curve& curve) {
    return std::none_of(curve.nits.begin(), curve.nits.end(), [](double nits) { return std::isfinite(nits); });
  };
  if (std::all_of(drawn.curves.begin(), drawn.curves.end(), dark)) {
    throw Failure(fmt::format("{}: no level has a luminance, there is nothing to draw; blnits check says why",
                              drawn.panel.File()));
  }
}

void DrawCurves(std::vector<DrawnPanel>* panels, const CurveOptions& options) {
  Plot plot;
  plot.logarithmic = options.logarithmic;
  for (size_t i = 0; i < panels->size(); ++i) {
    DrawnPanel& drawn = (*panels)[i];
    CheckVisible(drawn);
    const std::string label = LabelOf(drawn.panel, *panels);
    plot.title += (i > 0 ? " and " : "") + label;
    AddLines(&drawn, i, panels->size() > 1 ? label + ": " : "", options.coverages.size(), &plot);
  }
  Draw(plot, options.output);
}

void Run(const CurveOptions& options, CapturedLog* log) {
  std::vector<DrawnPanel> panels;
  for (const std::string& argument : {options.panel, options.compared}) {
    if (!argument.empty()) {
      Panel panel(argument, log);
      auto levels = SurveyLevels(&panel);
      auto curves = SurveyCurves(&panel, options.coverages, levels);
      panels.push_back({std::move(panel), std::move(levels), std::move(curves)});
    }
  }
  if (options.csv) {
    PrintCsv(options.coverages, &panels);
  } else {
    DrawCurves(&panels, options);
  }
}

}  // namespace

void AddCurveCommand(CLI::App* app, CapturedLog* log) {
  auto* const command = app->add_subcommand("curve", "Draw what a panel's levels show, in nits");
  auto options = std::make_shared<CurveOptions>();
  AddPanelArgument(command, &options->panel);
  command->add_option("--compare", options->compared, "A second panel in the same picture")->type_name("PANEL");
  command->add_option("-c,--coverage", options->coverages, "Shares of the screen that are lit, 1 to 100 per cent")
      ->check(CLI::Range(1, 100).description(""))
      ->type_name("PERCENT")
      ->capture_default_str();
  command->add_flag("--log", options->logarithmic, "A logarithmic axis of luminances");
  auto* const output = command
                           ->add_option("-o,--output", options->output,
                                        "The picture's file, .svg or .png; without it the terminal is drawn on")
                           ->type_name("FILE");
  command
      ->add_flag("--csv", options->csv,
                 "Print the numbers instead, in nits: every client level up to 65,535, and the measured ones beyond")
      ->excludes(output);
  command->footer(
      "Marks are measured points, dashed lines extrapolated. gnuplot draws (Debian's package gnuplot-nox).\n"
      "Example: blnits curve samples/backlight_calib_oled_hbm.xml --coverage 10 100 --log -o hbm.svg");
  command->callback([options, log] { Run(*options, log); });
}

}  // namespace blnits
