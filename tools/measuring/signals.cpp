#include "measuring/signals.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <system_error>
#include <utility>

#include "support/failure.h"

namespace blnits {
namespace {

volatile sig_atomic_t caught = 0;
bool told = false;                 // Whether Interrupted was thrown for it.
sigset_t mask_while_waiting = {};  // The process's own mask.
volatile sig_atomic_t crash_file = -1;
std::array<char, 16> crash_text;  // An array, because a handler must not allocate.
volatile sig_atomic_t crash_size = 0;

constexpr std::array<int, 7> kCrashes = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS};
// Their default action does not end the process, or nobody can catch them.
constexpr std::array<int, 12> kOthers = {SIGKILL, SIGSTOP, SIGTSTP,  SIGTTIN, SIGTTOU, SIGCONT,
                                         SIGCHLD, SIGURG,  SIGWINCH, SIGXFSZ, SIGPIPE, 0};

template <size_t count>
bool IsOneOf(int signal, const std::array<int, count>& signals) {
  return std::find(signals.begin(), signals.end(), signal) != signals.end();
}

void Take(int signal) {
  if (caught == 0) {
    caught = signal;
  }
}

// SA_RESETHAND has restored the default action, so raising the signal again ends the process.
void WriteAndEnd(int signal) {
  if (crash_file >= 0) {
    const ssize_t unused = pwrite(crash_file, crash_text.data(), static_cast<size_t>(crash_size), 0);
    static_cast<void>(unused);
  }
  raise(signal);
}

timespec Left(Deadline deadline) {
  using std::chrono::nanoseconds;
  constexpr nanoseconds::rep kSecond = 1000000000;
  const auto left = std::chrono::duration_cast<nanoseconds>(deadline - std::chrono::steady_clock::now()).count();
  const auto some = std::max<nanoseconds::rep>(left, 0);
  return {some / kSecond, some % kSecond};
}

// ppoll does not deliver a signal if a descriptor is ready. This call does.
void TakePending() {
  const timespec now = {};
  ppoll(nullptr, 0, &now, &mask_while_waiting);
  if (caught != 0 && !std::exchange(told, true)) {
    throw Interrupted();
  }
}

}  // namespace

Deadline After(double seconds) {
  constexpr double kMost = 1e8;  // Three years; more may not fit.
  return std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                                                std::chrono::duration<double>(std::min(seconds, kMost)));
}

EndingSignals::EndingSignals() {
  caught = 0;
  told = false;
  sigset_t ending;
  sigemptyset(&ending);
  for (int signal = 1; signal <= SIGRTMAX; ++signal) {
    struct sigaction ours = {};
    const bool crash = IsOneOf(signal, kCrashes);
    ours.sa_handler = signal == SIGPIPE ? SIG_IGN : crash ? WriteAndEnd : Take;
    ours.sa_flags = crash ? static_cast<int>(SA_RESETHAND) : 0;
    Saved saved = {signal, {}};
    // A sanitizer's own handler stays.
    const bool is_ours = (signal == SIGPIPE || !IsOneOf(signal, kOthers)) &&
                         sigaction(signal, nullptr, &saved.action) == 0 && saved.action.sa_handler == SIG_DFL;
    if (is_ours && sigaction(signal, &ours, nullptr) == 0) {
      before_.push_back(saved);
      if (!crash && signal != SIGPIPE) {
        sigaddset(&ending, signal);
      }
    }
  }
  sigprocmask(SIG_BLOCK, &ending, &mask_);
  mask_while_waiting = mask_;
}

EndingSignals::~EndingSignals() {
  crash_file = -1;
  for (const Saved& saved : before_) {
    sigaction(saved.signal, &saved.action, nullptr);
  }
  if (caught == 0) {  // Otherwise another one that waits could end the process before the caller has finished.
    sigprocmask(SIG_SETMASK, &mask_, nullptr);
  }
}

int EndingSignals::Caught() { return caught; }

void EndingSignals::EndProcess() {
  raise(caught);
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, caught);
  sigprocmask(SIG_UNBLOCK, &only, nullptr);
}

void EndingSignals::SetCrashText(int descriptor, unsigned number) {
  crash_file = -1;  // A crash in between must not write half a text.
  const auto end = fmt::format_to_n(crash_text.data(), crash_text.size(), "{}\n", number);
  crash_size = static_cast<int>(end.size);
  crash_file = descriptor;
}

bool WaitFor(std::vector<pollfd>* descriptors, Deadline deadline) {
  for (;;) {
    TakePending();
    const timespec left = Left(deadline);
    const int ready = ppoll(descriptors->data(), descriptors->size(), &left, &mask_while_waiting);
    if (ready > 0) {
      return true;
    }
    if (ready == 0) {
      return false;
    }
    if (errno != EINTR) {
      throw Failure(fmt::format("waiting failed: {}", std::generic_category().message(errno)));
    }
  }
}

void Sleep(double seconds) {
  std::vector<pollfd> none;
  WaitFor(&none, After(seconds));
}

}  // namespace blnits
