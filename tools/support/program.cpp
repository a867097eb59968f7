#include "support/program.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <sstream>

#include "foreign_text.h"

namespace blnits {
namespace {

std::vector<char*> Pointers(std::vector<std::string>* texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts->size() + 1);
  for (std::string& text : *texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

void ResetSignals() {
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    struct sigaction action = {};
    const bool keep = sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_DFL ||
                      (action.sa_handler == SIG_IGN && signal != SIGPIPE && signal != SIGXFSZ);
    if (!keep) {
      std::signal(signal, SIG_DFL);
    }
  }
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

// In the new process. Returns only on failure.
void Become(const std::vector<char*>& words, const std::vector<char*>& variables, const Streams& streams,
            pid_t parent) {
  setpgid(0, 0);
  ResetSignals();
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) {
    _exit(0);  // The parent ended before it could be watched.
  }
  const std::array<int, 3> from = {streams.input, streams.output, streams.errors};
  for (int to = 0; to < 3; ++to) {
    if (dup2(from.at(static_cast<size_t>(to)), to) < 0) {
      return;
    }
  }
  execvpe(words[0], words.data(), variables.data());
}

// Nothing can be read if the program runs, because its end of the pipe is then closed.
int ErrorFrom(int pipe) {
  int error = 0;
  ssize_t got = 0;
  do {
    got = read(pipe, &error, sizeof error);
  } while (got < 0 && errno == EINTR);
  return got == sizeof error ? error : 0;
}

}  // namespace

pid_t StartProgram(std::vector<std::string> words, std::vector<std::string> variables, const Streams& streams) {
  const std::vector<char*> word_pointers = Pointers(&words);
  const std::vector<char*> variable_pointers = Pointers(&variables);
  std::array<int, 2> failure = {};
  if (pipe2(failure.data(), O_CLOEXEC) != 0) {
    return -1;
  }
  const pid_t parent = getpid();
  const pid_t program = fork();
  if (program == 0) {
    Become(word_pointers, variable_pointers, streams, parent);
    const int error = errno;
    _exit(write(failure[1], &error, sizeof error) < 0 ? 126 : 127);
  }
  int error = program < 0 ? errno : 0;
  close(failure[1]);
  if (program > 0) {
    error = ErrorFrom(failure[0]);
  }
  close(failure[0]);
  if (program > 0 && error != 0) {
    WaitForProgram(program);
  }
  errno = error;
  return error == 0 ? program : -1;
}

int WaitForProgram(pid_t program) {
  int status = 0;
  while (waitpid(program, &status, 0) < 0) {
    if (errno != EINTR) {
      return -1;
    }
  }
  return status;
}

std::string ReasonOf(int status, const std::string& errors) {
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

}  // namespace blnits
