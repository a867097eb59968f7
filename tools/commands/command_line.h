#pragma once

#include <CLI/CLI.hpp>

namespace blnits {

/// Adds "help [COMMAND]", which prints the same as "--help". It knows all subcommands that `app` has when it runs.
void AddHelpCommand(CLI::App* app);

/// Parses the command line and runs its subcommand. Prints a mistake in it to standard error, with the likely name.
/// \return whether the command line was correct. \throws what the subcommand throws.
bool RunCommandLine(CLI::App* app, int argc, char** argv);

}  // namespace blnits
