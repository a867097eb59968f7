#include "support/plot.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "support/failure.h"
#include "support/gnuplot.h"
#include "support/terminal.h"

namespace blnits {
namespace {

/// Settings for drawing in one of the formats.
struct Device {
  std::string terminal;                                       ///< gnuplot's terminal and its options.
  const char* extrapolated = "lines linewidth 2 dashtype 2";  ///< The style of extrapolated lines,
  const char* stroke = "dashes";                              ///< and its name in the title.
  int symbols[2] = {7, 5};                ///< Marks for measured points of the first and the second panel.
  const char* key = "width -2 height 1";  ///< Corrects gnuplot's estimate of the key's width.
  size_t columns = 2000;                  ///< Resolution for lines and marks.
  size_t rows = 1000;
  size_t level_tics = 10;
  size_t value_tics = 6;      ///< In one pane.
  size_t title_length = 130;  ///< Longest title that fits into one line.
};

Device TextDevice(size_t panes) {
  constexpr int kTwoPanes = 36;  // With fewer rows, the second pane is only its frame.
  const auto [columns, lines] = SizeOfTerminal(STDOUT_FILENO);
  const int rows = panes > 1 ? std::max(lines - 1, kTwoPanes) : lines - 1;
  Device device;
  device.terminal = fmt::format("dumb size {},{} noenhanced {}", columns, rows, WantsColours() ? "ansi256" : "mono");
  device.extrapolated = "dots";
  device.stroke = "dots";
  device.symbols[0] = 15;  // O
  device.symbols[1] = 24;  // X
  device.key = "";
  device.columns = static_cast<size_t>(columns) * 2;
  device.rows = static_cast<size_t>(rows) * 2;
  device.level_tics = 6;
  device.value_tics = std::clamp<size_t>(static_cast<size_t>(rows) / panes / 4, 2, 8);
  device.title_length = static_cast<size_t>(columns) * 3 / 4;
  return device;
}

Device DeviceFor(PictureFormat format, size_t panes) {
  if (format == PictureFormat::kText) {
    return TextDevice(panes);
  }
  const char* const size = panes > 1 ? "size 1000,900" : "size 1000,640";
  Device device;
  device.terminal = format == PictureFormat::kSvg
                        ? fmt::format("svg {} noenhanced font 'sans-serif,13' background rgb 'white'", size)
                        : fmt::format("pngcairo {} noenhanced font 'sans,11'", size);
  return device;
}

/// Foreign text of a script. The text goes into a here-document in which every line begins with a dot, so no line can
/// end the document. gnuplot reads each text from there as a value.
class Texts {
 public:
  /// \return the gnuplot expression for this text.
  std::string Add(const std::string& text) {
    lines_ += "." + text + "\n";
    return fmt::format("$texts[{}][2:*]", ++count_);
  }
  std::string Document() const { return "$texts << END\n" + lines_ + "END\n"; }

 private:
  std::string lines_;
  size_t count_ = 0;
};

Axis LevelsOf(const Plot& plot, size_t tics) {
  double last = 0.0;
  for (const PlotPane& pane : plot.panes) {
    for (const PlotLine& line : pane.lines) {
      for (const PlotPoints* points : {&line.points, &line.measured}) {
        for (const auto& point : *points) {
          last = std::max(last, point.first);
        }
      }
    }
  }
  return AxisTo(last, tics);
}

Axis ValuesOf(const PlotPane& pane, size_t tics) {
  std::vector<double> values;
  const auto add = [&](const PlotPoints& points) {
    for (const auto& point : points) {
      if (std::isfinite(point.second) && (!pane.logarithmic || point.second > 0.0)) {
        values.push_back(point.second);
      }
    }
  };
  for (const PlotLine& line : pane.lines) {
    add(line.points);
    add(line.measured);
  }
  for (const PlotBand& band : pane.bands) {
    add(band.low);
    add(band.high);
  }
  if (values.empty()) {
    return pane.logarithmic ? LogarithmicAxis(1.0, 1.0) : LinearAxis(0.0, 1.0, tics);
  }
  const auto [least, most] = std::minmax_element(values.begin(), values.end());
  return pane.logarithmic ? LogarithmicAxis(*least, *most) : LinearAxis(*least, *most, tics);
}

/// The levels that a logarithmic axis cannot show, in brackets; empty if it shows all.
std::string NotShown(const PlotPane& pane) {
  std::set<double> levels;
  for (const PlotLine& line : pane.lines) {
    for (const auto& [level, value] : line.points) {
      if (pane.logarithmic && value <= 0.0) {
        levels.insert(level);
      }
    }
  }
  if (levels.empty()) {
    return "";
  }
  return levels.size() == 1 ? fmt::format(" (level {:g} has 0 {}: not on this axis)", *levels.begin(), pane.unit)
                            : fmt::format(" ({} levels have at most 0 {}: not on this axis)", levels.size(), pane.unit);
}

std::string Tics(const char* axis, const Axis& tics) {
  std::string list;
  for (const double tic : tics.tics) {
    list += fmt::format("{}'{:g}' {:.17g}", list.empty() ? "" : ", ", tic, tic);
  }
  return fmt::format("set {0}range [{1:.17g}:{2:.17g}]\nset {0}tics ({3})\n", axis, tics.low, tics.high, list);
}

/// The solid or the dashed stretches of a line. Each segment between two points belongs to exactly one of the two
/// kinds, so stretches meet at a point.
std::vector<PlotPoints> Stretches(const PlotLine& line, const Axis& values, bool dashed) {
  std::vector<PlotPoints> stretches;
  bool open = false;
  for (size_t i = 0; i + 1 < line.points.size(); ++i) {
    const bool drawn = values.Shows(line.points[i].second) && values.Shows(line.points[i + 1].second);
    const bool in_stretch = drawn && (line.extrapolated[i] || line.extrapolated[i + 1]) == dashed;
    if (in_stretch && !open) {
      stretches.push_back({line.points[i]});
    }
    if (in_stretch) {
      stretches.back().push_back(line.points[i + 1]);
    }
    open = in_stretch;
  }
  return stretches;
}

/// A here-document of numbers, with a blank line between stretches.
std::string Data(const std::string& name, const std::vector<PlotPoints>& stretches) {
  std::string data = name + " << END\n";
  for (const PlotPoints& stretch : stretches) {
    for (const auto& [level, value] : stretch) {
      data += fmt::format("{} {}\n", level, value);
    }
    data += "\n";
  }
  return data + "END\n";
}

std::vector<PlotPoints> DrawnStretches(const PlotLine& line, const Axis& levels, const Axis& values, bool dashed,
                                       const Device& device) {
  auto stretches = Stretches(line, values, dashed);
  for (PlotPoints& stretch : stretches) {
    stretch = DrawnLine(stretch, levels, device.columns);
  }
  return stretches;
}

/// A here-document of the levels, low and high values of a band.
std::string Data(const std::string& name, const PlotBand& band) {
  std::string data = name + " << END\n";
  for (size_t i = 0; i < band.low.size(); ++i) {
    data += fmt::format("{} {} {}\n", band.low[i].first, band.low[i].second, band.high[i].second);
  }
  return data + "END\n";
}

/// The script of one pane. Bands are behind the lines. Lines are before all others: a text terminal then gives each line
/// its own character.
std::string ScriptOf(const PlotPane& pane, const Axis& levels, const Device& device, Texts* texts) {
  const Axis values = ValuesOf(pane, device.value_tics);
  std::string data;
  std::string lines;
  std::string others;
  for (size_t i = 0; i < pane.bands.size(); ++i) {
    const PlotBand& band = pane.bands[i];
    data += Data(fmt::format("$band{}", i), band);
    lines += fmt::format("{}$band{} using 1:2:3 with filledcurves fillcolor rgb '{}' title {}",
                         lines.empty() ? "plot " : ", ", i, band.colour, texts->Add(band.name));
  }
  for (size_t i = 0; i < pane.lines.size(); ++i) {
    const PlotLine& line = pane.lines[i];
    const std::string colour = fmt::format("linecolor rgb '{}'", line.colour);
    const std::string title = "title " + texts->Add(line.name);
    const auto solid = DrawnStretches(line, levels, values, false, device);
    const auto dashed = DrawnStretches(line, levels, values, true, device);
    const auto marks = DrawnMarks(line.measured, levels, values, device.columns, device.rows);
    lines += fmt::format("{}{} with lines linewidth 2 {} {}", lines.empty() ? "plot " : ", ",
                         solid.empty() ? "keyentry" : fmt::format("$solid{}", i), colour, title);
    data += solid.empty() ? "" : Data(fmt::format("$solid{}", i), solid);
    if (!dashed.empty()) {
      data += Data(fmt::format("$dashed{}", i), dashed);
      others += fmt::format(", $dashed{} with {} {} notitle", i, device.extrapolated, colour);
    }
    if (!marks.empty()) {
      data += Data(fmt::format("$marks{}", i), {marks});
      others += fmt::format(", $marks{} with points pointtype {} pointsize 0.7 {} notitle", i,
                            device.symbols[line.second_panel ? 1 : 0], colour);
    }
  }
  return data + Tics("y", values) + (pane.logarithmic ? "set logscale y\n" : "unset logscale y\n") + lines + others +
         "\n";
}

std::string TitleOf(const Plot& plot, const Device& device, Texts* texts) {
  if (!plot.legend) {
    return texts->Add(plot.title);
  }
  const std::string legend = fmt::format("(marks: measured, {}: extrapolated)", device.stroke);
  const bool one_line = plot.title.size() + legend.size() < device.title_length;
  return one_line ? texts->Add(plot.title + " " + legend) : texts->Add(plot.title) + R"(."\n".)" + texts->Add(legend);
}

std::string ScriptOf(const Plot& plot, const Device& device, PictureFormat format) {
  const Axis levels = LevelsOf(plot, device.level_tics);
  Texts texts;
  const std::string title = TitleOf(plot, device, &texts);
  std::string panes;
  for (size_t i = 0; i < plot.panes.size(); ++i) {
    const PlotPane& pane = plot.panes[i];
    constexpr double kSecond = 0.38;  // Share of the height.
    if (plot.panes.size() > 1) {
      panes += i == 0 ? fmt::format("set multiplot\nset size 1,{0}\nset origin 0,{1}\n", 1.0 - kSecond, kSecond)
                      : fmt::format("unset title\nset size 1,{}\nset origin 0,0\n", kSecond);
    }
    const bool upright = format == PictureFormat::kText;  // A text terminal has little room beside the axis.
    panes += "set xlabel " + texts.Add(plot.levels + NotShown(pane)) + "\n";
    panes += "set ylabel " + texts.Add(upright ? pane.unit : pane.what + " in " + pane.unit) + "\n";
    panes += ScriptOf(pane, levels, device, &texts);
  }
  return "set encoding utf8\nset terminal " + device.terminal + "\n" + texts.Document() + "set title " + title +
         "\nset key below reverse Left samplen 2 " + device.key +
         "\nset grid\nset tics nomirror\nset border 3\nset lmargin 11\n" + Tics("x", levels) + panes;
}

std::string InXml(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    escaped += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : std::string(1, c);
  }
  return escaped;
}

// gnuplot's own title is "Gnuplot", and its title option accepts only letters and digits.
void SetTitle(const std::string& title, std::string* svg) {
  const std::string gnuplots = "<title>Gnuplot</title>";
  const size_t place = svg->find(gnuplots);
  if (place != std::string::npos) {
    svg->replace(place, gnuplots.size(), "<title>" + InXml(title) + "</title>");
  }
}

}  // namespace

PictureFormat PictureFormatOf(const std::string& output, const std::string& format) {
  const auto ends = [&](const std::string& end) {
    return output.size() >= end.size() && output.compare(output.size() - end.size(), end.size(), end) == 0;
  };
  if (output.empty() && format.empty()) {
    return PictureFormat::kText;
  }
  if (format == "png" || (format.empty() && ends(".png"))) {
    return PictureFormat::kPng;
  }
  if (format == "svg" || output == "-" || ends(".svg")) {
    return PictureFormat::kSvg;
  }
  throw Failure(fmt::format("{}: the name must end with .svg or .png, or --format must be given", output));
}

std::string Drawn(const Plot& plot, PictureFormat format) {
  std::string picture = RunGnuplot(ScriptOf(plot, DeviceFor(format, plot.panes.size()), format));
  if (format == PictureFormat::kSvg) {
    SetTitle(plot.title, &picture);
  }
  if (format == PictureFormat::kText) {
    picture.erase(std::remove(picture.begin(), picture.end(), '\f'), picture.end());
  }
  return picture;
}

}  // namespace blnits
