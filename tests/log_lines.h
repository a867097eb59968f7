#pragma once

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "debug_handler.h"

/// Keeps every log line as "<first letter of its level> <text>" while it lives. Any thread.
class LogLines : public display::DebugHandler {
 public:
  LogLines() : before_(std::exchange(display::debug_handler_, this)) {}
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;
  ~LogLines() override { display::debug_handler_ = before_; }

#define BLNITS_KEEP(level, letter)                                                     \
  void level(const char* format, ...) override __attribute__((format(printf, 2, 3))) { \
    va_list arguments;                                                                 \
    va_start(arguments, format);                                                       \
    Keep(letter, format, arguments);                                                   \
    va_end(arguments);                                                                 \
  }
  BLNITS_KEEP(Error, "E ")
  BLNITS_KEEP(Warning, "W ")
  BLNITS_KEEP(Info, "I ")
  BLNITS_KEEP(Debug, "D ")
  BLNITS_KEEP(Verbose, "V ")
#undef BLNITS_KEEP

  /// The lines since the last Take.
  std::vector<std::string> Take() {
    const std::lock_guard<std::mutex> guard(lock_);
    return std::exchange(lines_, {});
  }

 private:
  void Keep(const char* letter, const char* format, va_list arguments) {
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    const std::lock_guard<std::mutex> guard(lock_);
    lines_.push_back(letter + std::string(text));
  }

  display::DebugHandler* before_;
  std::mutex lock_;
  std::vector<std::string> lines_;
};

using Lines = std::vector<std::string>;
