// A client whose static object calls an engine before and after main: with the library's log handler, with none, and with
// its own.
#include <cstdio>

#include "backlight_nits_factory_intf.h"

namespace {

class EarlyClient : public display::DebugHandler {
 public:
  EarlyClient() {
    Ask();
    display::debug_handler_ = nullptr;
    Ask();
    display::debug_handler_ = this;
  }
  EarlyClient(const EarlyClient&) = delete;
  EarlyClient& operator=(const EarlyClient&) = delete;
  ~EarlyClient() override {
    display::debug_handler_ = before_;
    Ask();
  }

  /// The engine refuses the call and logs an error.
  void Ask() { engine_->GetParameter(zarn::kBLGamma, nullptr); }

  void Error(const char* /*format*/, ...) override { std::fputs("the client's handler\n", stderr); }
  void Warning(const char* /*format*/, ...) override {}
  void Info(const char* /*format*/, ...) override {}
  void Debug(const char* /*format*/, ...) override {}
  void Verbose(const char* /*format*/, ...) override {}

 private:
  display::DebugHandler* const before_ = display::debug_handler_;
  const std::shared_ptr<zarn::BackLightNitsIntf> engine_ =
      GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf("early");
};

EarlyClient client;  // NOLINT(cert-err58-cpp)

}  // namespace

int main() { client.Ask(); }
