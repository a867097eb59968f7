#include "log.h"

#include "never_destroyed.h"

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

BLNITS_CONSTINIT NeverDestroyed<SilentHandler> silent;

}  // namespace

display::DebugHandler& SilentLog() { return silent.object; }

}  // namespace zarn
