#include "backlight_nits_factory_intf_imp.h"

#include "backlight_nits_imp.h"
#include "backlight_nits_parser_imp.h"
#include "log.h"

namespace zarn {

BackLightNitsFactoryIntfImp::~BackLightNitsFactoryIntfImp() {
  // A vector does not guarantee this order by itself.
  while (!bl_nits_intfs_.empty()) {
    bl_nits_intfs_.pop_back();
  }
}

std::shared_ptr<BackLightNitsIntf> BackLightNitsFactoryIntfImp::CreateBackLightNitsIntf(
    std::string panel_name) noexcept {
  const std::lock_guard<std::mutex> guard(lock_);
  for (const auto& [name, intf] : bl_nits_intfs_) {
    if (name == panel_name) {
      std::shared_ptr<BackLightNitsIntf> handle = intf;
      Log().Info("BackLightNitsFactoryIntfImp::%s: BL nits interface already created, use count %ld", __func__,
                 handle.use_count());
      return handle;
    }
  }
  // Do not correct the spelling: log texts are frozen.
  Log().Info("BackLightNitsFactoryIntfImp::%s: Creating new BlToNits interfece for panel %s", __func__,
             panel_name.c_str());
  std::shared_ptr<BackLightNitsIntf> handle(new BackLightNitsImp(panel_name));
  bl_nits_intfs_.emplace_back(std::move(panel_name), handle);
  return handle;
}

std::unique_ptr<BackLightNitsIntf> BackLightNitsFactoryIntfImp::CreateBackLightNitsParser(
    std::string panel_name) noexcept {
  return std::make_unique<BackLightNitsParserImp>(std::move(panel_name));
}

}  // namespace zarn
