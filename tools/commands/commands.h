#pragma once

#include <CLI/CLI.hpp>

#include "support/captured_log.h"

namespace blnits {

// Each adds one subcommand to `app`, with its options, its help and what it does. `log` is the process's log handler
// and outlives `app`.
void AddCheckCommand(CLI::App* app, CapturedLog* log);
void AddCurveCommand(CLI::App* app, CapturedLog* log);
void AddDiffCommand(CLI::App* app, CapturedLog* log);
void AddImportCommand(CLI::App* app, CapturedLog* log);
void AddQualityCommand(CLI::App* app, CapturedLog* log);
void AddNitsCommand(CLI::App* app, CapturedLog* log);
void AddLevelCommand(CLI::App* app, CapturedLog* log);
void AddLinearCommand(CLI::App* app, CapturedLog* log);
void AddShowCommand(CLI::App* app, CapturedLog* log);

/// Of all subcommands that `app` has when it runs.
void AddManualCommand(CLI::App* app);

}  // namespace blnits
