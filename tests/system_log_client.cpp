// Runs the log handler of docs/client.md.
#include "system_log.h"

int main() {
  openlog("display-service", LOG_PERROR, LOG_USER);
  display::debug_handler_ = system_log;
  return GetBackLightNitsFactoryIntf()->CreateBackLightNitsIntf("none")->Init() == -2 ? 0 : 1;
}
