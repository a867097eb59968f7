#include "measuring/child.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include "foreign_text.h"
#include "measuring/reading_failed.h"
#include "support/failure.h"
#include "support/program.h"

namespace blnits {
namespace {

std::vector<std::string> EnvironmentWith(const std::string& variable) {
  std::vector<std::string> variables;
  if (!variable.empty()) {
    variables.push_back(variable);
  }
  for (char** each = environ; *each != nullptr; ++each) {
    variables.emplace_back(*each);
  }
  return variables;
}

void CloseIt(int* descriptor) {
  if (*descriptor >= 0) {
    close(std::exchange(*descriptor, -1));
  }
}

/// The ends of a pipe; both are closed in other programs.
std::array<int, 2> Pipe() {
  std::array<int, 2> ends = {};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw Failure(fmt::format("a pipe cannot be made: {}", std::generic_category().message(errno)));
  }
  return ends;
}

// Takes what is in a pipe without waiting. False: nothing is left now; the pipe is then closed if all writers did so.
bool Take(int* pipe, std::string* text) {
  std::array<char, 4096> some = {};
  const ssize_t got = *pipe < 0 ? 0 : read(*pipe, some.data(), some.size());
  if (got > 0) {
    text->append(some.data(), static_cast<size_t>(got));
    return true;
  }
  if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
    CloseIt(pipe);
  }
  return false;
}

}  // namespace

Child::Child(const std::vector<std::string>& words, const std::string& variable, bool talks) : name_(words.front()) {
  std::array<int, 2> in = {open("/dev/null", O_RDONLY | O_CLOEXEC), -1};
  if (talks) {
    close(in[0]);
    in = Pipe();
  }
  const std::array<int, 2> out = Pipe();
  const std::array<int, 2> errors = Pipe();
  process_ = StartProgram(words, EnvironmentWith(variable), {in[0], out[1], errors[1]});
  const int error = process_ < 0 ? errno : 0;
  close(in[0]);
  close(out[1]);
  close(errors[1]);
  input_ = in[1];
  output_pipe_ = out[0];
  errors_pipe_ = errors[0];
  fcntl(output_pipe_, F_SETFL, O_NONBLOCK);
  fcntl(errors_pipe_, F_SETFL, O_NONBLOCK);
  ended_ = error == 0 ? static_cast<int>(syscall(SYS_pidfd_open, process_, 0)) : -1;
  if (error != 0) {
    CloseIt(&input_);
    CloseIt(&output_pipe_);
    CloseIt(&errors_pipe_);
    throw Failure(fmt::format("{} cannot be started: {}", Shown(name_, 200), std::generic_category().message(error)));
  }
}

Child::~Child() {
  constexpr int kPatience = 2000;  // milliseconds
  if (process_ >= 0) {
    kill(-process_, SIGTERM);
    pollfd ended = {ended_, POLLIN, 0};
    if (poll(&ended, 1, kPatience) != 1) {
      kill(-process_, SIGKILL);
    }
    Reap();
  }
  CloseIt(&input_);
  CloseIt(&ended_);
  CloseIt(&output_pipe_);
  CloseIt(&errors_pipe_);
}

void Child::Reap() { status_ = WaitForProgram(std::exchange(process_, -1)); }

void Child::Send(char key) const {
  ssize_t written = 0;
  do {
    written = write(input_, &key, 1);
  } while (written < 0 && errno == EINTR);
}

bool Child::TakeOutput() {
  const bool some = Take(&output_pipe_, &output_);
  if (output_.size() > kMostOutput) {
    throw Failure(fmt::format("{} printed more than {} bytes, expected a reading", Shown(name_, 200), kMostOutput));
  }
  return some;
}

bool Child::TakeErrors() {
  const bool some = Take(&errors_pipe_, &errors_);
  errors_.erase(0, errors_.size() - std::min(errors_.size(), kMostErrors));
  return some;
}

bool Child::Receive(Deadline deadline) {
  for (;;) {
    if (process_ < 0) {
      return TakeOutput();
    }
    // poll ignores descriptors below 0.
    std::vector<pollfd> ready = {{output_pipe_, POLLIN, 0}, {errors_pipe_, POLLIN, 0}, {ended_, POLLIN, 0}};
    if (!WaitFor(&ready, deadline)) {
      throw TimedOut();
    }
    if (ready[1].revents != 0) {
      TakeErrors();
    }
    if (ready[0].revents != 0 && TakeOutput()) {
      return true;
    }
    if (ready[2].revents != 0) {
      Reap();
      while (TakeErrors()) {
      }
    }
  }
}

std::string OutputOf(const std::vector<std::string>& words, double timeout_seconds) {
  const std::string name = Shown(words.front(), 200);
  Child child(words, "", false);
  const Deadline deadline = After(timeout_seconds);
  try {
    while (child.Receive(deadline)) {
    }
  } catch (const TimedOut&) {
    throw Failure(fmt::format("{} does not end within {} s (--timeout)", name, timeout_seconds));
  }
  if (child.Status() != 0) {
    throw ReadingFailed(fmt::format("{} failed: {}", name, ReasonOf(child.Status(), child.Errors())));
  }
  return std::move(child.Output());
}

}  // namespace blnits
