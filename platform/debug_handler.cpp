#include "debug_handler.h"

#include <cstdarg>
#include <cstdio>

#include "never_destroyed.h"

namespace display {
namespace {

void WriteLine(const char* level, const char* format, va_list arguments) {
  flockfile(stderr);
  std::fprintf(stderr, "%s: ", level);
  std::vfprintf(stderr, format, arguments);
  std::fputc('\n', stderr);
  funlockfile(stderr);
}

class StandardErrorHandler : public DebugHandler {
 public:
  void Error(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    va_list arguments;
    va_start(arguments, format);
    WriteLine("error", format, arguments);
    va_end(arguments);
  }
  void Warning(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    va_list arguments;
    va_start(arguments, format);
    WriteLine("warning", format, arguments);
    va_end(arguments);
  }
  void Info(const char* /*format*/, ...) override {}
  void Debug(const char* /*format*/, ...) override {}
  void Verbose(const char* /*format*/, ...) override {}
};

BLNITS_CONSTINIT zarn::NeverDestroyed<StandardErrorHandler> standard_error;

}  // namespace

BLNITS_CONSTINIT DebugHandler* debug_handler_ = &standard_error.object;

}  // namespace display
