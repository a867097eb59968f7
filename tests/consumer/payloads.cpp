// A client that uses only the public headers: converts every 85th level of a panel and back, and prints the version.
#include <backlight_nits_factory_intf.h>
#include <backlight_nits_intf.h>
#include <backlight_nits_records.h>
#include <backlight_nits_version.h>
#include <generic_payload.h>

#include <iostream>

int main() {
  const auto engine = GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf("lcd_small");
  zarn::GenericPayload in;
  zarn::GenericPayload out;
  zarn::BlBackLight* request = nullptr;
  zarn::BlNitsValue* answer = nullptr;
  if (engine->Init() != 0 || in.CreatePayload(request) != 0 || out.CreatePayload(answer) != 0) {
    return 1;
  }
  request->percentage = 100;
  for (request->bl = 0; request->bl <= 255; request->bl += 85) {
    if (engine->ProcessOps(zarn::kBLToNits, in, &out) != 0) {
      return 1;
    }
    std::cout << answer->nits << " nits, ";
    if (engine->ProcessOps(zarn::kNitsToBL, out, &out) != 0) {
      return 1;
    }
    std::cout << "level " << answer->bl << "\n";
  }
  std::cout << "version " << zarn::LoadedBackLightNitsVersion() << ", headers " << BACKLIGHT_NITS_VERSION << "\n";
}
