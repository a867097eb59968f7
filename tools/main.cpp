#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <string>

#include "commands/command_line.h"
#include "commands/commands.h"
#include "foreign_text.h"
#include "support/captured_log.h"
#include "support/failure.h"

namespace {

// Exit statuses, the same for all subcommands.
constexpr int kNegative = 1;
constexpr int kTrouble = 2;

int Say(const std::string& trouble) {
  std::fflush(stdout);
  std::fprintf(stderr, "blnits: %s\n", blnits::Printable(trouble).c_str());
  return kTrouble;
}

int Run(int argc, char** argv) {
  blnits::CapturedLog log;
  CLI::App app("Converts between a panel's backlight level and its luminance, as the device does.", "blnits");
  app.require_subcommand(1);
  app.set_version_flag("--version", "blnits " BLNITS_VERSION);
  app.footer(
      "Exit status: 0 for success; 1 when check finds an error, or diff or verify exceeds a limit; 2 for wrong usage,\n"
      "a refused file or level, or output that cannot be written.\n"
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
  blnits::AddImportCommand(&app, &log);
  blnits::AddExportCommand(&app, &log);
  blnits::AddManualCommand(&app);
  blnits::AddHelpCommand(&app);
  int status = 0;
  try {
    status = blnits::RunCommandLine(&app, argc, argv) ? 0 : kTrouble;
  } catch (const blnits::Negative&) {
    status = kNegative;
  }
  return std::fflush(stdout) == 0 ? status : Say("standard output cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGXFSZ, SIG_IGN);  // A file beyond the user's size limit is then a write error, which is reported.
  try {
    return Run(argc, argv);
  } catch (const blnits::Failure& failure) {
    const int status = Say(failure.what());
    for (const std::string& line : failure.more) {
      Say(line);
    }
    return status;
  } catch (const std::exception& error) {
    return Say(error.what());
  }
}
