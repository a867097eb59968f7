#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "commands/subcommand.h"
#include "panel/panel.h"
#include "support/numbers.h"

namespace blnits {

/// The two files of dimming LUTs. Both are set, or neither.
struct LutFiles {
  std::string dimming;
  std::string attenuation;
};

/// The options that the two conversions share.
struct ConversionOptions {
  std::string panel;
  uint32_t coverage = 100;  // per cent
  bool hdr = false;
  bool table = false;
  bool dimming = false;
  LutFiles luts;
  std::string format = "text";
};

/// The texts in which two conversions differ.
struct ConversionNames {
  const char* given;   ///< heading of the first column
  const char* result;  ///< heading of the second column, and name of the subcommand
  const char* what;    ///< what a line of standard input holds
};

/// Adds the positional argument PANEL to a subcommand.
void AddPanelArgument(const Subcommand& command, std::string* panel);

/// Adds "--format": "text" for people, "json" for machines.
void AddFormatOption(const Subcommand& command, std::string* format);

/// Adds "--dimming-lut" and "--attenuation".
void AddLutOptions(const Subcommand& command, LutFiles* luts);

void AddConversionOptions(const Subcommand& command, ConversionOptions* options);

/// Switches dimming on, with the LUTs of the files if there are files. \throws Failure if a file is wrong.
void SwitchDimmingOn(const LutFiles& files, Panel* panel);

/// Opens the panel, and switches dimming on if the options say so. \throws as Panel; Failure if a LUT file is wrong.
Panel OpenPanel(const ConversionOptions& options, CapturedLog* log);

/// The beginning of a JSON report on one panel. \param name of the report, such as "nits".
nlohmann::ordered_json JsonReportOn(const Panel& panel, const char* name);

/// Calls `use` with each of the given numbers, or with those on standard input if none is given.
template <class Given, class Use>
void ForEachGiven(const std::vector<Given>& given, const ConversionNames& names, Use use) {
  if (given.empty()) {
    ForEachLine<Given>(std::cin, "standard input", names.what, use);
  }
  std::for_each(given.begin(), given.end(), use);
}

/// A number and its conversion, whichever of the two was given.
struct Conversion {
  Conversion(uint32_t its_level, double its_nits) : level(its_level), nits(its_nits) {}
  Conversion(double its_nits, uint32_t its_level) : level(its_level), nits(its_nits) {}

  uint32_t level;
  double nits;
};

/// Prints conversions as a JSON report. \param name of the report: the subcommand's.
void PrintJson(const Panel& panel, const char* name, const ConversionOptions& options,
               const std::vector<Conversion>& conversions);

/// Converts the given numbers and prints one line for each: the result, or with the table option input, result and
/// coverage.
template <class Given, class Convert>
void PrintConversions(const ConversionOptions& options, const std::vector<Given>& given, const ConversionNames& names,
                      Convert convert) {
  const auto print_columns = [](const auto& first, const auto& second, const auto& third) {
    fmt::print("{:>20}  {:>20}  {:>10}\n", first, second, third);
  };
  if (options.table) {
    print_columns(names.given, names.result, "coverage %");
  }
  ForEachGiven(given, names, [&](Given number) {
    const auto result = convert(number);
    if (options.table) {
      print_columns(number, result, options.coverage);
    } else {
      fmt::print("{}\n", result);
    }
  });
}

/// Adds the options of a conversion to `command`, and what it does: convert with `convert`. `log` outlives the command.
/// \return the option that takes the input numbers.
template <class Given, class Result>
Option AddConversion(const Subcommand& command, CapturedLog* log, const char* option, const char* help,
                     const ConversionNames& names, Result (Panel::*convert)(Given, uint32_t, bool)) {
  auto options = std::make_shared<ConversionOptions>();
  auto given = std::make_shared<std::vector<Given>>();
  AddConversionOptions(command, options.get());
  command.Action([=] {
    Panel panel = OpenPanel(*options, log);
    const auto result = [&](Given number) { return (panel.*convert)(number, options->coverage, options->hdr); };
    if (options->format == "json") {
      std::vector<Conversion> conversions;
      ForEachGiven(*given, names, [&](Given number) { conversions.emplace_back(number, result(number)); });
      PrintJson(panel, names.result, *options, conversions);
    } else {
      PrintConversions(*options, *given, names, result);
    }
  });
  return command.Add(option, given.get(), help);
}

}  // namespace blnits
