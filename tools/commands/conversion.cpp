#include "commands/conversion.h"

#include <cstdlib>

#include "support/csv.h"

namespace blnits {
namespace {

template <class Number>
std::vector<Number> ReadLut(const std::string& path, const char* what, const char* levels, uint32_t last,
                            const char* attribute) {
  auto numbers = ReadColumn<Number>(path, what);
  if (numbers.size() != uint64_t{last} + 1) {
    throw Failure(fmt::format("{}: found {} numbers, expected {}: one for each {} level 0 to {} ({})", path,
                              numbers.size(), uint64_t{last} + 1, levels, last, attribute));
  }
  return numbers;
}

CLI::Validator Number(const char* expected, bool negative) {
  return {[=](const std::string& text) {
            const bool fits = IsNumber(text) && (negative || std::strtod(text.c_str(), nullptr) >= 0.0);
            return fits ? std::string() : fmt::format("found \"{}\", expected {}", text, expected);
          },
          ""};
}

}  // namespace

CLI::Validator Finite() { return Number("a number", true); }

CLI::Validator NotNegative() { return Number("a number that is not negative", false); }

void AddPanelArgument(CLI::App* command, std::string* panel) {
  command->add_option("PANEL", *panel, "Panel's name, or path to its backlight_calib_<panel>.xml")->required();
}

void AddFormatOption(CLI::App* command, std::string* format) {
  command->add_option("--format", *format, "text, or json: one object on each line")
      ->check(CLI::IsMember({"text", "json"}))
      ->type_name("FORMAT")
      ->capture_default_str();
}

void AddLutOptions(CLI::App* command, LutFiles* luts) {
  auto* const dimming =
      command->add_option("--dimming-lut", luts->dimming,
                          "Switch dimming on with the LUT of this file: a dimmed panel level for each "
                          "panel level 0 to max_bl, one on each line or the last column of a CSV file");
  auto* const attenuation = command->add_option("--attenuation", luts->attenuation,
                                                "File of the attenuation LUT: a factor for each client level 0 to "
                                                "max_os_bl, in the same format");
  dimming->needs(attenuation);
  attenuation->needs(dimming);
}

void AddConversionOptions(CLI::App* command, ConversionOptions* options) {
  AddPanelArgument(command, &options->panel);
  command->add_option("-c,--coverage", options->coverage, "Share of the screen that is lit, 1 to 100 per cent")
      ->check(CLI::Range(uint32_t{0}, UINT32_MAX, "PERCENT"))
      ->capture_default_str();
  command->add_flag("--hdr", options->hdr, "Use the high-brightness curves");
  command->add_flag("--table", options->table, "Print input, result and coverage in columns");
  command->add_flag("--dimming", options->dimming, "Switch dimming on; if no LUTs are set, every level has 0 nits");
  AddLutOptions(command, &options->luts);
}

void SwitchDimmingOn(const LutFiles& files, Panel* panel) {
  if (!files.dimming.empty()) {
    const auto range = panel->Get<zarn::BLRange>(zarn::kBLRange);
    const auto bl = ReadLut<uint32_t>(files.dimming, "a panel level", "panel", range.max_bl, "max_bl");
    const auto pcc = ReadLut<double>(files.attenuation, "a factor", "client", range.max_os_bl, "max_os_bl");
    panel->SetDimmingLuts(bl, pcc);
  }
  panel->SwitchDimmingOn();
}

Panel OpenPanel(const ConversionOptions& options, CapturedLog* log) {
  Panel panel(options.panel, log);
  if (options.dimming || !options.luts.dimming.empty()) {
    SwitchDimmingOn(options.luts, &panel);
  }
  return panel;
}

}  // namespace blnits
