#include "commands/conversion.h"

#include "support/csv.h"
#include "support/json.h"

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

bool IsDimmed(const ConversionOptions& options) { return options.dimming || !options.luts.dimming.empty(); }

nlohmann::ordered_json ReportOf(const Panel& panel, const char* name, const ConversionOptions& options,
                                const std::vector<Conversion>& conversions) {
  auto report = JsonReportOn(panel, name);
  report.update(JsonTable(options.hdr, options.coverage));
  report["dimmed"] = IsDimmed(options);
  auto& list = report["conversions"] = nlohmann::ordered_json::array();
  for (const auto& [level, nits] : conversions) {
    list.push_back({{"level", level}, {"nits", nits}});
  }
  return report;
}

}  // namespace

void AddPanelArgument(const Subcommand& command, std::string* panel) {
  command.Add("PANEL", panel, "Panel's name, or path to its backlight_calib_<panel>.xml").Required();
}

void AddFormatOption(const Subcommand& command, std::string* format) {
  command.Add("--format", format, "text, or json: one object on one line")
      .OneOf({"text", "json"})
      .Takes("FORMAT")
      .ShowDefault();
}

void AddLutOptions(const Subcommand& command, LutFiles* luts) {
  const Option dimming = command.Add("--dimming-lut", &luts->dimming,
                                     "Switch dimming on with the LUT of this file: a dimmed panel level for each "
                                     "panel level 0 to max_bl, one on each line or the last column of a CSV file");
  const Option attenuation = command.Add("--attenuation", &luts->attenuation,
                                         "File of the attenuation LUT: a factor for each client level 0 to "
                                         "max_os_bl, in the same format");
  dimming.Needs(attenuation);
  attenuation.Needs(dimming);
}

void AddConversionOptions(const Subcommand& command, ConversionOptions* options) {
  AddPanelArgument(command, &options->panel);
  command.Add("-c,--coverage", &options->coverage, "Share of the screen that is lit, 1 to 100 per cent")
      .Between(0, UINT32_MAX)
      .Takes("PERCENT")
      .ShowDefault();
  command.AddFlag("--hdr", &options->hdr, "Use the high-brightness curves");
  command.AddFlag("--table", &options->table, "Print input, result and coverage in columns");
  command.AddFlag("--dimming", &options->dimming, "Switch dimming on; if no LUTs are set, every level has 0 nits");
  AddLutOptions(command, &options->luts);
  AddFormatOption(command, &options->format);
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
  if (IsDimmed(options)) {
    SwitchDimmingOn(options.luts, &panel);
  }
  return panel;
}

nlohmann::ordered_json JsonReportOn(const Panel& panel, const char* name) {
  auto report = JsonReport(name);
  report["panel"] = panel.Name();
  report["file"] = panel.File();
  return report;
}

void PrintJson(const Panel& panel, const char* name, const ConversionOptions& options,
               const std::vector<Conversion>& conversions) {
  fmt::print("{}\n", JsonLine(ReportOf(panel, name, options, conversions)));
}

}  // namespace blnits
