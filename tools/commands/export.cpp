#include <map>
#include <memory>
#include <optional>
#include <sstream>

#include "commands/commands.h"
#include "commands/conversion.h"
#include "commands/slider_options.h"
#include "exporting/displayconfig.h"
#include "exporting/pwm_backlight.h"
#include "foreign_text.h"
#include "support/failure.h"
#include "support/json.h"
#include "support/numbers.h"
#include "support/output_file.h"

namespace blnits {
namespace {

constexpr const char* kDisplayConfig = "displayconfig";
constexpr const char* kPwmBacklight = "pwm-backlight";

const std::map<std::string, PwmIndex> kIndices = {
    {"client", PwmIndex::kClient}, {"linear", PwmIndex::kLinear}, {"steps", PwmIndex::kSteps}};

struct ExportOptions {
  std::string panel;
  std::string to;
  std::optional<double> minimum_lux;
  std::vector<uint32_t> timing;
  std::string index = "client";
  PwmOptions pwm;  ///< Its slider also has the curve of a display configuration.
  std::string output = "-";
  std::string format = "text";
};

/// A file for another system, and what to tell about it.
struct Exported {
  std::string text;
  std::vector<std::pair<std::string, std::string>> facts;  ///< For people: a heading and a text each.
  nlohmann::ordered_json object;                           ///< The same for machines.
  std::vector<std::string> warnings;
};

std::optional<HighBrightnessUse> UseOf(const ExportOptions& options) {
  return options.minimum_lux ? std::optional(HighBrightnessUse{*options.minimum_lux, options.timing}) : std::nullopt;
}

Exported DisplayConfig(Panel* panel, const ExportOptions& options) {
  const Slider& curve = options.pwm.slider;
  const auto use = UseOf(options);
  const DisplayConfigMap map = DisplayConfigOf(panel, {curve.coverage, curve.hdr, use});
  std::ostringstream file;
  WriteDisplayConfig(*panel, map, use, file);
  Exported exported = {file.str(), {}, {}, map.warnings};
  exported.facts = {{"curve", map.curve}, {"points", fmt::format("{}", map.points.size())}};
  exported.object = {{"mode", JsonModeOf(curve.hdr)},
                     {"coverage", curve.coverage},
                     {"points", map.points.size()},
                     {"transition", nullptr}};
  if (map.transition) {
    const auto [level, nits] = *map.transition;
    exported.facts.emplace_back("transition", fmt::format("level {}, {} nits", level, nits));
    exported.object["transition"] = {{"level", level}, {"nits", nits}};
  }
  return exported;
}

Exported PwmTree(Panel* panel, const ExportOptions& options) {
  PwmOptions pwm = options.pwm;
  pwm.index = kIndices.at(options.index);
  const PwmBacklight backlight = PwmBacklightOf(panel, pwm);
  std::ostringstream file;
  WritePwmBacklight(*panel, backlight, pwm, file);
  const size_t count = backlight.panel_levels.size();
  return {file.str(),
          {{"index", options.index},
           {"levels", fmt::format("{}", count)},
           {"default", fmt::format("index {}", backlight.default_level)}},
          {{"index", options.index}, {"entries", count}, {"default_index", backlight.default_level}},
          backlight.warnings};
}

void PrintText(const Panel& panel, const Exported& exported, const ExportOptions& options, std::FILE* told) {
  const auto print = [&](const std::string& heading, const std::string& text) {
    fmt::print(told, "{:<12}{}\n", heading, Printable(text));
  };
  print("panel", panel.Name());
  print("file", panel.File());
  print("to", options.to);
  print("output", options.output == "-" ? "standard output" : options.output);
  for (const auto& [heading, text] : exported.facts) {
    print(heading, text);
  }
  for (const std::string& warning : exported.warnings) {
    print("warning", warning);
  }
}

nlohmann::ordered_json ReportOf(const Panel& panel, const Exported& exported, const ExportOptions& options) {
  auto report = JsonReportOn(panel, "export");
  report["to"] = options.to;
  report["output_file"] = options.output;
  report.update(exported.object);
  report["warnings"] = exported.warnings;
  return report;
}

void Run(const ExportOptions& options, CapturedLog* log) {
  Panel panel(options.panel, log);
  KeepInputs({panel.File()}, options.output);
  const Exported exported = options.to == kDisplayConfig ? DisplayConfig(&panel, options) : PwmTree(&panel, options);
  WriteWhole(options.output, [&](std::ostream& file) { file << exported.text; });
  std::FILE* const told = options.output == "-" ? stderr : stdout;
  if (options.format == "json") {
    fmt::print(told, "{}\n", JsonLine(ReportOf(panel, exported, options)));
  } else {
    PrintText(panel, exported, options, told);
  }
}

/// The options that hold for one kind of file only, or for one kind of index.
struct SpecialOptions {
  std::vector<std::pair<const char*, Option>> displayconfig;
  std::vector<std::pair<const char*, Option>> pwm_backlight;
  std::vector<std::pair<const char*, Option>> steps;
};

/// Refuses options that have no effect.
void CheckOptions(const SpecialOptions& special, const ExportOptions& options) {
  const auto refuse = [](const auto& group, const char* option, const std::string& value, const std::string& expected) {
    for (const auto& [name, each] : group) {
      if (value != expected && each.IsGiven()) {
        throw Failure(fmt::format("{}: found with {} {}, expected with {} {}", name, option, value, option, expected));
      }
    }
  };
  refuse(special.displayconfig, "--to", options.to, kDisplayConfig);
  refuse(special.pwm_backlight, "--to", options.to, kPwmBacklight);
  refuse(special.steps, "--to", options.to, kPwmBacklight);
  refuse(special.steps, "--index", options.index, "steps");
}

/// The three numbers of "1800,300,60"; empty if the text is something else.
std::vector<uint32_t> TimingIn(const std::string& text) {
  std::vector<uint32_t> seconds;
  std::istringstream numbers(text + ",");
  for (std::string number; std::getline(numbers, number, ',');) {
    seconds.push_back(0);
    if (!ParseNumber(number, &seconds.back())) {
      return {};
    }
  }
  return seconds.size() == 3 ? seconds : std::vector<uint32_t>();
}

bool IsLabel(const std::string& text) {
  const std::string letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_";
  return text.find_first_of(letters) == 0 && text.find_first_not_of(letters + "0123456789") == std::string::npos;
}

void AddDisplayConfigOptions(const Subcommand& command, const Option& hdr, ExportOptions* options,
                             SpecialOptions* special) {
  const Option lux =
      command.Add("--minimum-lux", &options->minimum_lux, "displayconfig: the least ambient light for high brightness")
          .NotNegative()
          .Takes("LUX");
  const Option timing =
      command
          .Add(
              "--hbm-timing", [options](const std::string& text) { options->timing = TimingIn(text); },
              "displayconfig: whole seconds of the window, of the longest use of high brightness within it, and of\n"
              "the shortest use")
          .Check([](const std::string& text) {
            return TimingIn(text).empty() ? fmt::format("found \"{}\", expected WINDOW,MAX,MIN in whole seconds", text)
                                          : std::string();
          })
          .Takes("WINDOW,MAX,MIN");
  special->displayconfig = {{"--minimum-lux", lux.Needs(timing).Needs(hdr)}, {"--hbm-timing", timing.Needs(lux)}};
}

void AddPwmOptions(const Subcommand& command, ExportOptions* options, SpecialOptions* special) {
  const Option index = command
                           .Add("--index", &options->index,
                                "pwm-backlight: what the index counts: client (client levels), linear (linearized "
                                "levels)\nor steps (0 is off, then --count positions as blnits steps chooses them)")
                           .OneOf({"client", "linear", "steps"})
                           .Takes("INDEX")
                           .ShowDefault();
  const Option default_level = command
                                   .Add("--default-level", &options->pwm.default_level,
                                        "pwm-backlight: the index after the start; default: the middle one")
                                   .Takes("INDEX");
  const Option label =
      command.Add("--label", &options->pwm.label, "pwm-backlight: label of the backlight's node in the device tree")
          .Check([](const std::string& text) {
            return IsLabel(text) ? std::string()
                                 : fmt::format("found \"{}\", expected letters, digits and underscores", text);
          })
          .Takes("LABEL")
          .ShowDefault();
  special->pwm_backlight = {{"--index", index}, {"--default-level", default_level}, {"--label", label}};
}

}  // namespace

void AddExportCommand(CLI::App* app, CapturedLog* log) {
  const Subcommand command(app, "export", "Write a calibration as a file of another system");
  auto options = std::make_shared<ExportOptions>();
  SpecialOptions special;
  AddPanelArgument(command, &options->panel);
  command
      .Add("--to", &options->to,
           "displayconfig (Android's display configuration) or pwm-backlight (a device-tree overlay)")
      .Required()
      .OneOf({kDisplayConfig, kPwmBacklight})
      .Takes("KIND");
  const SliderOptions slider = AddSliderOptions(command, &options->pwm.slider);
  special.steps = {{"--count", slider.count}, {"--metric", slider.metric}, {"--min-nits", slider.min_nits}};
  AddDisplayConfigOptions(command, slider.hdr, options.get(), &special);
  AddPwmOptions(command, options.get(), &special);
  AddFormatOption(command, &options->format);
  command.Add("-o,--output", &options->output, "The file; -: standard output, and the report goes to standard error")
      .Takes("FILE")
      .ShowDefault();
  command.Footer(
      "displayconfig holds one curve. With --hdr, and if both curves agree up to the end of the standard table, it "
      "also\n"
      "has the transition point there, and needs --minimum-lux and --hbm-timing. Luminances must rise strictly.\n"
      "pwm-backlight holds panel levels as duties, no luminances; max_bl is a duty of 100 %. --count, --metric and\n"
      "--min-nits are for --index steps.\n"
      "Example: blnits export samples/backlight_calib_oled_hbm.xml --to displayconfig --hdr --minimum-lux 8000\n"
      "           --hbm-timing 1800,300,60 -o display_config.xml");
  command.Action([options, special, log] {
    CheckOptions(special, *options);
    Run(*options, log);
  });
}

}  // namespace blnits
