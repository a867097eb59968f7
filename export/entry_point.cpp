#include <cstdint>

#include "backlight_nits_factory_intf_imp.h"
#include "backlight_nits_version.h"

namespace {

/// The note that zarn::LoadedBackLightNitsVersion finds and `readelf --notes` shows.
struct VersionNote {
  uint32_t owner_size;
  uint32_t version_size;
  uint32_t type;
  alignas(4) char owner[sizeof zarn::version_note::kOwner];
  alignas(4) char version[sizeof BACKLIGHT_NITS_VERSION];
};

// Notes are aligned to 4 bytes. By default, the compiler aligns large constants to more.
alignas(4) __attribute__((section(".note.backlight_nits"), used)) const VersionNote version_note = {
    sizeof zarn::version_note::kOwner, sizeof BACKLIGHT_NITS_VERSION, zarn::version_note::kType, "backlight-nits",
    BACKLIGHT_NITS_VERSION};

}  // namespace

zarn::BackLightNitsFactoryIntf* GetBackLightNitsFactoryIntf() {
  static zarn::BackLightNitsFactoryIntfImp factory;
  return &factory;
}
