#pragma once

#include <cstdarg>
#include <mutex>
#include <string>
#include <vector>

#include "debug_handler.h"

namespace blnits {

/// Keeps what the library logs, so that a failure can be told with the library's own reason. It is the process's log
/// handler from construction to destruction.
class CapturedLog : public display::DebugHandler {
 public:
  CapturedLog();
  CapturedLog(const CapturedLog&) = delete;
  CapturedLog& operator=(const CapturedLog&) = delete;
  ~CapturedLog() override;

  void Error(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void Warning(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void Info(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void Debug(const char* /*format*/, ...) override {}
  void Verbose(const char* /*format*/, ...) override {}

  /// Forgets every line.
  void Clear();

  /// The first Error since the last Clear, which names the cause (later ones repeat it on the way out), or else the
  /// first Warning; empty when there was neither.
  std::string Reason() const;

  /// What follows `start` in the last Info line that begins with it; empty when none does.
  std::string InfoAfter(const std::string& start) const;

 private:
  static constexpr int kError = 0;
  static constexpr int kWarning = 1;
  static constexpr int kInfo = 2;

  void Keep(int level, const char* format, va_list arguments);

  mutable std::mutex lock_;
  std::vector<std::string> lines_[3];  // Guarded by the lock; by level.
};

}  // namespace blnits
