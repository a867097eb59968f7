#include "support/gnuplot.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>
#include <vector>

#include "support/failure.h"
#include "support/memory_file.h"
#include "support/program.h"

namespace blnits {
namespace {

bool Begins(std::string_view text, std::string_view start) { return text.substr(0, start.size()) == start; }

/// This process's environment without the variables that change gnuplot's drawing. The locale is one that has the
/// degree sign: in others gnuplot prints a warning.
std::vector<std::string> Environment() {
  std::vector<std::string> variables = {"LC_ALL=C.UTF-8"};
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const bool is_locale = Begins(*variable, "LC_") || Begins(*variable, "LANG");
    if (!is_locale && !Begins(*variable, "GNU")) {
      variables.emplace_back(*variable);
    }
  }
  return variables;
}

}  // namespace

std::string RunGnuplot(const std::string& script) {
  const MemoryFile input(script);
  const MemoryFile output;
  const MemoryFile errors;
  const pid_t program = StartProgram({"gnuplot", "--default-settings"}, Environment(),
                                     {input.Descriptor(), output.Descriptor(), errors.Descriptor()});
  if (program < 0 && errno == ENOENT) {
    throw Failure(
        "gnuplot, which draws the pictures, is not installed (Debian's package gnuplot-nox); curve --csv works without "
        "it");
  }
  const int status = program < 0 ? -1 : WaitForProgram(program);
  if (status < 0) {
    throw Failure(fmt::format("gnuplot cannot be started: {}", std::generic_category().message(errno)));
  }
  std::string picture = output.Text();
  if (status != 0 || picture.empty()) {
    throw Failure(fmt::format("gnuplot failed: {}", ReasonOf(status, errors.Text())));
  }
  return picture;
}

}  // namespace blnits
