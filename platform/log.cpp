#include "log.h"

#include <new>

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

// In storage of its own, so that it is never destroyed: threads may still log while the process exits.
alignas(SilentHandler) unsigned char storage[sizeof(SilentHandler)];
display::DebugHandler* const silent = new (storage) SilentHandler;

}  // namespace

display::DebugHandler& SilentLog() { return *silent; }

}  // namespace zarn
