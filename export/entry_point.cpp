#include "backlight_nits_factory_intf_imp.h"

zarn::BackLightNitsFactoryIntf* GetBackLightNitsFactoryIntf() {
  static zarn::BackLightNitsFactoryIntfImp factory;
  return &factory;
}
