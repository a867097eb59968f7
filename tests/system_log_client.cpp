// The handler of the client's guide, at work.
#include "system_log.h"

int main() {
  openlog("display-service", LOG_PERROR, LOG_USER);
  display::debug_handler_ = system_log;
  return GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf("none")->Init() == -2 ? 0 : 1;
}
