#pragma once

#include <CLI/CLI.hpp>

namespace blnits {

/// Adds "help [COMMAND]", which prints what "--help" prints. Of all subcommands that `app` has when it runs.
void AddHelpCommand(CLI::App* app);

/// Parses the command line and runs its subcommand. What is wrong in it is told on standard error, with the name that
/// was probably meant.
/// \return whether it made sense. \throws what the subcommand throws.
bool RunCommandLine(CLI::App* app, int argc, char** argv);

}  // namespace blnits
