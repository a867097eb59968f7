#include <CLI/CLI.hpp>
#include <cstdio>

#include "commands/commands.h"
#include "support/captured_log.h"
#include "support/failure.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

int Say(const std::exception& error, int status) {
  std::fflush(stdout);
  std::fprintf(stderr, "blnits: %s\n", error.what());
  return status;
}

int Run(int argc, char** argv) {
  blnits::CapturedLog log;
  CLI::App app("Converts between a panel's backlight level and its luminance, as the device does.", "blnits");
  app.require_subcommand(1);
  app.set_version_flag("--version", BLNITS_VERSION);
  app.footer(
      "Exit status: 0, 1 when a file or a conversion failed, 2 for wrong usage.\n"
      "Each subcommand has a --help with an example. To begin with: blnits check samples/*.xml");
  blnits::AddCheckCommand(&app, &log);
  blnits::AddNitsCommand(&app, &log);
  blnits::AddLevelCommand(&app, &log);
  blnits::AddLinearCommand(&app, &log);
  blnits::AddShowCommand(&app, &log);
  blnits::AddCurveCommand(&app, &log);
  blnits::AddQualityCommand(&app, &log);
  blnits::AddDiffCommand(&app, &log);
  blnits::AddImportCommand(&app, &log);
  blnits::AddManualCommand(&app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kWrongUsage;
  }
  if (std::fflush(stdout) != 0) {
    throw blnits::Failure("standard output cannot be written");
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (const blnits::Negative&) {
    return std::fflush(stdout) == 0 ? kFailed : Say(blnits::Failure("standard output cannot be written"), kFailed);
  } catch (const blnits::UsageError& error) {
    return Say(error, kWrongUsage);
  } catch (const std::exception& error) {
    return Say(error, kFailed);
  }
}
