#include "log.h"

#include <cstdarg>
#include <cstdio>

#include "debug_handler.h"
#include "never_destroyed.h"

namespace blnits {
namespace {

thread_local const LogTarget* current = nullptr;

void Send(bln_log_level level, const char* format, va_list arguments) {
  char line[1024];
  if (std::vsnprintf(line, sizeof line, format, arguments) >= 0) {
    current->function(current->user_data, level, line);
  }
}

/// The engine's log. A line without a target is not formatted.
class ThreadLog : public display::DebugHandler {
 public:
#define BLNITS_SEND(level)                                  \
  if (current != nullptr && current->function != nullptr) { \
    va_list arguments;                                      \
    va_start(arguments, format);                            \
    Send(level, format, arguments);                         \
    va_end(arguments);                                      \
  }
  void Error(const char* format, ...) override __attribute__((format(printf, 2, 3))) { BLNITS_SEND(BLN_LOG_ERROR) }
  void Warning(const char* format, ...) override __attribute__((format(printf, 2, 3))) { BLNITS_SEND(BLN_LOG_WARNING) }
  void Info(const char* format, ...) override __attribute__((format(printf, 2, 3))) { BLNITS_SEND(BLN_LOG_INFO) }
  void Debug(const char* format, ...) override __attribute__((format(printf, 2, 3))) { BLNITS_SEND(BLN_LOG_DEBUG) }
  void Verbose(const char* format, ...) override __attribute__((format(printf, 2, 3))) { BLNITS_SEND(BLN_LOG_VERBOSE) }
#undef BLNITS_SEND
};

BLNITS_CONSTINIT zarn::NeverDestroyed<ThreadLog> thread_log;

}  // namespace

Logging::Logging(const LogTarget& target) { current = &target; }

Logging::~Logging() { current = nullptr; }

}  // namespace blnits

namespace display {

// Takes the place of the device's log library.
DebugHandler* debug_handler_ = &blnits::thread_log.object;

}  // namespace display
