// A client whose static object installs its log handler before main: ends with 0 when the handler gets the library's lines.
#include "backlight_nits_factory_intf.h"

namespace {

class Counter : public display::DebugHandler {
 public:
  Counter() { display::debug_handler_ = this; }
  void Error(const char* /*format*/, ...) override { ++errors; }
  void Warning(const char* /*format*/, ...) override {}
  void Info(const char* /*format*/, ...) override {}
  void Debug(const char* /*format*/, ...) override {}
  void Verbose(const char* /*format*/, ...) override {}

  int errors = 0;
};

Counter counter;

}  // namespace

int main() {
  const auto engine = GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf("early");
  engine->GetParameter(zarn::kBLGamma, nullptr);
  return counter.errors == 1 ? 0 : 1;
}
