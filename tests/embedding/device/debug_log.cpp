#include <cstdio>

#include "debug_handler.h"

namespace display {
namespace {

class DeviceHandler : public DebugHandler {
 public:
  void Error(const char* format, ...) override { Write(format); }
  void Warning(const char* format, ...) override { Write(format); }
  void Info(const char* format, ...) override { Write(format); }
  void Debug(const char* format, ...) override { Write(format); }
  void Verbose(const char* /*format*/, ...) override {}

 private:
  static void Write(const char* format) { std::fprintf(stderr, "device log: %s\n", format); }
};

DeviceHandler handler;

}  // namespace

DebugHandler* debug_handler_ = &handler;

}  // namespace display
