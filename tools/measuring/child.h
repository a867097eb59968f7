#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "measuring/signals.h"

namespace blnits {

/// A program does not answer in time.
struct TimedOut : std::exception {};

/// A running program whose output is read through pipes. Ends it when it goes out of scope: SIGTERM, after two seconds
/// SIGKILL. One thread.
class Child {
 public:
  static constexpr size_t kMostOutput = size_t{1} << 20;  ///< Bytes of output that wait to be taken.
  static constexpr size_t kMostErrors = 4096;             ///< The last bytes of standard error that are kept.

  /// Starts it. \param words as StartProgram(). \param variable added to the environment; empty: none.
  /// \param talks whether it gets a pipe for Send() as standard input; otherwise it reads nothing.
  /// \throws Failure if it cannot be started.
  Child(const std::vector<std::string>& words, const std::string& variable, bool talks);
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child();

  /// Writes to its standard input, in one write. Does nothing if it has ended: Receive() tells that.
  void Send(char key) const;

  /// Waits for more output and appends it to Output(). False: it has ended, and all of its output is there. A program
  /// that stays behind it with its output open does not count.
  /// \throws TimedOut, Interrupted; Failure beyond kMostOutput.
  bool Receive(Deadline deadline);

  /// What it has printed; take from the beginning what is used.
  std::string& Output() { return output_; }

  /// Its last words on standard error.
  const std::string& Errors() const { return errors_; }

  /// The status of waitpid. Only after Receive() returned false.
  int Status() const { return status_; }

 private:
  bool TakeOutput();
  bool TakeErrors();
  void Reap();

  std::string name_;
  pid_t process_ = -1;  ///< -1 once its status is known.
  int ended_ = -1;      ///< A descriptor that is ready when it has ended.
  int input_ = -1;
  int output_pipe_ = -1;
  int errors_pipe_ = -1;
  int status_ = 0;
  std::string output_;
  std::string errors_;
};

/// Runs a command to its end. \return its standard output.
/// \throws ReadingFailed if it fails; Failure if it does not end in time, cannot be started or prints too much.
std::string OutputOf(const std::vector<std::string>& words, double timeout_seconds);

}  // namespace blnits
