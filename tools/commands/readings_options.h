#pragma once

#include <CLI/CLI.hpp>

#include "readings/readings.h"

namespace blnits {

/// Adds the options that say how files of measurements are read. `top_level` stays the caller's.
void AddReadingsOptions(CLI::App* command, ReadingsOptions* options);

/// The kinds of files, one on each line, for the end of a subcommand's help.
std::string HelpOnReadingKinds();

}  // namespace blnits
