#pragma once

#include <fmt/format.h>

#include <iostream>
#include <memory>
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
};

/// The texts in which two conversions differ.
struct ConversionNames {
  const char* given;   ///< heading of the first column
  const char* result;  ///< heading of the second column
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

/// Converts `given`, or the numbers on standard input if `given` is empty. Prints one line for each: the result, or
/// with the table option input, result and coverage.
template <class Given, class Convert>
void PrintConversions(const ConversionOptions& options, const std::vector<Given>& given, const ConversionNames& names,
                      Convert convert) {
  const auto print_columns = [](const auto& first, const auto& second, const auto& third) {
    fmt::print("{:>20}  {:>20}  {:>10}\n", first, second, third);
  };
  if (options.table) {
    print_columns(names.given, names.result, "coverage %");
  }
  const auto print = [&](Given number) {
    const auto result = convert(number);
    if (options.table) {
      print_columns(number, result, options.coverage);
    } else {
      fmt::print("{}\n", result);
    }
  };
  if (given.empty()) {
    ForEachLine<Given>(std::cin, "standard input", names.what, print);
  }
  for (const Given number : given) {
    print(number);
  }
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
    PrintConversions(*options, *given, names,
                     [&](Given number) { return (panel.*convert)(number, options->coverage, options->hdr); });
  });
  return command.Add(option, given.get(), help);
}

}  // namespace blnits
