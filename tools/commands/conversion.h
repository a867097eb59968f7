#pragma once

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <string>
#include <vector>

#include "panel/panel.h"
#include "support/numbers.h"

namespace blnits {

/// Files of the LUTs that dim a panel: both or none.
struct LutFiles {
  std::string dimming;
  std::string attenuation;
};

/// What the two conversions ask for alike.
struct ConversionOptions {
  std::string panel;
  uint32_t coverage = 100;  // per cent
  bool hdr = false;
  bool table = false;
  bool dimming = false;
  LutFiles luts;
};

/// What an option's number must be: finite and in decimal digits; likewise and not negative.
CLI::Validator Finite();
CLI::Validator NotNegative();

/// The positional argument PANEL of a subcommand.
void AddPanelArgument(CLI::App* command, std::string* panel);

/// "--format": "text" for people, "json" for machines.
void AddFormatOption(CLI::App* command, std::string* format);

/// "--dimming-lut" and "--attenuation".
void AddLutOptions(CLI::App* command, LutFiles* luts);

void AddConversionOptions(CLI::App* command, ConversionOptions* options);

/// Switches dimming on, with the LUTs of the files where there are some. \throws Failure when a file is wrong.
void SwitchDimmingOn(const LutFiles& files, Panel* panel);

/// Opens the panel, with dimming as the options ask for it. \throws as Panel; Failure when a LUT's file is wrong.
Panel OpenPanel(const ConversionOptions& options, CapturedLog* log);

/// Converts `given`, or where there is nothing in it the numbers on standard input, and prints a line for each: the
/// result, or with the table option what was given, the result and the coverage.
/// \param given_name, result_name head the columns. \param what names what a line of standard input holds.
template <class Given, class Convert>
void PrintConversions(const ConversionOptions& options, const std::vector<Given>& given, const char* given_name,
                      const char* result_name, const char* what, Convert convert) {
  const auto print_columns = [](const auto& first, const auto& second, const auto& third) {
    fmt::print("{:>20}  {:>20}  {:>10}\n", first, second, third);
  };
  if (options.table) {
    print_columns(given_name, result_name, "coverage %");
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
    ForEachLine<Given>(std::cin, "standard input", what, print);
  }
  for (const Given number : given) {
    print(number);
  }
}

}  // namespace blnits
