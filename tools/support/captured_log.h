#pragma once

#include <cstdarg>
#include <mutex>
#include <string>
#include <vector>

#include "debug_handler.h"

namespace blnits {

struct LogLine {
  char level;  ///< 'E', 'W', 'I', 'D' or 'V'.
  std::string text;
};

/// Keeps what the library logs, so that a failure can be told with the library's own reason. It is the process's log
/// handler from construction to destruction. Any thread.
class CapturedLog : public display::DebugHandler {
 public:
  CapturedLog();
  CapturedLog(const CapturedLog&) = delete;
  CapturedLog& operator=(const CapturedLog&) = delete;
  ~CapturedLog() override;

  void Error(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void Warning(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void Info(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void Debug(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void Verbose(const char* format, ...) override __attribute__((format(printf, 2, 3)));

  /// Hands out every line, in the order in which they came, and forgets them.
  std::vector<LogLine> Take();

  /// The first Error, which names the cause (later ones repeat it on the way out), or else the first Warning; empty when
  /// there is neither.
  std::string Reason();

  /// What follows `start` in the last line of Info that begins with it; empty when none does.
  std::string InfoAfter(const std::string& start);

 private:
  void Keep(char level, const char* format, va_list arguments);

  display::DebugHandler* before_;
  std::mutex lock_;
  std::vector<LogLine> lines_;  // Guarded by the lock.
};

}  // namespace blnits
