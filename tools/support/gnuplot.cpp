#include "support/gnuplot.h"

#include <fmt/format.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sstream>
#include <string_view>
#include <system_error>
#include <vector>

#include "foreign_text.h"
#include "support/failure.h"
#include "support/memory_file.h"

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

std::vector<char*> Pointers(std::vector<std::string>* texts) {
  std::vector<char*> pointers;
  for (std::string& text : *texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

/// \return the status of waitpid, or -1 with errno set.
int Spawn(const MemoryFile& input, const MemoryFile& output, const MemoryFile& errors) {
  std::vector<std::string> arguments = {"gnuplot", "--default-settings"};
  std::vector<std::string> variables = Environment();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input.Descriptor(), STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output.Descriptor(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errors.Descriptor(), STDERR_FILENO);
  // Restores the default action of SIGXFSZ: gnuplot must not write half a picture and succeed.
  sigset_t too_large;
  sigemptyset(&too_large);
  sigaddset(&too_large, SIGXFSZ);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigdefault(&attributes, &too_large);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
  pid_t process = 0;
  errno = posix_spawnp(&process, arguments[0].c_str(), &actions, &attributes, Pointers(&arguments).data(),
                       Pointers(&variables).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  int status = errno == 0 ? 0 : -1;
  while (status == 0 && waitpid(process, &status, 0) < 0) {
    status = errno == EINTR ? 0 : -1;
  }
  return status;
}

/// gnuplot prints the line that it cannot read first, and its message last.
std::string Reason(int status, const std::string& errors) {
  if (WIFSIGNALED(status)) {
    return strsignal(WTERMSIG(status));
  }
  std::string reason = "it gave no reason";
  std::istringstream lines(errors);
  for (std::string line; std::getline(lines, line);) {
    const size_t start = line.find_first_not_of(' ');
    reason = start == std::string::npos ? reason : Shown(line.substr(start), 200);
  }
  return reason;
}

}  // namespace

std::string RunGnuplot(const std::string& script) {
  constexpr int kNotFound = 127;  // The status of a shell, and of posix_spawn's child, for a missing program.
  const MemoryFile input(script);
  const MemoryFile output;
  const MemoryFile errors;
  const int status = Spawn(input, output, errors);
  if ((status < 0 && errno == ENOENT) || (status > 0 && WIFEXITED(status) && WEXITSTATUS(status) == kNotFound)) {
    throw Failure(
        "gnuplot, which draws the pictures, is not installed (Debian's package gnuplot-nox); --csv works without it");
  }
  if (status < 0) {
    throw Failure(fmt::format("gnuplot cannot be started: {}", std::generic_category().message(errno)));
  }
  std::string picture = output.Text();
  if (status != 0 || picture.empty()) {
    throw Failure(fmt::format("gnuplot failed: {}", Reason(status, errors.Text())));
  }
  return picture;
}

}  // namespace blnits
