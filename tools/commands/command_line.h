#pragma once

#include <CLI/CLI.hpp>

#include "support/failure.h"

namespace blnits {

/// Adds "help [COMMAND]", which prints the same as "--help". It knows all subcommands that `app` has when it runs.
void AddHelpCommand(CLI::App* app);

/// A mistake in the command line.
struct WrongUsage : Failure {
  using Failure::Failure;
};

/// Whether the options of the command line ask for JSON. Also knows this of a command line with mistakes.
bool AsksForJson(int argc, char** argv);

/// Parses the command line and runs its subcommand.
/// \throws WrongUsage with the wrong word and the likely one; what the subcommand throws.
void RunCommandLine(CLI::App* app, int argc, char** argv);

}  // namespace blnits
