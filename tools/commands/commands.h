#pragma once

#include "commands/subcommand.h"
#include "support/captured_log.h"

namespace blnits {

// Each function adds one subcommand to `app`, with its options, help and action. `log` is the process's log handler and
// must outlive `app`.
void AddCheckCommand(CLI::App* app, CapturedLog* log);
void AddCurveCommand(CLI::App* app, CapturedLog* log);
void AddDiffCommand(CLI::App* app, CapturedLog* log);
void AddExportCommand(CLI::App* app, CapturedLog* log);
void AddImportCommand(CLI::App* app, CapturedLog* log);
void AddQualityCommand(CLI::App* app, CapturedLog* log);
void AddNitsCommand(CLI::App* app, CapturedLog* log);
void AddLevelCommand(CLI::App* app, CapturedLog* log);
void AddLinearCommand(CLI::App* app, CapturedLog* log);
void AddLotCommand(CLI::App* app, CapturedLog* log);
void AddPlanCommand(CLI::App* app, CapturedLog* log);
void AddReportCommand(CLI::App* app, CapturedLog* log);
void AddShowCommand(CLI::App* app, CapturedLog* log);
void AddStepsCommand(CLI::App* app, CapturedLog* log);
void AddVerifyCommand(CLI::App* app, CapturedLog* log);

/// Analyses a gauge study; opens no calibration.
void AddGaugeCommand(CLI::App* app);

/// Drives a panel and a meter; opens no calibration.
void AddMeasureCommand(CLI::App* app);

/// Covers all subcommands that `app` has when it runs.
void AddManualCommand(CLI::App* app);

}  // namespace blnits
