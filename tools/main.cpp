#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "commands/command_line.h"
#include "commands/commands.h"
#include "foreign_text.h"
#include "support/captured_log.h"
#include "support/failure.h"
#include "support/json_errors.h"

namespace {

// Exit statuses, the same for all subcommands.
constexpr int kNegative = 1;
constexpr int kTrouble = 2;

// A subcommand prints its own JSON last and only if all is well, so these errors are the only object.
int Say(const std::vector<std::string>& troubles, bool json) {
  if (json && std::ferror(stdout) == 0) {
    std::puts(blnits::JsonErrors(troubles).c_str());
  }
  std::fflush(stdout);
  for (const std::string& trouble : troubles) {
    std::fprintf(stderr, "blnits: %s\n", blnits::Printable(trouble).c_str());
  }
  return kTrouble;
}

std::vector<std::string> LinesOf(const blnits::Failure& failure) {
  std::vector<std::string> lines = {failure.what()};
  lines.insert(lines.end(), failure.more.begin(), failure.more.end());
  return lines;
}

int Run(int argc, char** argv) {
  blnits::CapturedLog log;
  CLI::App app("Converts between a panel's backlight level and its luminance, as the device does.", "blnits");
  app.require_subcommand(1);
  app.set_version_flag("--version", "blnits " BLNITS_VERSION);
  app.footer(
      "Exit status: 0 for success; 1 when check finds an error, diff, verify or gauge exceeds a limit, measure misses\n"
      "a reading, lot --strict rejects a file, or the verdict of report is a fail; 2 for wrong usage, a refused file\n"
      "or level, or output that cannot be written.\n"
      "Each subcommand has a --help with an example. Begin with: blnits check samples/*.xml");
  blnits::AddCheckCommand(&app, &log);
  blnits::AddNitsCommand(&app, &log);
  blnits::AddLevelCommand(&app, &log);
  blnits::AddLinearCommand(&app, &log);
  blnits::AddShowCommand(&app, &log);
  blnits::AddCurveCommand(&app, &log);
  blnits::AddQualityCommand(&app, &log);
  blnits::AddStepsCommand(&app, &log);
  blnits::AddDiffCommand(&app, &log);
  blnits::AddVerifyCommand(&app, &log);
  blnits::AddLotCommand(&app, &log);
  blnits::AddPlanCommand(&app, &log);
  blnits::AddImportCommand(&app, &log);
  blnits::AddExportCommand(&app, &log);
  blnits::AddMeasureCommand(&app);
  blnits::AddGaugeCommand(&app);
  blnits::AddReportCommand(&app, &log);
  blnits::AddManualCommand(&app);
  blnits::AddHelpCommand(&app);
  int status = 0;
  try {
    blnits::RunCommandLine(&app, argc, argv);
  } catch (const blnits::Negative&) {
    status = kNegative;
  }
  if (std::fflush(stdout) != 0) {
    throw blnits::Failure("standard output cannot be written");
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGXFSZ, SIG_IGN);  // A file beyond the user's size limit is then a write error, which is reported.
  const bool json = blnits::AsksForJson(argc, argv);
  try {
    return Run(argc, argv);
  } catch (const blnits::WrongUsage& mistake) {
    const int status = Say({mistake.what()}, json);
    std::fputs("Run with --help for more information.\n", stderr);
    return status;
  } catch (const blnits::Failure& failure) {
    return Say(LinesOf(failure), json);
  } catch (const std::exception& error) {
    return Say({error.what()}, json);
  }
}
