// A client whose static object uses an engine before main and after it, with and without a log handler.
#include <cstdio>
#include <memory>
#include <utility>

#include "backlight_nits_factory_intf.h"

namespace {

class EarlyClient {
 public:
  EarlyClient() : engine_(GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf("early")) {
    Ask();
    display::DebugHandler* const handler = std::exchange(display::debug_handler_, nullptr);
    Ask();
    display::debug_handler_ = handler;
  }
  EarlyClient(const EarlyClient&) = delete;
  EarlyClient& operator=(const EarlyClient&) = delete;
  ~EarlyClient() { Ask(); }

 private:
  /// Is refused, which writes a line to standard error.
  void Ask() { engine_->GetParameter(zarn::kBLGamma, nullptr); }

  std::shared_ptr<zarn::BackLightNitsIntf> engine_;
};

const EarlyClient client;  // NOLINT(cert-err58-cpp)

}  // namespace

int main() { std::fputs("main\n", stderr); }
