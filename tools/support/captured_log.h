#pragma once

#include <cstdarg>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "debug_handler.h"

namespace blnits {

struct LogLine {
  char level;  ///< 'E', 'W', 'I', 'D' or 'V'.
  std::string text;
};

/// Keeps the library's log lines, so that an error message can give the library's own reason. It is the process's log
/// handler from construction to destruction. Any thread; each has lines of its own.
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

  /// Returns all lines of this thread in the order of arrival and clears them.
  std::vector<LogLine> Take();

  /// The first Error, which names the cause (later ones repeat it for each caller); otherwise the first Warning; empty
  /// if there is neither.
  std::string Reason();

  /// The text after `start` in the last Info line that begins with it; empty if there is no such line.
  std::string InfoAfter(const std::string& start);

 private:
  void Keep(char level, const char* format, va_list arguments);

  display::DebugHandler* before_;
  std::mutex lock_;
  std::map<std::thread::id, std::vector<LogLine>> lines_;  // Of each thread. Guarded by the mutex.
};

}  // namespace blnits
