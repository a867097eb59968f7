// A shared library whose function signatures use everything that clients compile against. Its debug information gives a
// description of all records; most of them travel only in payloads, so no exported function names them.
#include "backlight_nits_factory_intf.h"

#define BLNITS_DESCRIBED __attribute__((visibility("default")))

BLNITS_DESCRIBED void Describe(zarn::BackLightNitsFactoryIntf* /*factory*/, zarn::BackLightNitsIntf* /*component*/,
                               zarn::GenericPayload* /*payload*/, display::DebugHandler* /*log*/) {}

BLNITS_DESCRIBED void Describe(zarn::BLNitsParams /*param*/, zarn::BLNitOps /*op*/) {}

BLNITS_DESCRIBED void Describe(zarn::BLRange* /*unused*/, zarn::BLGamma* /*unused*/, zarn::BLPccThresh* /*unused*/,
                               zarn::BLLinearTable* /*unused*/, zarn::BlNitsPoint* /*unused*/,
                               zarn::BackLightCordinates* /*unused*/, zarn::BackLightToNitsTable* /*unused*/,
                               zarn::BlBackLight* /*unused*/, zarn::BlNitsValue* /*unused*/,
                               zarn::BLDimmingStatus* /*unused*/, zarn::BLDimmingScale* /*unused*/,
                               zarn::DimmingLuts* /*unused*/) {}
