#include "support/plot.h"

#include <fmt/format.h>

#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "support/failure.h"
#include "support/output_file.h"
#include "support/terminal.h"

namespace blnits {
namespace {

/// Text in a gnuplot script.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) {
    quoted += c == '\'' ? "''" : std::string(1, c);
  }
  return quoted + "'";
}

/// gnuplot's way to draw.
struct Device {
  std::string terminal;
  std::string extrapolated;  ///< How lines are drawn there,
  const char* stroke;        ///< and what that is called.
  int symbols[2];            ///< That mark what was measured on the first panel and on the second.
};

Device DeviceFor(const std::string& path) {
  const std::string end = path.size() < 4 ? "" : path.substr(path.size() - 4);
  const char* const dashes = "lines linewidth 2 dashtype 2";
  if (path.empty()) {
    const auto [columns, rows] = SizeOfTerminal();
    return {fmt::format("dumb size {},{} noenhanced {}", columns, rows - 1, WantsColours() ? "ansi256" : "mono"),
            "dots",
            "dots",
            {15, 24}};  // O and X
  }
  if (end == ".svg") {
    return {"svg size 1000,640 noenhanced font 'sans-serif,13' background rgb 'white'", dashes, "dashes", {7, 5}};
  }
  if (end == ".png") {
    return {"pngcairo size 1000,640 noenhanced font 'sans,11'", dashes, "dashes", {7, 5}};
  }
  throw Failure(fmt::format("{}: the name of a picture ends with .svg or .png", path));
}

// Three columns: level; nits where the line is solid; nits where it is dashed. Both have the points where they meet.
std::string DataOf(const PlotLine& line) {
  const auto dashed = [&](size_t i) { return i < line.extrapolated.size() && line.extrapolated[i]; };
  std::string data;
  for (size_t i = 0; i < line.levels.size(); ++i) {
    const bool meets_dashed = dashed(i) || (i > 0 && dashed(i - 1)) || dashed(i + 1);
    data +=
        fmt::format("{} {} {}\n", line.levels[i], dashed(i) ? NAN : line.nits[i], meets_dashed ? line.nits[i] : NAN);
  }
  return data;
}

// In characters, each line has a character of its own as long as all lines come first.
std::string ScriptOf(const Plot& plot, const Device& device, const std::string& path) {
  std::string script = "set terminal " + device.terminal + "\nset encoding utf8\n";
  script += path.empty() ? "" : "set output " + Quoted(path) + "\n";
  script += "set title " + Quoted(fmt::format("{} (marks: measured, {}: extrapolated)", plot.title, device.stroke));
  script += "\nset xlabel 'client level'\nset ylabel 'luminance in nits'\n";
  script += plot.lines.size() > 6 ? "set key below" : "set key left top";
  script += " reverse Left\nset grid\nset tics nomirror\nset border 3\nset autoscale xfix\n";
  script += plot.logarithmic ? "set logscale y\n" : "set yrange [0:*]\n";
  std::string solid;
  std::string others;
  for (size_t i = 0; i < plot.lines.size(); ++i) {
    const PlotLine& line = plot.lines[i];
    const std::string colour = "linecolor rgb " + Quoted(line.colour);
    solid += i > 0 ? ", " : "plot ";
    if (line.levels.empty()) {
      solid += fmt::format("keyentry with lines linewidth 2 {} title {}", colour, Quoted(line.name));
      continue;
    }
    script += fmt::format("$line{} << EOD\n{}EOD\n", i, DataOf(line));
    solid += fmt::format("$line{} using 1:2 with lines linewidth 2 {} title {}", i, colour, Quoted(line.name));
    others += fmt::format(", $line{} using 1:3 with {} {} notitle", i, device.extrapolated, colour);
    if (!line.measured.empty()) {
      script += fmt::format("$measured{} << EOD\n", i);
      for (const auto& point : line.measured) {
        script += fmt::format("{} {}\n", point.bl, point.nits);
      }
      script += "EOD\n";
      others += fmt::format(", $measured{} using 1:2 with points pointtype {} pointsize 0.7 {} notitle", i,
                            device.symbols[line.second_panel ? 1 : 0], colour);
    }
  }
  return script + solid + others + "\n";
}

void RunGnuplot(const std::string& script) {
  if (std::system("command -v gnuplot > /dev/null") != 0) {
    throw Failure(
        "gnuplot draws the pictures and is not installed (Debian's package gnuplot-nox); --csv works without");
  }
  std::fflush(stdout);
  std::signal(SIGPIPE, SIG_IGN);  // when it ends early, its status says so
  std::FILE* const gnuplot = popen("gnuplot", "w");
  if (gnuplot != nullptr) {
    std::fputs(script.c_str(), gnuplot);
  }
  if (gnuplot == nullptr || pclose(gnuplot) != 0) {
    throw Failure("gnuplot has drawn nothing");
  }
}

}  // namespace

void Draw(const Plot& plot, const std::string& path) {
  const Device device = DeviceFor(path);
  if (path.empty()) {
    RunGnuplot(ScriptOf(plot, device, path));
    return;
  }
  WriteWhole(path, [&](const std::string& unfinished) { RunGnuplot(ScriptOf(plot, device, unfinished)); });
}

}  // namespace blnits
