#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace blnits {

/// What a program gets as its standard streams: open descriptors of this process.
struct Streams {
  int input;
  int output;
  int errors;
};

/// Starts a program without a shell. It has a process group of its own, so that Ctrl-C ends only this process, and the
/// default action of every signal that this process handles or ignores. It gets SIGTERM when this process ends, even by
/// SIGKILL. The caller waits for it. One thread at a time.
/// \param words the program, which is searched in PATH, and its arguments. \param variables its whole environment.
/// \return its process and group; -1 with errno set if it cannot be started (ENOENT: there is no such program).
pid_t StartProgram(std::vector<std::string> words, std::vector<std::string> variables, const Streams& streams);

/// Waits until a program ends. \return its status as waitpid tells it; -1 with errno set.
int WaitForProgram(pid_t program);

/// Why a program failed, printable: the signal that ended it, or the last line of its standard error, where most
/// programs have their message. \param status of waitpid.
std::string ReasonOf(int status, const std::string& errors);

}  // namespace blnits
