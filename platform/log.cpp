#include "log.h"

namespace zarn {
namespace {

class SilentHandler : public display::DebugHandler {
 public:
  void Error(const char* /*format*/, ...) override {}
  void Warning(const char* /*format*/, ...) override {}
  void Info(const char* /*format*/, ...) override {}
  void Debug(const char* /*format*/, ...) override {}
  void Verbose(const char* /*format*/, ...) override {}
};

}  // namespace

display::DebugHandler& Log() {
  // Never destroyed: threads may still log while the process exits.
  static auto* const silent = new SilentHandler;
  display::DebugHandler* const handler = display::debug_handler_;
  return handler != nullptr ? *handler : *silent;
}

}  // namespace zarn
