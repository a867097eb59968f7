#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <ostream>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/reports.h"
#include "foreign_text.h"
#include "panel/survey.h"
#include "support/failure.h"
#include "support/json.h"
#include "support/output_file.h"
#include "support/plot.h"

namespace blnits {
namespace {

struct CurveOptions {
  std::string panel;
  std::string compared;
  std::vector<uint32_t> coverages = {10, 55, 100};
  std::string output;
  std::string format;
  bool logarithmic = false;
  bool relative = false;
  bool csv = false;
};

/// A panel with its curves: those of standard operation, then those of high brightness.
struct DrawnPanel {
  Panel panel;
  std::vector<uint32_t> levels;
  std::vector<Curve> curves;
};

// The panel's name, or its file if another panel has the same name.
std::string LabelOf(const Panel& panel, const std::vector<DrawnPanel>& all) {
  const auto same = [&](const DrawnPanel& other) { return other.panel.Name() == panel.Name(); };
  return std::count_if(all.begin(), all.end(), same) > 1 ? panel.File() : panel.Name();
}

/// The client levels of all panels.
std::vector<uint32_t> LevelsOf(const std::vector<uint32_t>& coverages, std::vector<DrawnPanel>* panels) {
  std::vector<Panel*> surveyed;
  surveyed.reserve(panels->size());
  for (DrawnPanel& drawn : *panels) {
    surveyed.push_back(&drawn.panel);
  }
  return SurveyLevels(surveyed, coverages);
}

// If a panel does not have a level or refuses it, the fields are empty.
void PrintCsv(const std::vector<uint32_t>& coverages, std::vector<DrawnPanel>* panels) {
  const auto levels = LevelsOf(coverages, panels);
  std::vector<Curve> curves;
  fmt::print("client level");
  for (DrawnPanel& drawn : *panels) {
    for (Curve& curve : SurveyCurves(&drawn.panel, coverages, levels)) {
      fmt::print(",{}", CsvCell(fmt::format("{}: {} nits at {} %", LabelOf(drawn.panel, *panels),
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

// If a panel does not have a level or refuses it, its luminance is null.
nlohmann::ordered_json ReportOf(const std::vector<uint32_t>& coverages, std::vector<DrawnPanel>* panels) {
  auto report = JsonReport("curve");
  const auto levels = LevelsOf(coverages, panels);
  report["last_level"] = levels.back();
  report["examined_levels"] = levels.size();
  report["levels"] = levels;
  for (DrawnPanel& drawn : *panels) {
    nlohmann::ordered_json panel = {
        {"panel", drawn.panel.Name()}, {"file", drawn.panel.File()}, {"last_level", drawn.levels.back()}};
    for (const Curve& curve : SurveyCurves(&drawn.panel, coverages, levels)) {
      auto& object = panel["curves"][JsonKeyOf(curve.hdr, curve.coverage)] = JsonTable(curve.hdr, curve.coverage);
      object["nits"] = curve.nits;
    }
    report["panels"].push_back(panel);
  }
  return report;
}

/// A label that fits into a picture.
std::string ShortLabelOf(const DrawnPanel& drawn, const std::vector<DrawnPanel>& all) {
  constexpr size_t kLongest = 40;
  return Shown(LabelOf(drawn.panel, all), kLongest);
}

/// Each panel and operation has its hue. The coverage decides the brightness: the first is dark, the last is light.
std::string ColourOf(size_t panel, bool hdr, size_t place, size_t coverages) {
  constexpr int kHues[2][2][2][3] = {{{{8, 48, 107}, {107, 174, 214}},    // blue
                                      {{127, 39, 4}, {253, 141, 60}}},    // orange
                                     {{{0, 68, 27}, {116, 196, 118}},     // green
                                      {{63, 0, 125}, {158, 154, 200}}}};  // purple
  const auto& [dark, light] = kHues[panel][hdr ? 1 : 0];
  const double share = coverages > 1 ? static_cast<double>(place) / static_cast<double>(coverages - 1) : 0.0;
  std::string colour = "#";
  for (size_t i = 0; i < std::size(dark); ++i) {
    colour += fmt::format("{:02x}", static_cast<int>(std::lround(dark[i] + share * (light[i] - dark[i]))));
  }
  return colour;
}

/// A curve with the identity that its label needs.
struct DrawnCurve {
  PlotLine line;
  size_t panel;
  bool hdr;
  uint32_t coverage;
};

PlotPoints Points(const DrawnPanel& drawn, const Curve& curve, double unit) {
  PlotPoints points;
  for (size_t i = 0; i < drawn.levels.size(); ++i) {
    points.emplace_back(unit * drawn.levels[i], curve.nits[i]);
  }
  return points;
}

PlotPoints MeasuredPoints(DrawnPanel* drawn, const Curve& curve, double unit) {
  PlotPoints points;
  const MeasuredTable* const table = FindTable(curve.coverage, curve.hdr);
  if (table != nullptr) {
    for (const auto& point : drawn->panel.PointsOf(*table)) {
      points.emplace_back(unit * point.bl, point.nits);
    }
  }
  return points;
}

/// \param unit length of a client level on the picture's axis.
std::vector<DrawnCurve> CurvesOf(DrawnPanel* drawn, size_t number, double unit, size_t coverages) {
  std::vector<DrawnCurve> curves;
  for (size_t i = 0; i < drawn->curves.size(); ++i) {
    const Curve& curve = drawn->curves[i];
    PlotLine line = {"",
                     ColourOf(number, curve.hdr, i % coverages, coverages),
                     number > 0,
                     Points(*drawn, curve, unit),
                     Extrapolated(&drawn->panel, curve, drawn->levels),
                     MeasuredPoints(drawn, curve, unit)};
    curves.push_back({std::move(line), number, curve.hdr, curve.coverage});
  }
  return curves;
}

/// "standard 10, 55 %, high brightness 10 %": names those of the curves that belong to one panel.
std::string NamesOf(const std::vector<const DrawnCurve*>& curves, size_t panel) {
  std::string coverages[2];
  for (const DrawnCurve* curve : curves) {
    if (curve->panel == panel) {
      std::string& list = coverages[curve->hdr ? 1 : 0];
      list += fmt::format("{}{}", list.empty() ? "" : ", ", curve->coverage);
    }
  }
  if (coverages[0] == coverages[1]) {
    return coverages[0].empty() ? "" : fmt::format("standard and high brightness {} %", coverages[0]);
  }
  const std::string standard = coverages[0].empty() ? "" : fmt::format("standard {} %", coverages[0]);
  const std::string hdr = coverages[1].empty() ? "" : fmt::format("high brightness {} %", coverages[1]);
  return standard + (standard.empty() || hdr.empty() ? "" : ", ") + hdr;
}

/// The key's text for a line that several curves share. \param labels of the panels; empty if there is only one panel.
std::string KeyOf(const std::vector<const DrawnCurve*>& curves, const std::vector<std::string>& labels) {
  std::string first = NamesOf(curves, 0);
  const std::string second = NamesOf(curves, 1);
  if (labels.empty()) {
    return first;
  }
  if (first == second) {
    return fmt::format("{} and {}: {}", labels[0], labels[1], first);
  }
  return (first.empty() ? "" : fmt::format("{}: {}", labels[0], first)) +
         (first.empty() || second.empty() ? "" : "; ") +
         (second.empty() ? "" : fmt::format("{}: {}", labels[1], second));
}

// Two gaps are equal.
bool IsSame(const PlotPoints& a, const PlotPoints& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& one, const auto& other) {
    return one.first == other.first &&
           (one.second == other.second || (!std::isfinite(one.second) && !std::isfinite(other.second)));
  });
}

/// One line for each distinct curve. Identical curves share a line.
std::vector<PlotLine> LinesOf(std::vector<DrawnCurve> curves, const std::vector<std::string>& labels) {
  std::vector<PlotLine> lines;
  std::vector<bool> shared(curves.size(), false);
  for (size_t i = 0; i < curves.size(); ++i) {
    std::vector<const DrawnCurve*> alike;
    for (size_t k = i; k < curves.size(); ++k) {
      if (!shared[k] && IsSame(curves[i].line.points, curves[k].line.points)) {
        shared[k] = true;
        alike.push_back(&curves[k]);
      }
    }
    if (alike.empty()) {
      continue;
    }
    lines.push_back(curves[i].line);
    lines.back().name = KeyOf(alike, labels);
    for (size_t k = 1; k < alike.size(); ++k) {
      const PlotPoints& measured = alike[k]->line.measured;
      lines.back().measured.insert(lines.back().measured.end(), measured.begin(), measured.end());
    }
  }
  return lines;
}

/// A curve's interpolated value at a level; NaN outside the points and next to a gap.
double ValueAt(const PlotPoints& points, double level) {
  const auto above = std::lower_bound(points.begin(), points.end(), level,
                                      [](const auto& point, double sought) { return point.first < sought; });
  if (above != points.end() && above->first == level) {
    return above->second;
  }
  if (above == points.begin() || above == points.end()) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  const auto below = above - 1;
  const double share = (level - below->first) / (above->first - below->first);
  return below->second + share * (above->second - below->second);
}

/// Second minus first, at the levels of both; with `percent` in per cent of the first.
PlotLine DifferenceOf(const PlotLine& first, const PlotLine& second, bool percent) {
  PlotLine line = {"", first.colour, false, {}, {}, {}};
  std::vector<std::pair<double, bool>> levels;
  for (const PlotLine* each : {&first, &second}) {
    for (size_t i = 0; i < each->points.size(); ++i) {
      levels.emplace_back(each->points[i].first, each->extrapolated[i]);
    }
  }
  std::sort(levels.begin(), levels.end());
  for (const auto& [level, extrapolated] : levels) {
    if (!line.points.empty() && line.points.back().first == level) {
      line.extrapolated.back() = line.extrapolated.back() || extrapolated;
      continue;
    }
    const double of = ValueAt(first.points, level);
    const double difference = ValueAt(second.points, level) - of;
    const double share = of != 0.0 ? 100.0 * difference / of : std::numeric_limits<double>::quiet_NaN();
    line.points.emplace_back(level, percent ? share : difference);
    line.extrapolated.push_back(extrapolated);
  }
  return line;
}

std::vector<DrawnCurve> DifferencesOf(const std::vector<DrawnCurve>& first, const std::vector<DrawnCurve>& second,
                                      bool percent) {
  std::vector<DrawnCurve> differences;
  for (size_t i = 0; i < first.size(); ++i) {
    differences.push_back({DifferenceOf(first[i].line, second[i].line, percent), 0, first[i].hdr, first[i].coverage});
  }
  return differences;
}

void CheckVisible(const DrawnPanel& drawn, bool logarithmic) {
  const auto dark = [&](const Curve& curve) {
    return std::none_of(curve.nits.begin(), curve.nits.end(),
                        [&](double nits) { return std::isfinite(nits) && (!logarithmic || nits > 0.0); });
  };
  if (std::all_of(drawn.curves.begin(), drawn.curves.end(), dark)) {
    throw Failure(
        fmt::format("{}: no level has a luminance{}, so there is nothing to draw; blnits check gives the reason",
                    drawn.panel.File(), logarithmic ? " above 0" : ""));
  }
}

/// Length of a client level on the axis: 1, or its share of the panel's range in per cent.
double UnitOf(const DrawnPanel& drawn, bool relative) {
  return relative ? 100.0 / std::max(1U, drawn.levels.back()) : 1.0;
}

Plot PlotOf(std::vector<DrawnPanel>* panels, const CurveOptions& options) {
  std::vector<std::string> labels;
  std::vector<std::vector<DrawnCurve>> curves;
  for (size_t i = 0; i < panels->size(); ++i) {
    DrawnPanel& drawn = (*panels)[i];
    CheckVisible(drawn, options.logarithmic);
    labels.push_back(ShortLabelOf(drawn, *panels));
    curves.push_back(CurvesOf(&drawn, i, UnitOf(drawn, options.relative), options.coverages.size()));
  }
  const char* const levels = options.relative ? "client level in % of the range" : "client level";
  if (panels->size() == 1) {
    return {labels[0], levels, {{"luminance", "nits", options.logarithmic, LinesOf(curves[0], {})}}};
  }
  const auto differences = DifferencesOf(curves[0], curves[1], options.logarithmic);
  curves[0].insert(curves[0].end(), curves[1].begin(), curves[1].end());
  return {labels[0] + " and " + labels[1],
          levels,
          {{"luminance", "nits", options.logarithmic, LinesOf(curves[0], labels)},
           {"second - first", options.logarithmic ? "%" : "nits", false, LinesOf(differences, {})}}};
}

void DrawCurves(std::vector<DrawnPanel>* panels, const CurveOptions& options) {
  const PictureFormat format = PictureFormatOf(options.output, options.format);
  const Plot plot = PlotOf(panels, options);
  if (format == PictureFormat::kText) {
    fmt::print("{}", Drawn(plot, format));
    return;
  }
  WriteWhole(options.output.empty() ? "-" : options.output, [&](std::ostream& file) { file << Drawn(plot, format); });
}

/// The panels of the arguments. Empty arguments are left out.
std::vector<DrawnPanel> Surveyed(const std::vector<std::string>& arguments, const std::vector<uint32_t>& coverages,
                                 CapturedLog* log) {
  std::vector<DrawnPanel> panels;
  for (const std::string& argument : arguments) {
    if (!argument.empty()) {
      Panel panel(argument, log);
      auto levels = SurveyLevels(&panel);
      auto curves = SurveyCurves(&panel, coverages, levels);
      panels.push_back({std::move(panel), std::move(levels), std::move(curves)});
    }
  }
  return panels;
}

void Run(const CurveOptions& options, CapturedLog* log) {
  const bool json = options.format == "json";
  if (json && !options.output.empty()) {
    throw Failure("--format json excludes --output: the numbers go to standard output");
  }
  std::vector<DrawnPanel> panels = Surveyed({options.panel, options.compared}, options.coverages, log);
  if (json) {
    fmt::print("{}\n", JsonLine(ReportOf(options.coverages, &panels)));
  } else if (options.csv) {
    PrintCsv(options.coverages, &panels);
  } else {
    DrawCurves(&panels, options);
  }
}

}  // namespace

Plot CurvePicture(const std::vector<std::string>& panels, CapturedLog* log) {
  CurveOptions options;
  auto drawn = Surveyed(panels, options.coverages, log);
  options.relative = drawn.front().levels.back() != drawn.back().levels.back();
  return PlotOf(&drawn, options);
}

void AddCurveCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "curve", "Draw the luminance of a panel's levels");
  auto options = std::make_shared<CurveOptions>();
  AddPanelArgument(command, &options->panel);
  command.Add("--compare", &options->compared, "A second panel in the same picture").Takes("PANEL");
  command
      .Add("-c,--coverage", &options->coverages,
           "Coverages to draw: shares of the screen that are lit, 1 to 100 per cent")
      .Between(1, 100)
      .Takes("PERCENT")
      .ShowDefault();
  command.AddFlag("--log", &options->logarithmic, "Use a logarithmic axis of luminance; show differences in per cent");
  command.AddFlag("--relative", &options->relative, "Show levels in per cent of each panel's range");
  const Option output = command
                            .Add("-o,--output", &options->output,
                                 "The picture's file, .svg or .png; -: standard output. Default: draw in the terminal")
                            .Takes("FILE");
  const Option format = command
                            .Add("--format", &options->format,
                                 "svg or png, if the file's name has no such ending; json: the numbers, as one object")
                            .OneOfMany({"svg", "png", "json"})
                            .Takes("FORMAT");
  command
      .AddFlag("--csv", &options->csv,
               "Print the numbers in nits instead: every client level up to 65,535, and the measured levels above")
      .Excludes(output)
      .Excludes(format);
  command.Footer(
      "Marks are measured points; dashed lines are extrapolated. Needs gnuplot (Debian's package gnuplot-nox).\n"
      "Example: blnits curve samples/backlight_calib_oled_hbm.xml --coverage 10 100 --log -o hbm.svg");
  command.Action([options, log] { Run(*options, log); });
}

}  // namespace blnits
