#pragma once

#include <poll.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): sigset_t and NSIG are POSIX

#include <array>
#include <chrono>
#include <exception>
#include <vector>

namespace blnits {

using Deadline = std::chrono::steady_clock::time_point;

/// A time from now.
Deadline After(double seconds);

/// A signal asks the process to end. The first one is thrown from a wait; clean up, then call EndingSignals::EndProcess().
struct Interrupted : std::exception {};

/// While it exists, signals that would end the process are blocked. WaitFor() takes them and throws Interrupted, so that
/// the process can set the panel back. Ignored signals (nohup) stay ignored; SIGPIPE is ignored, too, and becomes an
/// error of write. A crash (SIGSEGV, SIGABRT and the like) runs what SetCrashText() says. One at a time, one thread.
class EndingSignals {
 public:
  EndingSignals();
  EndingSignals(const EndingSignals&) = delete;
  EndingSignals& operator=(const EndingSignals&) = delete;
  ~EndingSignals();

  /// The first signal that was taken; 0 without one.
  static int Caught();

  /// Ends the process by the signal that was taken, so that its exit status tells it. Call it after the destructor.
  static void EndProcess();

  /// Has a crash write `number` in decimal digits and a line feed at the beginning of an open file, until the destructor.
  static void SetCrashText(int descriptor, unsigned number);

 private:
  struct Saved {
    int signal;
    struct sigaction action;
  };
  std::vector<Saved> before_;
  sigset_t mask_ = {};
};

/// Waits until a descriptor is ready or the time has come. Only here, the signals of EndingSignals arrive. A vector
/// without descriptors only waits. \return whether one is ready. \throws Interrupted at the first ending signal; later
/// ones do not disturb.
bool WaitFor(std::vector<pollfd>* descriptors, Deadline deadline);

/// Waits. \throws Interrupted.
void Sleep(double seconds);

}  // namespace blnits
