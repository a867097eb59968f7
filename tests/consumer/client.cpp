// The typed client: converts every 85th level of a panel to nits and back, with the engine and with a sampled curve.
#include <backlight_nits_client.h>
#include <backlight_nits_version.h>

#include <cstdint>
#include <iostream>

int main() {
  const auto panel = zarn::client::Panel::Open("lcd_small");
  if (!panel) {
    std::cerr << Words(panel.error()) << "\n";
    return 1;
  }
  const auto curve = panel->Sample(100);
  for (uint32_t level = 0; level <= 255; level += 85) {
    const auto nits = panel->Nits(level, 100);
    const auto back = panel->Level(nits.value_or(-1.0), 100);
    if (!curve || !back || curve->Nits(level) != nits || curve->Level(*nits) != *back) {
      return 1;
    }
    std::cout << *nits << " nits, level " << *back << "\n";
  }
  std::cout << "version " << zarn::LoadedBackLightNitsVersion() << ", headers " << BACKLIGHT_NITS_VERSION << "\n";
}
