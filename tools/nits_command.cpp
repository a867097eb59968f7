#include <fmt/format.h>

#include <iostream>
#include <memory>

#include "commands.h"
#include "numbers.h"
#include "panel.h"

namespace blnits {
namespace {

struct Options {
  std::string panel;
  std::vector<uint32_t> levels;
  uint32_t coverage = 100;
  bool hdr = false;
  bool table = false;
};

void Run(const Options& options, CapturedLog* log) {
  Panel panel(options.panel, log);
  if (options.table) {
    fmt::print("{:>10}  {:>20}  {:>10}\n", "level", "nits", "coverage %");
  }
  const auto convert = [&](uint32_t level) {
    const double nits = panel.ToNits(level, options.coverage, options.hdr);
    if (options.table) {
      fmt::print("{:>10}  {:>20}  {:>10}\n", level, nits, options.coverage);
    } else {
      fmt::print("{}\n", nits);
    }
  };
  if (options.levels.empty()) {
    ForEachLine<uint32_t>(std::cin, "standard input", "a backlight level", convert);
  }
  for (const uint32_t level : options.levels) {
    convert(level);
  }
}

}  // namespace

void AddNitsCommand(CLI::App* app, CapturedLog* log) {
  auto* const command = app->add_subcommand("nits", "Convert client backlight levels to luminance in nits");
  auto options = std::make_shared<Options>();
  command->add_option("PANEL", options->panel, "Panel's name, or path to its backlight_calib_<panel>.xml")->required();
  command
      ->add_option("-l,--level", options->levels,
                   "Levels, 0 to max_os_bl; without it they are read from standard input, one a line")
      ->check(CLI::Range(uint32_t{0}, UINT32_MAX, "LEVEL"));
  command->add_option("-c,--coverage", options->coverage, "Share of the screen that is lit, 1 to 100 per cent")
      ->check(CLI::Range(uint32_t{0}, UINT32_MAX, "PERCENT"))
      ->capture_default_str();
  command->add_flag("--hdr", options->hdr, "Use the high-brightness curves");
  command->add_flag("--table", options->table, "Print level, nits and coverage in columns");
  command->footer("Example: blnits nits samples/backlight_calib_lcd_small.xml --level 0 60 255 --coverage 55");
  command->callback([options, log] { Run(*options, log); });
}

}  // namespace blnits
