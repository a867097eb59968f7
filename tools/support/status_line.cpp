#include "support/status_line.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <utility>

#include "foreign_text.h"
#include "support/terminal.h"

namespace blnits {
namespace {

constexpr std::chrono::milliseconds kPause{100};

bool CanErase() {
  const char* const terminal = std::getenv("TERM");
  return isatty(STDERR_FILENO) == 1 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

}  // namespace

StatusLine::StatusLine(std::chrono::milliseconds delay) : shows_(CanErase()), due_(Now() + delay) {
  if (shows_) {
    first_ = std::thread([this] { ShowFirst(); });
  }
}

StatusLine::~StatusLine() {
  Erase();
  if (first_.joinable()) {
    {
      const std::lock_guard<std::mutex> guard(lock_);
      ends_ = true;
    }
    ended_.notify_one();
    first_.join();
  }
}

// This clock costs a fifth of the exact one. It is late by a few milliseconds.
std::chrono::nanoseconds StatusLine::Now() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

void StatusLine::ShowFirst() {
  std::unique_lock<std::mutex> guard(lock_);
  if (!ended_.wait_for(guard, due_ - Now(), [this] { return ends_; }) && !text_.empty()) {
    Draw();
  }
}

void StatusLine::Take(std::string text) {
  const std::lock_guard<std::mutex> guard(lock_);
  text_ = std::move(text);
  if (Now() >= due_) {
    Draw();
  }
}

void StatusLine::Show(std::string_view text) {
  if (shows_) {
    const std::lock_guard<std::mutex> guard(lock_);
    text_ = text;
    Draw();
  }
}

// Wide characters can make a text wider than its count of characters. The terminal cuts these, because it does not wrap
// the line (?7l) until it is written (?7h).
void StatusLine::Draw() {
  constexpr size_t kDots = 3;
  const auto columns = static_cast<size_t>(SizeOfTerminal(STDERR_FILENO).columns);
  const std::string cut = Shown(text_, columns > kDots ? columns - kDots : 0);
  std::fputs(fmt::format("\r\x1b[K\x1b[?7l{}\x1b[?7h", cut).c_str(), stderr);
  drawn_ = true;
  next_ = Now() + kPause;
}

void StatusLine::Erase() {
  const std::lock_guard<std::mutex> guard(lock_);
  text_.clear();
  if (std::exchange(drawn_, false)) {
    std::fputs("\r\x1b[K", stderr);
  }
}

}  // namespace blnits
