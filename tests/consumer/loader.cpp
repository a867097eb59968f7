// A client that does not link the library but loads the given file.
#include <backlight_nits_factory_intf.h>
#include <backlight_nits_version.h>
#include <dlfcn.h>

#include <iostream>

namespace {

void PrintVersion() {
  const char* const version = zarn::LoadedBackLightNitsVersion();
  std::cout << "version " << (version != nullptr ? version : "none") << "\n";
}

}  // namespace

int main(int /*count*/, char** arguments) {
  PrintVersion();
  void* const library = dlopen(arguments[1], RTLD_NOW);
  if (library == nullptr) {
    std::cout << dlerror() << "\n";
    return 1;
  }
  const auto factory =
      reinterpret_cast<decltype(&GetBackLightNitsFactoryIntf)>(dlsym(library, "GetBackLightNitsFactoryIntf"));
  const auto engine = factory()->CreateBackLightNitsIntf("lcd_small");
  zarn::GenericPayload payload;
  zarn::BLRange* range = nullptr;
  uint32_t count = 0;
  if (engine->Init() != 0 || payload.CreatePayload(range) != 0 || engine->GetParameter(zarn::kBLRange, &payload) != 0 ||
      payload.GetPayload(range, count) != 0) {
    return 1;
  }
  std::cout << "levels to " << range->max_os_bl << "\n";
  PrintVersion();
}
