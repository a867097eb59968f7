#pragma once

#include "commands/subcommand.h"
#include "readings/readings.h"

namespace blnits {

/// Adds "--from", one of ReadingKinds().
void AddKindOption(const Subcommand& command, const char* help, std::string* kind);

/// Adds the options that say how files of measurements are read. `top_level` stays the caller's.
void AddReadingsOptions(const Subcommand& command, ReadingsOptions* options);

/// The kinds of files, one on each line, for the end of a subcommand's help.
std::string HelpOnReadingKinds();

}  // namespace blnits
